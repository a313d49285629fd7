// The daemons' view of the message classes: a received request brought to
// its class's shape, and the class's not-set markers.
#pragma once

#include <string>

#include "orvo/variant/variant.h"

namespace orvo {
namespace sim {

// `received` normalised as the class named `functionName`, header members
// removed. False when no class has that name.
bool normalizedFields(std::string const& functionName, orvo::variant::Variant const& received,
                      orvo::variant::Variant& fields);

// The not-set markers of a class: an empty message of it, normalised, header
// members removed (every field at its table default). An empty object for an
// unknown name.
orvo::variant::Variant notSetMarkers(std::string const& functionName);

}  // namespace sim
}  // namespace orvo
