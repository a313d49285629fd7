// The field-table engine behind every bus message class.
//
// A message class declares its fields once, as a list of rows
//
//   #define ORVO_FIELDS_OsdCh(X)
//     X(STRING, tag,                      "_UNINITIALIZED_", noRange)
//     X(I32,    enableDate,               -1,                flag)
//     X(I32,    enableStreamerStatsLevel, -1,                within(-1, 4))
//
// (kind, key, default, range), in normalisation order. From that list
// ORVO_FIELD_TABLE generates one accessor per row, named as the key, and
// ORVO_DEFINE_NORMALIZE generates NormalizeFields(), which calls every
// accessor in row order with FieldPass::Normalize and then the base class.
//
// Kinds and the native types the accessors return:
//   U8 unsigned char, I8 signed char, U16 unsigned short, U32 unsigned int,
//   I32 int, I64 long, U64 unsigned long, BOOL bool, STRING std::string,
//   ENUM(list) std::string (default: the first entry),
//   ELEMENT(Class) a copy of the nested element (default: empty object),
//   KEPT (object or array passed through) a reference to the member.
// Ranges: noRange, flag, atLeast(L), atMost(M), within(L, M).
//
// Every access first repairs the field (a missing member or one of another
// kind becomes the default). Only the Normalize pass also writes every
// number back in the field's exact type (clamped where the row has a range),
// brings enum values to their canonical spelling and normalises nested
// elements in place.
#pragma once

#include <sys/time.h>

#include <cstddef>
#include <iterator>
#include <string>

#include "orvo/variant/variant.h"

namespace orvo {
namespace ipc {
namespace messages {
namespace fields {

enum class FieldPass : unsigned char {
  Read,       // find-or-default only
  Normalize,  // also clamp, canonicalise and normalise nested elements
};

// Clamp rule of a numeric field, applied by the Normalize pass only.
struct Range {
  enum class Rule : unsigned char { None, Clamp, Flag };
  Rule rule;
  bool hasLow;
  long long low;
  bool hasHigh;
  long long high;
};

constexpr Range noRange{Range::Rule::None, false, 0, false, 0};
// Signed on/off value: negative becomes -1, positive becomes 1.
constexpr Range flag{Range::Rule::Flag, false, 0, false, 0};
constexpr Range atLeast(long long low) { return Range{Range::Rule::Clamp, true, low, false, 0}; }
constexpr Range atMost(long long high) { return Range{Range::Rule::Clamp, false, 0, true, high}; }
constexpr Range within(long long low, long long high) {
  return Range{Range::Rule::Clamp, true, low, true, high};
}

// Kind tests on a type tag (masks shared with every other user of Variant).
bool isContainer(orvo::variant::VariantType tag);  // the message itself
bool isObjectField(orvo::variant::VariantType tag);
bool isString(orvo::variant::VariantType tag);
bool isBool(orvo::variant::VariantType tag);
bool isNumber(orvo::variant::VariantType tag);
bool isTime(orvo::variant::VariantType tag);

// A message that is neither object nor array becomes an empty object.
void ensureContainer(orvo::variant::Variant& message);

// Canonical spelling of `value` among `values` (same length, equal ignoring
// ASCII case); the first entry when none matches.
char const* canonicalSpelling(std::string const& value, char const* const* values,
                              std::size_t count);

// Applies a range rule. Instantiated for the seven numeric native types.
template <typename T>
T clampToRange(T value, Range range);

template <typename T>
T numberField(orvo::variant::Variant& message, char const* key, T fallback, Range range,
              FieldPass pass);
bool boolField(orvo::variant::Variant& message, char const* key, bool fallback);
std::string stringField(orvo::variant::Variant& message, char const* key, char const* fallback);
std::string enumField(orvo::variant::Variant& message, char const* key, char const* const* values,
                      std::size_t count, FieldPass pass);
timeval timeField(orvo::variant::Variant& message, char const* key, timeval const& fallback);
orvo::variant::Variant& keptField(orvo::variant::Variant& message, char const* key,
                                  orvo::variant::Variant const& fallback);
// The member `key`, made an (empty) object when absent or not object-like.
orvo::variant::Variant& objectMember(orvo::variant::Variant& message, char const* key);

// The default of KEPT fields.
orvo::variant::Variant const& emptyObject();

template <class Element>
Element elementField(orvo::variant::Variant& message, char const* key, FieldPass pass) {
  orvo::variant::Variant& member = objectMember(message, key);
  Element element(member);
  if (pass == FieldPass::Normalize) {
    element.NormalizeFields();
    member = static_cast<orvo::variant::Variant const&>(element);
  }
  return element;
}

extern template unsigned char clampToRange(unsigned char, Range);
extern template signed char clampToRange(signed char, Range);
extern template unsigned short clampToRange(unsigned short, Range);
extern template unsigned int clampToRange(unsigned int, Range);
extern template int clampToRange(int, Range);
extern template long clampToRange(long, Range);
extern template unsigned long clampToRange(unsigned long, Range);

extern template unsigned char numberField(orvo::variant::Variant&, char const*, unsigned char,
                                          Range, FieldPass);
extern template signed char numberField(orvo::variant::Variant&, char const*, signed char, Range,
                                        FieldPass);
extern template unsigned short numberField(orvo::variant::Variant&, char const*, unsigned short,
                                           Range, FieldPass);
extern template unsigned int numberField(orvo::variant::Variant&, char const*, unsigned int,
                                         Range, FieldPass);
extern template int numberField(orvo::variant::Variant&, char const*, int, Range, FieldPass);
extern template long numberField(orvo::variant::Variant&, char const*, long, Range, FieldPass);
extern template unsigned long numberField(orvo::variant::Variant&, char const*, unsigned long,
                                          Range, FieldPass);

}  // namespace fields
}  // namespace messages
}  // namespace ipc
}  // namespace orvo

// ---- Generation of accessors and NormalizeFields() from a field list ----

#define ORVO_FIELDS_NS ::orvo::ipc::messages::fields
#define ORVO_FIELD_PASS_PARAM ORVO_FIELDS_NS::FieldPass pass = ORVO_FIELDS_NS::FieldPass::Read
#define ORVO_UNPAREN(...) __VA_ARGS__

#define ORVO_FIELD_NUMBER(type, key, def, range)                                   \
  type key(ORVO_FIELD_PASS_PARAM) {                                                \
    return ORVO_FIELDS_NS::numberField<type>(*this, #key, static_cast<type>(def),  \
                                             ORVO_FIELDS_NS::range, pass);         \
  }
#define ORVO_FIELD_U8(key, def, range) ORVO_FIELD_NUMBER(unsigned char, key, def, range)
#define ORVO_FIELD_I8(key, def, range) ORVO_FIELD_NUMBER(signed char, key, def, range)
#define ORVO_FIELD_U16(key, def, range) ORVO_FIELD_NUMBER(unsigned short, key, def, range)
#define ORVO_FIELD_U32(key, def, range) ORVO_FIELD_NUMBER(unsigned int, key, def, range)
#define ORVO_FIELD_I32(key, def, range) ORVO_FIELD_NUMBER(int, key, def, range)
#define ORVO_FIELD_I64(key, def, range) ORVO_FIELD_NUMBER(long, key, def, range)
#define ORVO_FIELD_U64(key, def, range) ORVO_FIELD_NUMBER(unsigned long, key, def, range)

#define ORVO_FIELD_BOOL(key, def, range)                               \
  bool key(ORVO_FIELDS_NS::FieldPass = ORVO_FIELDS_NS::FieldPass::Read) { \
    return ORVO_FIELDS_NS::boolField(*this, #key, def);                 \
  }
#define ORVO_FIELD_STRING(key, def, range)                                     \
  std::string key(ORVO_FIELDS_NS::FieldPass = ORVO_FIELDS_NS::FieldPass::Read) { \
    return ORVO_FIELDS_NS::stringField(*this, #key, def);                       \
  }
// The list lives in the accessor; its first entry is the default.
#define ORVO_FIELD_ENUM(key, values, range)                                          \
  std::string key(ORVO_FIELD_PASS_PARAM) {                                           \
    static char const* const pPossibleValues_##key[] = {ORVO_UNPAREN values};        \
    return ORVO_FIELDS_NS::enumField(*this, #key, pPossibleValues_##key,             \
                                     std::size(pPossibleValues_##key), pass);        \
  }
#define ORVO_FIELD_ELEMENT(key, Element, range)                       \
  Element key(ORVO_FIELD_PASS_PARAM) {                                \
    return ORVO_FIELDS_NS::elementField<Element>(*this, #key, pass);  \
  }
#define ORVO_FIELD_KEPT(key, def, range)                                                  \
  ::orvo::variant::Variant& key(ORVO_FIELDS_NS::FieldPass = ORVO_FIELDS_NS::FieldPass::Read) { \
    return ORVO_FIELDS_NS::keptField(*this, #key, ORVO_FIELDS_NS::def());                  \
  }

#define ORVO_FIELD_ACCESSOR(kind, key, def, range) ORVO_FIELD_##kind(key, def, range)
#define ORVO_FIELD_NORMALIZE(kind, key, def, range) key(ORVO_FIELDS_NS::FieldPass::Normalize);

// Inside a class body: constructors, NormalizeFields() and the accessors.
#define ORVO_FIELD_TABLE(Class, Base, FIELDS)                              \
 public:                                                                   \
  Class() = default;                                                       \
  Class(::orvo::variant::Variant const& other) : Base(other) {} /* NOLINT */ \
  bool NormalizeFields() override;                                         \
  FIELDS(ORVO_FIELD_ACCESSOR)

// In the class's source file: own fields in row order, then the base's.
#define ORVO_DEFINE_NORMALIZE(Class, Base, FIELDS) \
  bool Class::NormalizeFields() {                  \
    FIELDS(ORVO_FIELD_NORMALIZE)                   \
    return Base::NormalizeFields();                \
  }
