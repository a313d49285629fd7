// The nine simulated daemons, by their names on the bus (one list, shared
// with the program in messages/daemons.h).
#pragma once

#include <string>

#include "messages/daemons.h"

namespace orvo {
namespace sim {

inline constexpr auto const& kNetworkDaemon = daemons::kNetworkd;
inline constexpr auto const& kIspDaemon = daemons::kIspServer;
inline constexpr auto const& kStreamerDaemon = daemons::kStreamer;
inline constexpr auto const& kOsdDaemon = daemons::kOsd;
inline constexpr auto const& kNvrDaemon = daemons::kNvr;
inline constexpr auto const& kAnalyticsDaemon = daemons::kAnalytics;
inline constexpr auto const& kSoundsLedsDaemon = daemons::kSoundsLeds;
inline constexpr auto const& kCtlDaemon = daemons::kCtlServer;
inline constexpr auto const& kAvclientDaemon = daemons::kAvclient;

inline constexpr auto const& kDaemonNames = daemons::kAll;

bool isDaemonName(std::string const& name);

}  // namespace sim
}  // namespace orvo
