// The camera's description: model, MAC address, firmware version, feature
// flags and time-outs, a JSON object in the camera's file system, read-only.
//
// Two kinds of accessor:
// - strict (the board name and the 17 feature flags): the description must
//   hold the key with a value of the right class; otherwise the problem is
//   logged and the process ends (forceCrash), because a camera without them
//   is broken and must not answer as if it were whole;
// - defaulting (everything else): a missing or mistyped key gets its default
//   written into this in-memory copy and returned. Nothing is written back.
#pragma once

#include <cstdint>
#include <string>

#include "orvo/variant/variant.h"

namespace orvo {
namespace variant {

// Device path of the description (mapped through devicePath).
constexpr char kCameraInfoPath[] = "/etc/orvo/camera_info.json";

// The class a stored value must belong to.
enum class InfoClass { kString, kFlag, kNumber };

bool infoValueHasClass(Variant const& value, InfoClass kind);

class CameraInfo : public Variant {
 public:
  // Loads the description; false when it is missing, unreadable or not an
  // object.
  bool Init();

  // ---- strict ----
  std::string name() const {
    return static_cast<std::string const&>(strict("name", InfoClass::kString));
  }
#define ORVO_CAMERA_FLAG(key) \
  signed char key() const { return static_cast<signed char>(strict(#key, InfoClass::kFlag)); }
  ORVO_CAMERA_FLAG(feature_sdmmc)
  ORVO_CAMERA_FLAG(feature_mic)
  ORVO_CAMERA_FLAG(feature_line_in)
  ORVO_CAMERA_FLAG(feature_speaker)
  ORVO_CAMERA_FLAG(feature_rtc)
  ORVO_CAMERA_FLAG(feature_wifi)
  ORVO_CAMERA_FLAG(feature_led_ir)
  ORVO_CAMERA_FLAG(feature_led_status)
  ORVO_CAMERA_FLAG(feature_battery)
  ORVO_CAMERA_FLAG(feature_bluetooth)
  ORVO_CAMERA_FLAG(feature_external_ir)
  ORVO_CAMERA_FLAG(feature_accelerometer)
  ORVO_CAMERA_FLAG(feature_ldc)
  ORVO_CAMERA_FLAG(feature_magic_zoom)
  ORVO_CAMERA_FLAG(feature_optical_zoom)
  ORVO_CAMERA_FLAG(feature_touch_focus)
  ORVO_CAMERA_FLAG(feature_adjustable_ir)
#undef ORVO_CAMERA_FLAG

  // ---- defaulting ----
  std::string hwaddr() { return defaulted("hwaddr", InfoClass::kString, Variant("")); }
  std::string hwaddrColons() { return defaulted("hwaddrColons", InfoClass::kString, Variant("")); }
  std::string version() { return defaulted("version", InfoClass::kString, Variant("")); }
  std::string semVer() { return defaulted("semVer", InfoClass::kString, Variant("")); }
  std::string cameraName() { return defaulted("cameraName", InfoClass::kString, Variant("")); }
  std::string deviceModel() { return defaulted("deviceModel", InfoClass::kString, Variant("")); }
  uint64_t reboot() { return unsignedDefaulted("reboot"); }
  uint64_t upgrade() { return unsignedDefaulted("upgrade"); }
  uint32_t protocolVer() {
    return static_cast<unsigned int>(defaulted("protocolVer", InfoClass::kNumber, zero(VT_UINT32)));
  }
  signed char isStandalone() {
    return static_cast<signed char>(defaulted("isStandalone", InfoClass::kFlag, zero(VT_INT8)));
  }

 private:
  // The stored value, or: log the problem and forceCrash().
  Variant const& strict(char const* key, InfoClass kind) const;
  // The stored value when it has the class, else `fallback` stored and returned.
  Variant const& defaulted(char const* key, InfoClass kind, Variant const& fallback);
  uint64_t unsignedDefaulted(char const* key) {
    return static_cast<unsigned long>(defaulted(key, InfoClass::kNumber, zero(VT_UINT64)));
  }
  static Variant zero(VariantType type);
};

}  // namespace variant
}  // namespace orvo
