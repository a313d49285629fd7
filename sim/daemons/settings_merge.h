// How a simulated daemon applies a change request to its settings.
//
// A change request carries every field of its message class; a field holding
// the class's not-set marker (its default in the field table: 101, 2, -1,
// "_UNINITIALIZED_", "" for colours, "none" for modes) asks for no change.
// The markers are never listed by hand: they are the values an empty message
// of the class takes when normalised (see message_shapes.h).
#pragma once

#include "orvo/variant/variant.h"

namespace orvo {
namespace sim {

// The header members every bus message carries ("id", "from", ...); they are
// never settings.
bool isHeaderKey(std::string const& key);

// The object without its header members.
orvo::variant::Variant withoutHeader(orvo::variant::Variant const& message);

// Copies into `settings` every member of `request` whose value differs from
// its marker in `markers`:
// - a marker that is a non-empty object is a nested element: merged member
//   by member;
// - a marker that is an empty object or array is a member kept as it is
//   ("masks", "zones", ...): replaced whole when the request's value is not
//   empty;
// - any other marker is a scalar: replaced when the value differs.
// Members that `markers` does not name, and header members, are ignored.
// Returns whether `settings` changed.
bool mergeSettings(orvo::variant::Variant& settings, orvo::variant::Variant const& request,
                   orvo::variant::Variant const& markers);

}  // namespace sim
}  // namespace orvo
