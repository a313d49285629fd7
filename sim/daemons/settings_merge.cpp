#include "settings_merge.h"

#include <array>
#include <string>

namespace orvo {
namespace sim {

using orvo::variant::Variant;
using orvo::variant::VT_ARRAY;
using orvo::variant::VT_OBJECT;

namespace {

constexpr std::array<char const*, 9> kHeaderKeys = {
    "id", "timeStamp", "from", "to", "functionName", "queueIfDestUnavailable",
    "responseExpected", "transactionId", "isBroadcast"};

bool isContainer(Variant const& value) {
  return value.Type() == VT_OBJECT || value.Type() == VT_ARRAY;
}

// A nested element's marker is its normalised (non-empty) default object.
bool isElementMarker(Variant const& marker) {
  return marker.Type() == VT_OBJECT && marker.KeysCount() > 0;
}

bool mergeMember(Variant& current, Variant const& value, Variant const& marker) {
  if (isElementMarker(marker)) {
    if (value.Type() != VT_OBJECT) return false;
    if (current.Type() != VT_OBJECT) current.IsArray(false);
    return mergeSettings(current, value, marker);
  }
  if (isContainer(marker)) {
    if (!isContainer(value) || value.KeysCount() == 0 || current == value) return false;
    current = value;
    return true;
  }
  if (value == marker || current == value) return false;
  current = value;
  return true;
}

}  // namespace

bool isHeaderKey(std::string const& key) {
  for (char const* header : kHeaderKeys) {
    if (key == header) return true;
  }
  return false;
}

Variant withoutHeader(Variant const& message) {
  Variant result;
  result.IsArray(false);
  for (auto it = message.str_begin(); it != message.str_end(); ++it) {
    if (!isHeaderKey(it->first)) result[it->first] = it->second;
  }
  return result;
}

bool mergeSettings(Variant& settings, Variant const& request, Variant const& markers) {
  if (settings.Type() != VT_OBJECT) settings.IsArray(false);
  bool changed = false;
  for (auto it = request.str_begin(); it != request.str_end(); ++it) {
    if (isHeaderKey(it->first)) continue;
    // A key path would reach past this level: only plain keys name fields.
    if (it->first.empty() || it->first.find('/') != std::string::npos) continue;
    Variant const* marker = markers.GetKeyChain(orvo::variant::VT_ANY, it->first, false);
    if (marker == nullptr) continue;
    changed = mergeMember(settings[it->first], it->second, *marker) || changed;
  }
  return changed;
}

}  // namespace sim
}  // namespace orvo
