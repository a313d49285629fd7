// Arbitrary bytes through the JSON reader. Whatever parses must serialise
// (compact and styled) to text that parses again to an equal value and
// serialises to the same text. Picking one member of it gives the same
// verdict as the whole parse, and the same value as the whole parse holds.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "orvo/variant/json_member.h"
#include "orvo/variant/variant.h"

using orvo::variant::Variant;

namespace {

void CheckRoundTrip(Variant const& first, bool styled) {
  std::string text;
  if (!first.ToJSON(text, styled)) std::abort();
  Variant second;
  if (!second.FromJSON(text)) std::abort();
  if (!(second == first)) std::abort();
  std::string again;
  if (!second.ToJSON(again, styled) || again != text) std::abort();
}

// MemberFromJSON against the whole parse, for the first and last member
// names and one that is absent.
void CheckMemberPick(std::string const& text, bool parsed, Variant const& whole) {
  std::vector<std::string> names{"\x01" "absent"};
  if (parsed && whole.Type() == orvo::variant::VT_OBJECT && whole.KeysCount() > 0) {
    names.push_back(whole.str_begin()->first);
    for (auto it = whole.str_begin(); it != whole.str_end(); ++it) names.back() = it->first;
  }
  for (std::string const& name : names) {
    Variant member;
    bool found = false;
    if (orvo::variant::MemberFromJSON(text, name, member, found) != parsed) std::abort();
    Variant const* expected = nullptr;
    if (parsed && whole.Type() == orvo::variant::VT_OBJECT) {
      for (auto it = whole.str_begin(); it != whole.str_end(); ++it) {
        if (it->first == name) expected = &it->second;
      }
    }
    if (found != (expected != nullptr)) std::abort();
    if (expected && !(member == *expected)) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  Variant first;
  bool parsed = first.FromJSON(reinterpret_cast<char const*>(data), size);
  CheckMemberPick(std::string(reinterpret_cast<char const*>(data), size), parsed, first);
  if (!parsed) {
    if (!first.IsEmpty()) std::abort();
    return 0;
  }
  CheckRoundTrip(first, false);
  CheckRoundTrip(first, true);
  Variant copy(first);
  if (!(copy == first)) std::abort();
  return 0;
}
