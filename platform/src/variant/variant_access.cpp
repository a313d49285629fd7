// Members, elements, key paths and iteration.
#include <strings.h>

#include <cstring>

#include "orvo/variant/variant.h"

namespace orvo {
namespace variant {

namespace {

constexpr char kPathSeparator = '/';
// Longest decimal index a path step may carry; 18 digits never overflow long.
constexpr std::size_t kMaxIndexDigits = 18;
constexpr uint32_t kNumberBit = 0x4000;

// The decimal index spelled by a path step, or -1 when it is not one.
long StepIndex(char const* step, std::size_t length) {
  if (length == 0 || length > kMaxIndexDigits) return -1;
  long index = 0;
  for (std::size_t i = 0; i < length; ++i) {
    if (step[i] < '0' || step[i] > '9') return -1;
    index = index * 10 + (step[i] - '0');
  }
  return index;
}

bool SameIgnoringAsciiCase(std::string const& key, char const* step, std::size_t length) {
  return key.size() == length && ::strncasecmp(key.data(), step, length) == 0;
}

// The one empty map behind the member range of every non-object, so that
// begin and end always come from the same map. It is never filled.
Variant::ObjectMap& NoMembers() {
  static Variant::ObjectMap noMembers;
  return noMembers;
}

// Calls visit(step, length) for each non-empty "/"-separated step of `path`.
template <typename Visit>
void ForEachStep(char const* path, Visit&& visit) {
  char const* at = path ? path : "";
  while (*at != '\0') {
    char const* end = std::strchr(at, kPathSeparator);
    std::size_t length = end ? static_cast<std::size_t>(end - at) : std::strlen(at);
    if (length > 0 && !visit(at, length)) return;
    at += length;
    if (*at == kPathSeparator) ++at;
  }
}

}  // namespace

bool TagPasses(VariantType tag, VariantType kind) {
  if (kind == VT_ANY) return true;
  if (kind == VT_EMPTY) return tag == VT_EMPTY;
  if ((kind & kNumberBit) != 0) return (tag & kNumberBit) != 0;
  return (tag & kind) == kind;
}

Variant& Variant::operator[](char const* key) {
  if (type_ != VT_OBJECT) IsArray(false);
  return (*object_)[key ? key : ""];
}

Variant& Variant::operator[](std::string const& key) {
  if (type_ != VT_OBJECT) IsArray(false);
  return (*object_)[key];
}

Variant& Variant::operator[](long index) {
  if (index < 0 || index >= kMaxArrayGrowIndex) {
    // Writes through an impossible index go nowhere rather than crash. One
    // sink per thread, kept for the thread's life: a thread_local object with
    // a destructor would bring the C library's dynamic loader into the static
    // program for its clean-up at thread exit.
    thread_local Variant* discarded = nullptr;
    if (!discarded) discarded = new Variant;
    discarded->Free();
    return *discarded;
  }
  if (type_ != VT_ARRAY) IsArray(true);
  auto const wanted = static_cast<std::size_t>(index);
  if (array_->size() <= wanted) array_->resize(wanted + 1);
  return (*array_)[wanted];
}

Variant const& Variant::operator[](long index) const {
  static Variant const kNoElement;
  if (type_ != VT_ARRAY || index < 0 || static_cast<std::size_t>(index) >= array_->size()) {
    return kNoElement;
  }
  return (*array_)[static_cast<std::size_t>(index)];
}

Variant& Variant::PushBack(Variant const& value) {
  Variant copy(value);  // `value` may live inside this array
  if (type_ != VT_ARRAY) IsArray(true);
  array_->push_back(std::move(copy));
  return array_->back();
}

Variant const* Variant::Step(char const* step, std::size_t length, bool ignoreCase) const {
  if (type_ == VT_ARRAY) {
    long index = StepIndex(step, length);
    if (index < 0 || static_cast<std::size_t>(index) >= array_->size()) return nullptr;
    return &(*array_)[static_cast<std::size_t>(index)];
  }
  if (type_ != VT_OBJECT) return nullptr;
  if (!ignoreCase) {
    auto found = object_->find(std::string(step, length));
    return found == object_->end() ? nullptr : &found->second;
  }
  for (auto const& member : *object_) {
    if (SameIgnoringAsciiCase(member.first, step, length)) return &member.second;
  }
  return nullptr;
}

Variant const* Variant::GetKeyChain(VariantType type, char const* path, bool ignoreCase) const {
  Variant const* current = this;
  ForEachStep(path, [&](char const* step, std::size_t length) {
    current = current->Step(step, length, ignoreCase);
    return current != nullptr;
  });
  return current && TagPasses(current->type_, type) ? current : nullptr;
}

Variant const* Variant::GetKeyChain(VariantType type, std::string const& path,
                                    bool ignoreCase) const {
  return GetKeyChain(type, path.c_str(), ignoreCase);
}

Variant* Variant::GetKeyChain(VariantType type, char const* path, bool ignoreCase) {
  auto const* self = static_cast<Variant const*>(this);
  return const_cast<Variant*>(self->GetKeyChain(type, path, ignoreCase));
}

Variant* Variant::GetKeyChain(VariantType type, std::string const& path, bool ignoreCase) {
  return GetKeyChain(type, path.c_str(), ignoreCase);
}

std::string Variant::StringAt(char const* path, std::string const& fallback) const {
  Variant const* value = GetKeyChain(VT_STRING, path, false);
  return value ? value->string_ : fallback;
}

int64_t Variant::IntAt(char const* path, int64_t fallback) const {
  Variant const* value = GetKeyChain(VT_INT64, path, false);
  return value ? static_cast<long>(*value) : fallback;
}

bool Variant::BoolAt(char const* path, bool fallback) const {
  Variant const* value = GetKeyChain(VT_BOOL, path, false);
  return value ? value->scalar_.b : fallback;
}

bool Variant::Has(VariantType type, char const* path) const {
  return GetKeyChain(type, path, false) != nullptr;
}

std::size_t Variant::KeysCount() const {
  if (type_ == VT_ARRAY) return array_->size();
  return StringKeysCount();
}

std::size_t Variant::StringKeysCount() const { return type_ == VT_OBJECT ? object_->size() : 0; }

bool Variant::RemoveValue(std::string const& key, bool isPath) {
  if (!isPath) return type_ == VT_OBJECT && object_->erase(key) > 0;
  // Walk to the parent of the last step, then remove that step from it.
  Variant* parent = this;
  char const* lastStep = nullptr;
  std::size_t lastLength = 0;
  ForEachStep(key.c_str(), [&](char const* step, std::size_t length) {
    if (lastStep != nullptr) {
      parent = const_cast<Variant*>(parent->Step(lastStep, lastLength, false));
      if (parent == nullptr) return false;
    }
    lastStep = step;
    lastLength = length;
    return true;
  });
  if (parent == nullptr || lastStep == nullptr) return false;
  if (parent->type_ == VT_OBJECT) {
    return parent->object_->erase(std::string(lastStep, lastLength)) > 0;
  }
  long index = StepIndex(lastStep, lastLength);
  if (parent->type_ != VT_ARRAY || index < 0 ||
      static_cast<std::size_t>(index) >= parent->array_->size()) {
    return false;
  }
  parent->array_->erase(parent->array_->begin() + index);
  return true;
}

Variant::ObjectMap::iterator Variant::str_begin() {
  return type_ == VT_OBJECT ? object_->begin() : NoMembers().begin();
}

Variant::ObjectMap::iterator Variant::str_end() {
  return type_ == VT_OBJECT ? object_->end() : NoMembers().end();
}

Variant::ObjectMap::const_iterator Variant::str_begin() const {
  return const_cast<Variant*>(this)->str_begin();
}

Variant::ObjectMap::const_iterator Variant::str_end() const {
  return const_cast<Variant*>(this)->str_end();
}

Variant::Array const& Variant::Elements() const {
  static Array const kNoElements;
  return type_ == VT_ARRAY ? *array_ : kNoElements;
}

}  // namespace variant
}  // namespace orvo
