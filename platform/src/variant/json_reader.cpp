// JSON text to Variant. RapidJSON's iterative SAX reader does the strict
// RFC 8259 parse (its own state stack lives on the heap); our handler builds
// the value with an explicit stack of open containers and refuses nesting
// beyond kMaxJsonDepth, so no input can exhaust the call stack.
#include <cstring>
#include <optional>
#include <vector>

#include "orvo/variant/json_member.h"
#include "orvo/variant/variant.h"
#include "json_number.h"
#include "rapidjson.h"
#include "utf8.h"

namespace orvo {
namespace variant {

namespace {

using detail::HasNul;
using detail::kReaderFlags;

class VariantBuilder : public detail::NumbersAsTextHandler {
 public:
  explicit VariantBuilder(Variant& root) : root_(root) {}

  bool Null() {
    Variant* slot = NextSlot();
    slot->SetNull();
    return true;
  }
  bool Bool(bool value) { return Store(value); }
  // Numbers arrive as text (kParseNumbersAsStringsFlag), see json_number.h.
  bool RawNumber(char const* text, rapidjson::SizeType length, bool) {
    return detail::NumberFromText(text, length, *NextSlot());
  }
  bool String(char const* text, rapidjson::SizeType length, bool) {
    if (!detail::IsValidUtf8(text, length)) return false;
    *NextSlot() = std::string(text, length);
    return true;
  }
  bool Key(char const* text, rapidjson::SizeType length, bool) {
    if (!detail::IsValidUtf8(text, length)) return false;
    key_.assign(text, length);
    return true;
  }
  bool StartObject() { return Open(false); }
  bool EndObject(rapidjson::SizeType) { return Close(); }
  bool StartArray() { return Open(true); }
  bool EndArray(rapidjson::SizeType) { return Close(); }

 private:
  // Where the next value goes: the root, the end of the open array, or the
  // open object's member named by the last key (an earlier duplicate is
  // simply overwritten).
  Variant* NextSlot() {
    if (open_.empty()) return &root_;
    Variant* container = open_.back();
    if (container->Type() == VT_ARRAY) return &container->PushBack(Variant());
    return &(*container)[key_];
  }

  template <typename Value>
  bool Store(Value value) {
    *NextSlot() = value;
    return true;
  }

  bool Open(bool array) {
    if (open_.size() >= kMaxJsonDepth) return false;
    Variant* slot = NextSlot();
    slot->IsArray(array);
    open_.push_back(slot);  // stays valid: only the innermost container grows
    return true;
  }

  bool Close() {
    open_.pop_back();
    return true;
  }

  Variant& root_;
  std::vector<Variant*> open_;
  std::string key_;
};

// Validates everything as VariantBuilder would, but hands the events of one
// top-level member's value to a builder and drops all others.
class MemberPicker : public detail::NumbersAsTextHandler {
 public:
  MemberPicker(std::string const& name, Variant& member) : name_(name), member_(member) {}

  bool found() const { return found_; }

  bool Null() { return Scalar([](VariantBuilder& b) { return b.Null(); }); }
  bool Bool(bool value) { return Scalar([value](VariantBuilder& b) { return b.Bool(value); }); }
  bool RawNumber(char const* text, rapidjson::SizeType length, bool copy) {
    Variant scratch;
    if (!capture_ && !detail::NumberFromText(text, length, scratch)) return false;
    return Scalar([&](VariantBuilder& b) { return b.RawNumber(text, length, copy); });
  }
  bool String(char const* text, rapidjson::SizeType length, bool copy) {
    if (!capture_ && !detail::IsValidUtf8(text, length)) return false;
    return Scalar([&](VariantBuilder& b) { return b.String(text, length, copy); });
  }
  bool Key(char const* text, rapidjson::SizeType length, bool copy) {
    if (capture_) return capture_->Key(text, length, copy);
    if (!detail::IsValidUtf8(text, length)) return false;
    if (depth_ == 1 && topIsObject_ && name_.compare(0, name_.size(), text, length) == 0 &&
        name_.size() == length) {
      member_.Free();  // a repeated name: the last one counts
      capture_.emplace(member_);
      found_ = true;
    }
    return true;
  }
  bool StartObject() { return Open(false); }
  bool EndObject(rapidjson::SizeType n) { return Close([n](VariantBuilder& b) { return b.EndObject(n); }); }
  bool StartArray() { return Open(true); }
  bool EndArray(rapidjson::SizeType n) { return Close([n](VariantBuilder& b) { return b.EndArray(n); }); }

 private:
  template <typename Event>
  bool Scalar(Event event) {
    if (!capture_) return true;
    bool ok = event(*capture_);
    if (depth_ == 1) capture_.reset();  // the member was this scalar
    return ok;
  }

  bool Open(bool array) {
    if (depth_ >= kMaxJsonDepth) return false;
    if (depth_ == 0) topIsObject_ = !array;
    ++depth_;
    if (!capture_) return true;
    return array ? capture_->StartArray() : capture_->StartObject();
  }

  template <typename Event>
  bool Close(Event event) {
    --depth_;
    if (!capture_) return true;
    bool ok = event(*capture_);
    if (depth_ == 1) capture_.reset();
    return ok;
  }

  std::string const& name_;
  Variant& member_;
  std::optional<VariantBuilder> capture_;
  std::size_t depth_ = 0;
  bool topIsObject_ = false;
  bool found_ = false;
};

}  // namespace

bool Variant::FromJSON(char const* text, std::size_t length) {
  Variant parsed;
  bool ok = text != nullptr && !HasNul(text, length);
  if (ok) {
    rapidjson::MemoryStream stream(text, length);
    VariantBuilder builder(parsed);
    rapidjson::Reader reader;
    ok = !reader.Parse<kReaderFlags>(stream, builder).IsError();
  }
  if (!ok) parsed.Free();
  Swap(parsed);
  return ok;
}

bool Variant::FromJSON(std::string const& text) { return FromJSON(text.data(), text.size()); }

bool MemberFromJSON(std::string const& text, std::string const& name, Variant& member,
                    bool& found) {
  Variant picked;
  MemberPicker picker(name, picked);
  bool ok = !HasNul(text.data(), text.size());
  if (ok) {
    rapidjson::MemoryStream stream(text.data(), text.size());
    rapidjson::Reader reader;
    ok = !reader.Parse<kReaderFlags>(stream, picker).IsError();
  }
  found = ok && picker.found();
  member = found ? std::move(picked) : Variant();
  return ok;
}

}  // namespace variant
}  // namespace orvo
