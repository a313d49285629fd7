// The camera's daemons, by their names on the message bus. These names are a
// contract between the program, the simulated camera and the tests: every
// side spells a destination through these constants.
#pragma once

namespace orvo {
namespace daemons {

constexpr char kNetworkd[] = "orvo_networkd";
constexpr char kIspServer[] = "orvo_ispserver";
constexpr char kStreamer[] = "orvo_streamer";
constexpr char kOsd[] = "orvo_osd";
constexpr char kNvr[] = "orvo_nvr";
constexpr char kAnalytics[] = "orvo_analytics";
constexpr char kSoundsLeds[] = "orvo_sounds_leds";
constexpr char kCtlServer[] = "orvo_ctlserver";
constexpr char kAvclient[] = "orvo_avclient";

constexpr char const* kAll[] = {kNetworkd, kIspServer, kStreamer,  kOsd,     kNvr,
                                kAnalytics, kSoundsLeds, kCtlServer, kAvclient};

}  // namespace daemons
}  // namespace orvo
