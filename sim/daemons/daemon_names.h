// The nine simulated daemons, by their names on the bus (one list, shared
// with the program in messages/daemons.h).
#pragma once

#include <string>

#include "messages/daemons.h"

namespace orvo {
namespace sim {

constexpr auto const& kNetworkDaemon = daemons::kNetworkd;
constexpr auto const& kIspDaemon = daemons::kIspServer;
constexpr auto const& kStreamerDaemon = daemons::kStreamer;
constexpr auto const& kOsdDaemon = daemons::kOsd;
constexpr auto const& kNvrDaemon = daemons::kNvr;
constexpr auto const& kAnalyticsDaemon = daemons::kAnalytics;
constexpr auto const& kSoundsLedsDaemon = daemons::kSoundsLeds;
constexpr auto const& kCtlDaemon = daemons::kCtlServer;
constexpr auto const& kAvclientDaemon = daemons::kAvclient;

constexpr auto const& kDaemonNames = daemons::kAll;

bool isDaemonName(std::string const& name);

}  // namespace sim
}  // namespace orvo
