// Life cycle, typed assignment and typed reads of the dynamic value. Copying,
// comparing and releasing walk the tree with explicit work lists: a value may
// nest deeper than the stack would allow for recursion.
#include <cmath>
#include <limits>
#include <utility>

#include "orvo/variant/variant.h"

namespace orvo {
namespace variant {

namespace {

bool IsSignedTag(VariantType tag) {
  return tag == VT_INT8 || tag == VT_INT16 || tag == VT_INT32 || tag == VT_INT64;
}

bool IsUnsignedTag(VariantType tag) {
  return tag == VT_UINT8 || tag == VT_UINT16 || tag == VT_UINT32 || tag == VT_UINT64;
}

// A double truncated toward zero and clamped into the range of Number.
template <typename Number>
Number SaturatedFromDouble(double value) {
  using Limits = std::numeric_limits<Number>;
  if (std::isnan(value)) return 0;
  // Both bounds are exact powers of two (or zero) as doubles.
  if (value <= static_cast<double>(Limits::min())) return Limits::min();
  if (value >= std::ldexp(1.0, Limits::digits)) return Limits::max();
  return static_cast<Number>(value);
}

// An integer held as int64 or uint64 equals a double only when the double is
// integral and inside the integer's range.
bool IntegerEqualsDouble(bool isSigned, int64_t i, uint64_t u, double d) {
  if (std::trunc(d) != d) return false;
  if (isSigned) {
    return d >= -std::ldexp(1.0, 63) && d < std::ldexp(1.0, 63) && static_cast<int64_t>(d) == i;
  }
  return d >= 0 && d < std::ldexp(1.0, 64) && static_cast<uint64_t>(d) == u;
}

}  // namespace

Variant::Variant() = default;

Variant::Variant(char const* text) : type_(VT_STRING), string_(text ? text : "") {}

Variant::Variant(std::string const& text) : type_(VT_STRING), string_(text) {}

Variant::Variant(Variant const& other) {
  CopyShallow(other);
  if (!other.object_ && !other.array_) return;
  std::vector<std::pair<Variant const*, Variant*>> work{{&other, this}};
  while (!work.empty()) {
    auto [source, target] = work.back();
    work.pop_back();
    if (source->array_) {
      target->array_->resize(source->array_->size());
      for (std::size_t i = 0; i < source->array_->size(); ++i) {
        (*target->array_)[i].CopyShallow((*source->array_)[i]);
        work.emplace_back(&(*source->array_)[i], &(*target->array_)[i]);
      }
    } else if (source->object_) {
      for (auto const& [key, value] : *source->object_) {
        auto slot = target->object_->emplace_hint(target->object_->end(), key, Variant());
        slot->second.CopyShallow(value);
        work.emplace_back(&value, &slot->second);
      }
    }
  }
}

Variant::Variant(Variant&& other) noexcept { Swap(other); }

Variant::~Variant() { ReleaseNestedIteratively(); }

void Variant::Swap(Variant& other) noexcept {
  std::swap(type_, other.type_);
  std::swap(scalar_, other.scalar_);
  string_.swap(other.string_);
  object_.swap(other.object_);
  array_.swap(other.array_);
}

void Variant::CopyShallow(Variant const& other) {
  type_ = other.type_;
  scalar_ = other.scalar_;
  string_ = other.string_;
  object_.reset(other.object_ ? new ObjectMap : nullptr);
  array_.reset(other.array_ ? new Array : nullptr);
}

void Variant::ReleaseNestedIteratively() {
  auto const holdsNested = [](Variant const& v) {
    return (v.object_ && !v.object_->empty()) || (v.array_ && !v.array_->empty());
  };
  std::vector<Variant> pending;
  auto const detach = [&](Variant& parent) {
    if (parent.array_) {
      for (Variant& child : *parent.array_) {
        if (holdsNested(child)) pending.push_back(std::move(child));
      }
    } else if (parent.object_) {
      for (auto& member : *parent.object_) {
        if (holdsNested(member.second)) pending.push_back(std::move(member.second));
      }
    }
  };
  detach(*this);
  while (!pending.empty()) {
    Variant item = std::move(pending.back());
    pending.pop_back();
    detach(item);
  }  // each item dies here holding only flat children
}

void Variant::Free() {
  ReleaseNestedIteratively();
  Variant empty;
  Swap(empty);
}

void Variant::Reset(VariantType type) {
  Free();
  type_ = type;
}

void Variant::SetNull() { Reset(VT_NULL); }

void Variant::IsArray(bool array) {
  Reset(array ? VT_ARRAY : VT_OBJECT);
  if (array) {
    array_.reset(new Array);
  } else {
    object_.reset(new ObjectMap);
  }
}

Variant::operator VariantType() const { return type_; }

// Both assignments build the new value first: `other` may live inside *this.
Variant& Variant::operator=(Variant const& other) {
  Variant copy(other);
  Swap(copy);
  return *this;
}

Variant& Variant::operator=(Variant&& other) noexcept {
  Variant taken(std::move(other));
  Swap(taken);
  return *this;
}

Variant& Variant::operator=(bool value) {
  Reset(VT_BOOL);
  scalar_.b = value;
  return *this;
}

#define ORVO_ASSIGN_INTEGER(Type, tag, field) \
  Variant& Variant::operator=(Type value) {   \
    Reset(tag);                               \
    scalar_.field = value;                    \
    return *this;                             \
  }
ORVO_ASSIGN_INTEGER(signed char, VT_INT8, i)
ORVO_ASSIGN_INTEGER(short, VT_INT16, i)
ORVO_ASSIGN_INTEGER(int, VT_INT32, i)
ORVO_ASSIGN_INTEGER(long, VT_INT64, i)
ORVO_ASSIGN_INTEGER(long long, VT_INT64, i)
ORVO_ASSIGN_INTEGER(unsigned char, VT_UINT8, u)
ORVO_ASSIGN_INTEGER(unsigned short, VT_UINT16, u)
ORVO_ASSIGN_INTEGER(unsigned int, VT_UINT32, u)
ORVO_ASSIGN_INTEGER(unsigned long, VT_UINT64, u)
ORVO_ASSIGN_INTEGER(unsigned long long, VT_UINT64, u)
#undef ORVO_ASSIGN_INTEGER

Variant& Variant::operator=(double value) {
  Reset(VT_DOUBLE);
  scalar_.d = value;
  return *this;
}

Variant& Variant::operator=(char const* value) { return *this = Variant(value); }

Variant& Variant::operator=(std::string const& value) { return *this = Variant(value); }

Variant& Variant::operator=(timeval const& value) {
  timeval const copy = value;  // `value` may live inside *this
  Reset(VT_TIME);
  scalar_.t = copy;
  return *this;
}

template <typename Number>
Number Variant::ReadNumber() const {
  if (IsSignedTag(type_)) return static_cast<Number>(scalar_.i);
  if (IsUnsignedTag(type_)) return static_cast<Number>(scalar_.u);
  if (type_ == VT_DOUBLE) return SaturatedFromDouble<Number>(scalar_.d);
  if (type_ == VT_BOOL) return scalar_.b ? 1 : 0;
  return 0;
}

Variant::operator bool() const {
  if (type_ == VT_DOUBLE) return scalar_.d != 0;
  return ReadNumber<uint64_t>() != 0;
}
Variant::operator int() const { return ReadNumber<int>(); }
Variant::operator long() const { return ReadNumber<long>(); }
Variant::operator signed char() const { return ReadNumber<signed char>(); }
Variant::operator unsigned char() const { return ReadNumber<unsigned char>(); }
Variant::operator unsigned short() const { return ReadNumber<unsigned short>(); }
Variant::operator unsigned int() const { return ReadNumber<unsigned int>(); }
Variant::operator unsigned long() const { return ReadNumber<unsigned long>(); }

double Variant::AsDouble() const {
  if (IsSignedTag(type_)) return static_cast<double>(scalar_.i);
  if (IsUnsignedTag(type_)) return static_cast<double>(scalar_.u);
  if (type_ == VT_DOUBLE) return scalar_.d;
  if (type_ == VT_BOOL) return scalar_.b ? 1.0 : 0.0;
  return 0.0;
}

Variant::operator char const*() const { return type_ == VT_STRING ? string_.c_str() : ""; }

Variant::operator std::string const&() const {
  static std::string const kNoText;
  return type_ == VT_STRING ? string_ : kNoText;
}

Variant::operator timeval const&() const {
  static timeval const kNoTime{};
  return type_ == VT_TIME ? scalar_.t : kNoTime;
}

bool Variant::operator==(bool value) const { return type_ == VT_BOOL && scalar_.b == value; }

bool Variant::operator==(char const* value) const {
  return type_ == VT_STRING && string_ == (value ? value : "");
}

bool Variant::operator!=(char const* value) const { return !(*this == value); }

// Numbers compare by value whatever their width (int 5 equals unsigned 5 and
// 5.0); every other type only with its own type.
bool Variant::ShallowEquals(Variant const& other) const {
  bool const integer = IsSignedTag(type_) || IsUnsignedTag(type_);
  bool const otherInteger = IsSignedTag(other.type_) || IsUnsignedTag(other.type_);
  if (integer && otherInteger) {
    bool const negative = IsSignedTag(type_) && scalar_.i < 0;
    bool const otherNegative = IsSignedTag(other.type_) && other.scalar_.i < 0;
    return negative == otherNegative && ReadNumber<uint64_t>() == other.ReadNumber<uint64_t>();
  }
  if (integer && other.type_ == VT_DOUBLE) {
    return IntegerEqualsDouble(IsSignedTag(type_), scalar_.i, scalar_.u, other.scalar_.d);
  }
  if (type_ == VT_DOUBLE && otherInteger) return other.ShallowEquals(*this);
  if (type_ != other.type_) return false;
  switch (type_) {
    case VT_DOUBLE: return scalar_.d == other.scalar_.d;
    case VT_BOOL: return scalar_.b == other.scalar_.b;
    case VT_STRING: return string_ == other.string_;
    case VT_TIME:
      return scalar_.t.tv_sec == other.scalar_.t.tv_sec &&
             scalar_.t.tv_usec == other.scalar_.t.tv_usec;
    case VT_ARRAY: return array_->size() == other.array_->size();
    case VT_OBJECT: return object_->size() == other.object_->size();
    default: return true;  // empty and null carry no value
  }
}

bool Variant::operator==(Variant const& other) const {
  std::vector<std::pair<Variant const*, Variant const*>> work{{this, &other}};
  while (!work.empty()) {
    auto [left, right] = work.back();
    work.pop_back();
    if (!left->ShallowEquals(*right)) return false;
    if (left->type_ == VT_ARRAY) {
      for (std::size_t i = 0; i < left->array_->size(); ++i) {
        work.emplace_back(&(*left->array_)[i], &(*right->array_)[i]);
      }
    } else if (left->type_ == VT_OBJECT) {
      auto r = right->object_->begin();
      for (auto l = left->object_->begin(); l != left->object_->end(); ++l, ++r) {
        if (l->first != r->first) return false;
        work.emplace_back(&l->second, &r->second);
      }
    }
  }
  return true;
}

}  // namespace variant
}  // namespace orvo
