// Members of a large JSON document without building the rest: the text is
// parsed and validated exactly as Variant::FromJSON does, but only one
// top-level member becomes a value, or the members are reported as where
// they stand in the text. For a document that may hold thousands of members
// and is read on every request (the session database).
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "orvo/variant/variant.h"

namespace orvo {
namespace variant {

// False exactly when FromJSON(text) would fail. Otherwise `found` says
// whether the text is an object with a member named `name` (the last one
// when the name repeats, as FromJSON keeps it), and `member` holds it.
bool MemberFromJSON(std::string const& text, std::string const& name, Variant& member,
                    bool& found);

// A top-level member found by MembersAsText(): its name decoded, and where
// its key (with the quotes) and its value stand in the text, as offsets.
// `probe` says what the value holds under the probed name, when the value is
// an object: nothing, a number (at probeBegin, probeEnd), or anything else.
struct MemberText {
  enum class Probe { kAbsent, kNumber, kOther };
  std::string_view name;  // valid during the visit only
  std::size_t keyBegin = 0, keyEnd = 0;
  std::size_t valueBegin = 0, valueEnd = 0;
  Probe probe = Probe::kAbsent;
  std::size_t probeBegin = 0, probeEnd = 0;
};
using MemberVisitor = std::function<void(MemberText const&)>;

// Visits the members of the top-level object as they stand in the text, in
// the order they come (a repeated name comes twice), for a program that
// rewrites a large document by copying most members' text instead of
// building values. False exactly when FromJSON(text) would fail; nothing is
// visited when the text is not an object, and a member is visited once its
// value is read, so a text found broken later may have visited some. The
// last `probe` member of each member's value is looked at, since FromJSON
// keeps the last of a repeated name.
bool MembersAsText(std::string const& text, std::string const& probe, MemberVisitor const& visit);

}  // namespace variant
}  // namespace orvo
