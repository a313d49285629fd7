// Variant to JSON text through RapidJSON's writers, walking the tree with an
// explicit stack of open containers (no recursion, whatever the nesting).
#include <cmath>
#include <vector>

#include "orvo/variant/variant.h"
#include "rapidjson.h"
#include "text_format.h"
#include "utf8.h"

namespace orvo {
namespace variant {

namespace {

constexpr unsigned kStyledIndent = 2;

template <typename Writer>
bool WriteText(Writer& writer, std::string const& text, bool key) {
  if (detail::IsValidUtf8(text.data(), text.size())) {
    return key ? writer.Key(text.data(), static_cast<rapidjson::SizeType>(text.size()))
               : writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
  }
  std::string const repaired = detail::RepairUtf8(text);
  return WriteText(writer, repaired, key);
}

template <typename Writer>
bool WriteScalar(Writer& writer, Variant const& value) {
  switch (value.Type()) {
    case VT_BOOL: return writer.Bool(value.AsBool());
    case VT_INT8:
    case VT_INT16:
    case VT_INT32:
    case VT_INT64: return writer.Int64(static_cast<long>(value));
    case VT_UINT8:
    case VT_UINT16:
    case VT_UINT32:
    case VT_UINT64: return writer.Uint64(static_cast<unsigned long>(value));
    case VT_DOUBLE: {
      double const number = value.AsDouble();
      if (!std::isfinite(number)) return writer.Null();  // JSON has no NaN or infinity
      std::string const text = detail::FormatDouble(number, true);
      return writer.RawValue(text.data(), text.size(), rapidjson::kNumberType);
    }
    case VT_STRING: return WriteText(writer, static_cast<std::string const&>(value), false);
    case VT_TIME:
      return WriteText(writer, detail::FormatTimeUtc(static_cast<timeval const&>(value)), false);
    default: return writer.Null();  // null and empty
  }
}

// One open container: the next member or element to write.
struct OpenContainer {
  Variant const* container;
  Variant::ObjectMap::const_iterator member;
  std::size_t element;
};

template <typename Writer>
bool WriteTree(Writer& writer, Variant const& root) {
  std::vector<OpenContainer> open;
  // Writes one value; a container is started and left open on the stack.
  auto const begin = [&](Variant const& value) {
    if (value.Type() == VT_OBJECT) {
      open.push_back({&value, value.str_begin(), 0});
      return writer.StartObject();
    }
    if (value.Type() == VT_ARRAY) {
      open.push_back({&value, Variant::ObjectMap::const_iterator(), 0});
      return writer.StartArray();
    }
    return WriteScalar(writer, value);
  };
  bool ok = begin(root);
  while (ok && !open.empty()) {
    OpenContainer& top = open.back();
    if (top.container->Type() == VT_ARRAY) {
      Variant::Array const& elements = top.container->Elements();
      if (top.element < elements.size()) {
        ok = begin(elements[top.element++]);
      } else {
        open.pop_back();
        ok = writer.EndArray();
      }
    } else if (top.member != top.container->str_end()) {
      auto const member = top.member++;
      ok = WriteText(writer, member->first, true) && begin(member->second);
    } else {
      open.pop_back();
      ok = writer.EndObject();
    }
  }
  return ok && writer.IsComplete();
}

}  // namespace

bool Variant::ToJSON(std::string& out, bool styled) const {
  rapidjson::StringBuffer buffer;
  bool ok = false;
  if (styled) {
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
    writer.SetIndent(' ', kStyledIndent);
    ok = WriteTree(writer, *this);
  } else {
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    ok = WriteTree(writer, *this);
  }
  if (ok) out.assign(buffer.GetString(), buffer.GetSize());
  return ok;
}

std::string Variant::ToString() const {
  switch (type_) {
    case VT_NULL: return "null";
    case VT_BOOL: return scalar_.b ? "true" : "false";
    case VT_INT8:
    case VT_INT16:
    case VT_INT32:
    case VT_INT64: return std::to_string(scalar_.i);
    case VT_UINT8:
    case VT_UINT16:
    case VT_UINT32:
    case VT_UINT64: return std::to_string(scalar_.u);
    case VT_DOUBLE: return detail::FormatDouble(scalar_.d, false);
    case VT_STRING: return string_;
    case VT_TIME: return detail::FormatTimeUtc(scalar_.t);
    default: return std::string();  // empty, object, array
  }
}

}  // namespace variant
}  // namespace orvo
