#include "orvo/variant/camera_info.h"

#include "orvo/log.h"
#include "orvo/utils/exec.h"
#include "orvo/utils/paths.h"

namespace orvo {
namespace variant {

namespace {

constexpr char kLogTag[] = "orvo_variant";
constexpr char kLogFile[] = "orvo/variant/camera_info.h";

bool isObject(Variant const& value) { return value.Type() == VT_OBJECT; }

// Logged with the key in the function-name field, so the record names the
// missing piece of the description.
[[noreturn]] void crashOn(char const* key, char const* text) {
  ORVO_LOG(key, LOG_ERR, 0, "%s", text);
  orvo::utils::forceCrash();
}

}  // namespace

bool infoValueHasClass(Variant const& value, InfoClass kind) {
  VariantType const tag = value.Type();
  switch (kind) {
    case InfoClass::kString:
      return TagPasses(tag, VT_STRING);
    case InfoClass::kNumber:
      return (tag & 0x4000) != 0;
    case InfoClass::kFlag:
      return (tag & 0x4000) != 0 || TagPasses(tag, VT_BOOL);
  }
  return false;
}

bool CameraInfo::Init() {
  Variant loaded;
  if (!loaded.FromJSONFile(orvo::utils::devicePath(kCameraInfoPath)) || !isObject(loaded)) {
    return false;
  }
  Variant::operator=(std::move(loaded));
  return true;
}

Variant const& CameraInfo::strict(char const* key, InfoClass kind) const {
  if (!isObject(*this)) {
    ORVO_LOG(key, LOG_ERR, 0, "Invalid variant type detected");
    orvo::utils::forceCrash();
  }
  Variant const* value = GetKeyChain(VT_ANY, key, false);
  if (value == nullptr) {
    std::string text = std::string("Key \"") + key + "\" not available";
    crashOn(key, text.c_str());
  }
  if (!infoValueHasClass(*value, kind)) {
    std::string text = std::string("Key \"") + key + "\" has a different type than expected";
    crashOn(key, text.c_str());
  }
  return *value;
}

Variant const& CameraInfo::defaulted(char const* key, InfoClass kind, Variant const& fallback) {
  if (!isObject(*this)) {
    Free();
    IsArray(false);
  }
  Variant& value = (*this)[key];
  if (!infoValueHasClass(value, kind)) value = fallback;
  return value;
}

Variant CameraInfo::zero(VariantType type) {
  Variant value;
  switch (type) {
    case VT_UINT64: value = 0ull; break;
    case VT_UINT32: value = 0u; break;
    default: value = static_cast<signed char>(0); break;
  }
  return value;
}

}  // namespace variant
}  // namespace orvo
