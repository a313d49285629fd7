// One member of a large JSON document, without building the rest: the text
// is parsed and validated exactly as Variant::FromJSON does, but only the
// top-level object's member of the given name becomes a value. For lookups
// that run on every request against a document that may hold thousands of
// members (the session database).
#pragma once

#include <string>

#include "orvo/variant/variant.h"

namespace orvo {
namespace variant {

// False exactly when FromJSON(text) would fail. Otherwise `found` says
// whether the text is an object with a member named `name` (the last one
// when the name repeats, as FromJSON keeps it), and `member` holds it.
bool MemberFromJSON(std::string const& text, std::string const& name, Variant& member,
                    bool& found);

}  // namespace variant
}  // namespace orvo
