// Arbitrary bytes through the JSON reader. Whatever parses must serialise
// (compact and styled) to text that parses again to an equal value and
// serialises to the same text.
#include <cstdint>
#include <cstdlib>
#include <string>

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  Variant first;
  if (!first.FromJSON(reinterpret_cast<char const*>(data), size)) {
    if (!first.IsEmpty()) std::abort();
    return 0;
  }
  CheckRoundTrip(first, false);
  CheckRoundTrip(first, true);
  Variant copy(first);
  if (!(copy == first)) std::abort();
  return 0;
}
