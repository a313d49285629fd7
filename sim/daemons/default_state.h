// What each simulated daemon holds after a fresh start or a factory reset:
// the values a camera out of its box reports. Every state is one JSON object
// of sections (see the per-daemon handlers for what each section means).
#pragma once

#include <string>

#include "orvo/variant/variant.h"

namespace orvo {
namespace sim {

// The default state of `daemon`; an empty object for an unknown name.
orvo::variant::Variant defaultState(std::string const& daemon);

// The JSON texts behind defaultState(), one per daemon (default_*.cpp).
extern char const kIspDefaults[];
extern char const kStreamerDefaults[];
extern char const kOsdDefaults[];
extern char const kNvrDefaults[];
extern char const kAnalyticsDefaults[];
extern char const kSoundsLedsDefaults[];
extern char const kNetworkDefaults[];
extern char const kCtlserverDefaults[];
extern char const kAvclientDefaults[];

}  // namespace sim
}  // namespace orvo
