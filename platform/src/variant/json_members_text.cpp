// The top-level members of a JSON object as offsets into its text. The same
// strict parse as Variant::FromJSON (RapidJSON's SAX reader, every string and
// key checked, nesting bounded), but nothing is built: the handler watches
// the stream's position to note where each member's key and value stand.
#include <cstring>

#include "orvo/variant/json_member.h"
#include "json_number.h"
#include "rapidjson.h"
#include "utf8.h"

namespace orvo {
namespace variant {

namespace {

constexpr char kWhitespace[] = " \t\r\n";

class MemberLocator : public detail::NumbersAsTextHandler {
 public:
  MemberLocator(std::string const& text, rapidjson::MemoryStream const& stream,
                std::string const& probe, MemberVisitor const& visit)
      : text_(text), stream_(stream), probe_(probe), visit_(visit) {}

  bool Null() { return Scalar(); }
  bool Bool(bool) { return Scalar(); }
  bool RawNumber(char const* text, rapidjson::SizeType length, bool) {
    Variant scratch;
    if (!detail::NumberFromText(text, length, scratch)) return false;
    if (probing_ && depth_ == 2) {
      member_.probeEnd = stream_.Tell();  // a number's text is never escaped
      member_.probeBegin = member_.probeEnd - length;
    }
    return Scalar(MemberText::Probe::kNumber);
  }
  bool String(char const* text, rapidjson::SizeType length, bool) {
    return detail::IsValidUtf8(text, length) && Scalar();
  }
  bool Key(char const* text, rapidjson::SizeType length, bool) {
    if (!detail::IsValidUtf8(text, length)) return false;
    if (depth_ == 1 && topIsObject_) {
      name_.assign(text, length);
      member_ = MemberText();
      member_.keyEnd = stream_.Tell();
      // Only blanks and a comma stand between the last value and the key.
      member_.keyBegin = text_.find('"', lastEnd_);
      member_.valueBegin = text_.find_first_not_of(kWhitespace, text_.find(':', member_.keyEnd) + 1);
      inMember_ = true;
    } else if (depth_ == 2 && inMember_) {
      probing_ = probe_.size() == length && probe_.compare(0, length, text, length) == 0;
    }
    return true;
  }
  bool StartObject() { return Open(false); }
  bool EndObject(rapidjson::SizeType) { return Close(); }
  bool StartArray() { return Open(true); }
  bool EndArray(rapidjson::SizeType) { return Close(); }

 private:
  // A value at the probe's place: a number or something else.
  void ValueAtDepth(MemberText::Probe kind) {
    if (depth_ == 2 && probing_ && inMember_) member_.probe = kind;
    probing_ = false;
  }

  // The reader reports a scalar once it is read, but a container's end
  // before it takes the closing bracket.
  bool Scalar(MemberText::Probe kind = MemberText::Probe::kOther) {
    ValueAtDepth(kind);
    if (depth_ == 1) EndValue(stream_.Tell());
    return true;
  }

  bool Open(bool array) {
    if (depth_ >= kMaxJsonDepth) return false;
    if (depth_ == 0) {
      topIsObject_ = !array;
      lastEnd_ = stream_.Tell();
    }
    ValueAtDepth(MemberText::Probe::kOther);
    ++depth_;
    return true;
  }

  bool Close() {
    --depth_;
    if (depth_ == 1) EndValue(stream_.Tell() + 1);
    return true;
  }

  void EndValue(std::size_t end) {
    lastEnd_ = end;
    if (!inMember_) return;
    member_.valueEnd = end;
    member_.name = name_;
    visit_(member_);
    inMember_ = false;
  }

  std::string const& text_;
  rapidjson::MemoryStream const& stream_;
  std::string const& probe_;
  MemberVisitor const& visit_;
  MemberText member_;  // the member being read
  std::string name_;   // its name decoded
  bool inMember_ = false;
  std::size_t depth_ = 0;
  std::size_t lastEnd_ = 0;
  bool topIsObject_ = false;
  bool probing_ = false;
};

}  // namespace

bool MembersAsText(std::string const& text, std::string const& probe, MemberVisitor const& visit) {
  if (detail::HasNul(text.data(), text.size())) return false;
  rapidjson::MemoryStream stream(text.data(), text.size());
  MemberLocator locator(text, stream, probe, visit);
  rapidjson::Reader reader;
  return !reader.Parse<detail::kReaderFlags>(stream, locator).IsError();
}

}  // namespace variant
}  // namespace orvo
