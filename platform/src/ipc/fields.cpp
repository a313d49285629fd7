// The field-table engine: find-or-default, clamping and enum matching shared
// by every message class.
#include "orvo/ipc/messages/fields.h"

#include <strings.h>

#include <cstring>
#include <type_traits>

namespace orvo {
namespace ipc {
namespace messages {
namespace fields {

using orvo::variant::Variant;
using orvo::variant::VariantType;

namespace {

// Tag masks of the field kinds.
constexpr unsigned kObjectMask = 0x1010;
constexpr unsigned kStringMask = 0x100e;
constexpr unsigned kBoolMask = 0x8003;
constexpr unsigned kNumberBit = 0x4000;
constexpr unsigned kTimeMask = 0x100d;

bool hasMask(VariantType tag, unsigned mask) { return (tag & mask) == mask; }

// Steps shared by every kind: container check, look-up, and the default
// when the member is missing or fails the kind's test. A value of the right
// kind is kept whatever its magnitude.
template <typename T>
Variant& repaired(Variant& message, char const* key, bool (*fits)(VariantType), T const& fallback) {
  ensureContainer(message);
  Variant* member = message.GetKeyChain(orvo::variant::VT_ANY, key, false);
  if (member == nullptr) member = &message[key];
  if (!fits(static_cast<VariantType>(*member))) *member = fallback;
  return *member;
}

// Comparisons of any native number with a signed bound, without the
// surprises of mixed signed/unsigned arithmetic.
template <typename T>
bool isBelow(T value, long long bound) {
  if constexpr (std::is_signed<T>::value) {
    return static_cast<long long>(value) < bound;
  } else {
    return bound > 0 && static_cast<unsigned long long>(value) < static_cast<unsigned long long>(bound);
  }
}

template <typename T>
bool isAbove(T value, long long bound) {
  if constexpr (std::is_signed<T>::value) {
    return static_cast<long long>(value) > bound;
  } else {
    return bound < 0 || static_cast<unsigned long long>(value) > static_cast<unsigned long long>(bound);
  }
}

}  // namespace

bool isContainer(VariantType tag) {
  return tag == orvo::variant::VT_OBJECT || tag == orvo::variant::VT_ARRAY;
}
bool isObjectField(VariantType tag) { return hasMask(tag, kObjectMask); }
bool isString(VariantType tag) { return hasMask(tag, kStringMask); }
bool isBool(VariantType tag) { return hasMask(tag, kBoolMask); }
bool isNumber(VariantType tag) { return (tag & kNumberBit) != 0; }
bool isTime(VariantType tag) { return hasMask(tag, kTimeMask); }

void ensureContainer(Variant& message) {
  if (isContainer(static_cast<VariantType>(message))) return;
  message.Free();
  message.IsArray(false);
}

char const* canonicalSpelling(std::string const& value, char const* const* values,
                              std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (std::strlen(values[i]) == value.size() &&
        strncasecmp(values[i], value.c_str(), value.size()) == 0) {
      return values[i];
    }
  }
  return values[0];
}

template <typename T>
T clampToRange(T value, Range range) {
  switch (range.rule) {
    case Range::Rule::None:
      return value;
    case Range::Rule::Flag:
      if (isBelow(value, 0)) return static_cast<T>(-1);
      if (isAbove(value, 0)) return static_cast<T>(1);
      return value;
    case Range::Rule::Clamp:
      if (range.hasLow && isBelow(value, range.low)) return static_cast<T>(range.low);
      if (range.hasHigh && isAbove(value, range.high)) return static_cast<T>(range.high);
      return value;
  }
  return value;
}

template <typename T>
T numberField(Variant& message, char const* key, T fallback, Range range, FieldPass pass) {
  Variant& member = repaired(message, key, isNumber, fallback);
  T value = static_cast<T>(member);
  if (pass == FieldPass::Normalize) {
    value = clampToRange(value, range);
    // Written back even without a range: after normalising, every number
    // has exactly its field's type (a fraction in an integer field is cut).
    member = value;
  }
  return value;
}

bool boolField(Variant& message, char const* key, bool fallback) {
  return static_cast<bool>(repaired(message, key, isBool, fallback));
}

std::string stringField(Variant& message, char const* key, char const* fallback) {
  return static_cast<std::string const&>(repaired(message, key, isString, fallback));
}

std::string enumField(Variant& message, char const* key, char const* const* values,
                      std::size_t count, FieldPass pass) {
  Variant& member = repaired(message, key, isString, values[0]);
  if (pass == FieldPass::Normalize) {
    member = canonicalSpelling(static_cast<std::string const&>(member), values, count);
  }
  return static_cast<std::string const&>(member);
}

timeval timeField(Variant& message, char const* key, timeval const& fallback) {
  return static_cast<timeval const&>(repaired(message, key, isTime, fallback));
}

Variant& keptField(Variant& message, char const* key, Variant const& fallback) {
  return repaired(message, key, isObjectField, fallback);
}

Variant& objectMember(Variant& message, char const* key) {
  return keptField(message, key, emptyObject());
}

Variant const& emptyObject() {
  static Variant const empty = [] {
    Variant object;
    object.IsArray(false);
    return object;
  }();
  return empty;
}

#define ORVO_INSTANTIATE_NUMBER_FIELD(T)                                        \
  template T clampToRange(T, Range);                                            \
  template T numberField(Variant&, char const*, T, Range, FieldPass);
ORVO_INSTANTIATE_NUMBER_FIELD(unsigned char)
ORVO_INSTANTIATE_NUMBER_FIELD(signed char)
ORVO_INSTANTIATE_NUMBER_FIELD(unsigned short)
ORVO_INSTANTIATE_NUMBER_FIELD(unsigned int)
ORVO_INSTANTIATE_NUMBER_FIELD(int)
ORVO_INSTANTIATE_NUMBER_FIELD(long)
ORVO_INSTANTIATE_NUMBER_FIELD(unsigned long)
#undef ORVO_INSTANTIATE_NUMBER_FIELD

}  // namespace fields
}  // namespace messages
}  // namespace ipc
}  // namespace orvo
