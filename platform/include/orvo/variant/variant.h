// Dynamic JSON value shared by request bodies, replies, settings documents
// and every bus message.
//
// Objects keep their members in a byte-ordered map, so serialised JSON lists
// keys in ascending byte order whatever the order of insertion. Every value
// carries a type tag whose bit pattern callers test with masks:
//   object  (tag & 0x1010) == 0x1010 (arrays pass too)
//   string  (tag & 0x100e) == 0x100e
//   bool    (tag & 0x8003) == 0x8003
//   number  (tag & 0x4000) != 0
//   time    (tag & 0x100d) == 0x100d
// Reads never throw: a value of another type reads as 0, false or "".
#pragma once

#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace orvo {
namespace variant {

enum VariantType : uint32_t {
  VT_EMPTY = 0x0000,   // never assigned
  VT_NULL = 0x0100,    // JSON null
  VT_INT8 = 0x4001,
  VT_UINT8 = 0x4002,
  VT_INT16 = 0x4003,
  VT_UINT16 = 0x4004,
  VT_INT32 = 0x4005,
  VT_UINT32 = 0x4006,
  VT_INT64 = 0x4007,
  VT_UINT64 = 0x4008,
  VT_DOUBLE = 0x4009,
  VT_TIME = 0x100d,
  VT_STRING = 0x100e,
  VT_OBJECT = 0x1010,
  VT_ARRAY = 0x1011,
  VT_BOOL = 0x8003,
  VT_ANY = 0xFFFF,     // lookup only: matches every tag
};

// Named limits of the JSON reader.
constexpr std::size_t kMaxJsonDepth = 512;             // nesting of arrays/objects
constexpr std::size_t kMaxJsonFileBytes = 16u << 20;   // FromJSONFile refuses larger files
// operator[](long) grows an array to at most this many elements, so a wild
// index cannot exhaust memory.
constexpr long kMaxArrayGrowIndex = 1L << 16;

// Whether a value with tag `tag` passes the test for `kind`: VT_ANY passes
// everything, any number tag means "any number", VT_EMPTY only itself, and
// every other kind the mask test (tag & kind) == kind.
bool TagPasses(VariantType tag, VariantType kind);

class Variant {
 public:
  using ObjectMap = std::map<std::string, Variant>;
  using Array = std::vector<Variant>;

  Variant();
  Variant(char const* text);         // NOLINT: string value, as the platform API has it
  Variant(std::string const& text);  // NOLINT
  Variant(Variant const& other);
  Variant(Variant&& other) noexcept;
  virtual ~Variant();

  // Releases the value, leaving an empty Variant. Deeply nested values are
  // released without recursion.
  void Free();
  // Becomes JSON null.
  void SetNull();
  // false: becomes an empty object; true: becomes an empty array.
  void IsArray(bool array);

  operator VariantType() const;  // NOLINT
  VariantType Type() const { return type_; }
  bool IsEmpty() const { return type_ == VT_EMPTY; }

  // Object member by key, created empty when absent. A non-object becomes an
  // empty object first.
  Variant& operator[](char const* key);
  Variant& operator[](std::string const& key);
  // Array element by index. The non-const form turns a non-array into an
  // array and grows it to reach the index; the const form returns a shared
  // empty value for anything out of range. A negative index, or one beyond
  // kMaxArrayGrowIndex, yields a scratch value whose writes are discarded.
  Variant& operator[](long index);
  Variant const& operator[](long index) const;
  // Any other integer type: without these, v[0] is ambiguous between the
  // index and the key overloads (0 is also a null pointer constant).
  template <typename Index, typename = std::enable_if_t<std::is_integral<Index>::value>>
  Variant& operator[](Index index) {
    return (*this)[static_cast<long>(index)];
  }
  template <typename Index, typename = std::enable_if_t<std::is_integral<Index>::value>>
  Variant const& operator[](Index index) const {
    return (*this)[static_cast<long>(index)];
  }
  // Appends to an array (a non-array becomes an empty array first).
  Variant& PushBack(Variant const& value);

  Variant& operator=(Variant const& other);
  Variant& operator=(Variant&& other) noexcept;
  Variant& operator=(bool value);
  Variant& operator=(int value);
  Variant& operator=(long value);
  Variant& operator=(long long value);
  Variant& operator=(unsigned char value);
  Variant& operator=(signed char value);
  Variant& operator=(short value);
  Variant& operator=(unsigned short value);
  Variant& operator=(unsigned int value);
  Variant& operator=(unsigned long value);
  Variant& operator=(unsigned long long value);
  Variant& operator=(double value);
  Variant& operator=(char const* value);
  Variant& operator=(std::string const& value);
  Variant& operator=(timeval const& value);
  Variant& operator=(void*) = delete;  // a pointer never silently becomes a bool

  // Typed reads. Numbers convert between widths (C conversion rules, doubles
  // truncated toward zero and saturated), booleans read as 0/1, every other
  // type reads as 0 / false / "" / {0,0}.
  explicit operator bool() const;
  operator int() const;             // NOLINT
  operator long() const;            // NOLINT
  operator signed char() const;     // NOLINT
  operator unsigned char() const;   // NOLINT
  operator unsigned short() const;  // NOLINT
  operator unsigned int() const;    // NOLINT
  operator unsigned long() const;   // NOLINT
  operator char const*() const;     // NOLINT: "" for non-strings, never null
  operator std::string const&() const;  // NOLINT: shared "" for non-strings
  operator timeval const&() const;  // NOLINT
  double AsDouble() const;
  bool AsBool() const { return static_cast<bool>(*this); }

  bool operator==(bool value) const;
  bool operator==(char const* value) const;
  bool operator!=(char const* value) const;
  bool operator==(Variant const& other) const;  // deep comparison
  bool operator!=(Variant const& other) const { return !(*this == other); }

  // Member named by a "/"-separated key path, if every step exists and the
  // last value's tag passes `type` (TagPasses; VT_ANY: every tag). With
  // `ignoreCase` true, each step matches a key regardless of ASCII case (the
  // first such key in byte order wins when several do). Empty steps are
  // skipped, so a path without steps names the value itself. A step into an
  // array is a decimal index ("ports/0/name").
  Variant* GetKeyChain(VariantType type, char const* path, bool ignoreCase);
  Variant* GetKeyChain(VariantType type, std::string const& path, bool ignoreCase);
  Variant const* GetKeyChain(VariantType type, char const* path, bool ignoreCase) const;
  Variant const* GetKeyChain(VariantType type, std::string const& path,
                             bool ignoreCase) const;

  // Typed reads by key path (exact case, steps as in GetKeyChain): the value
  // at `path` when it has the asked type, else `fallback`. StringAt wants a
  // string, IntAt any number (converted as the typed reads above convert),
  // BoolAt a boolean. Has tells whether a value passing `type` is there.
  std::string StringAt(char const* path, std::string const& fallback = std::string()) const;
  int64_t IntAt(char const* path, int64_t fallback = 0) const;
  bool BoolAt(char const* path, bool fallback = false) const;
  bool Has(VariantType type, char const* path) const;

  // Member count of an object, element count of an array, 0 otherwise.
  std::size_t KeysCount() const;
  // Member count of an object (keys that are strings), 0 otherwise.
  std::size_t StringKeysCount() const;
  // Removes a member. With `isPath` true the key is a "/"-separated path
  // (steps as in GetKeyChain, exact case) and the last step is removed from
  // its parent, an array element included. Returns whether one was removed.
  bool RemoveValue(std::string const& key, bool isPath);

  // Iteration over an object's members; an empty range for other types.
  ObjectMap::iterator str_begin();
  ObjectMap::iterator str_end();
  ObjectMap::const_iterator str_begin() const;
  ObjectMap::const_iterator str_end() const;
  // Array elements; empty for other types.
  Array const& Elements() const;

  // Strict RFC 8259 parse with UTF-8 validation and a bounded depth. On
  // failure the Variant is left empty and false is returned. Integers that
  // fit int64 become VT_INT64, larger ones VT_UINT64, all other numbers
  // VT_DOUBLE; duplicate keys: the last one wins. File paths are used as
  // given (callers map device paths through orvo::utils::devicePath).
  bool FromJSON(std::string const& text);
  bool FromJSON(char const* text, std::size_t length);
  bool FromJSONFile(std::string const& path);
  // Compact when `styled` is false, indented otherwise. A time value is
  // written as an ISO 8601 UTC string with microseconds; an empty value and a
  // non-finite double as null; a double always with a fraction or exponent
  // ("1.0") so it reads back as a double; invalid UTF-8 in strings and keys
  // as U+FFFD, so the output is always valid JSON.
  bool ToJSON(std::string& out, bool styled) const;
  // Writes atomically: a temporary file in the same folder, fsync, rename.
  // The file is always left with mode 0600, whatever the one it replaces had.
  bool ToJSONFile(std::string const& path, bool styled) const;
  // Printable form of a scalar ("" for containers and empty values, "null"
  // for null, a time value in ISO 8601 as in ToJSON).
  std::string ToString() const;

 private:
  void Reset(VariantType type);
  void Swap(Variant& other) noexcept;
  // Copies type, scalar and string; a container becomes an empty one.
  void CopyShallow(Variant const& other);
  // Moves every child that holds a container out to a work list and
  // releases it there, so destruction depth never follows nesting depth.
  void ReleaseNestedIteratively();
  bool ShallowEquals(Variant const& other) const;
  // The child named by one path step, or null.
  Variant const* Step(char const* step, std::size_t length, bool ignoreCase) const;
  template <typename Number>
  Number ReadNumber() const;

  VariantType type_ = VT_EMPTY;
  union {
    bool b;
    int64_t i;
    uint64_t u;
    double d;
    timeval t;
  } scalar_{};
  std::string string_;
  std::unique_ptr<ObjectMap> object_;
  std::unique_ptr<Array> array_;
};

// A Variant that is an object and knows how to normalise itself: the base of
// every bus message and nested message element.
class BaseVariantContainer : public Variant {
 public:
  BaseVariantContainer();
  BaseVariantContainer(Variant const& other);  // NOLINT: copies any Variant
  ~BaseVariantContainer() override;
  BaseVariantContainer& operator=(Variant const& other) {
    Variant::operator=(other);
    return *this;
  }
  virtual bool NormalizeFields();
};

}  // namespace variant
}  // namespace orvo
