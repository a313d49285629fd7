// The nine simulated daemons, by their names on the bus.
#pragma once

#include <cstddef>
#include <string>

namespace orvo {
namespace sim {

constexpr char kNetworkDaemon[] = "orvo_networkd";
constexpr char kIspDaemon[] = "orvo_ispserver";
constexpr char kStreamerDaemon[] = "orvo_streamer";
constexpr char kOsdDaemon[] = "orvo_osd";
constexpr char kNvrDaemon[] = "orvo_nvr";
constexpr char kAnalyticsDaemon[] = "orvo_analytics";
constexpr char kSoundsLedsDaemon[] = "orvo_sounds_leds";
constexpr char kCtlDaemon[] = "orvo_ctlserver";
constexpr char kAvclientDaemon[] = "orvo_avclient";

constexpr char const* kDaemonNames[] = {
    kNetworkDaemon, kIspDaemon, kStreamerDaemon, kOsdDaemon, kNvrDaemon,
    kAnalyticsDaemon, kSoundsLedsDaemon, kCtlDaemon, kAvclientDaemon};

bool isDaemonName(std::string const& name);

}  // namespace sim
}  // namespace orvo
