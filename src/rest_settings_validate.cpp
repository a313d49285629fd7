// The check a settings PUT body must pass before anything is changed. Each
// step is one row of kChecks, run in order; the first problem ends it.
#include <cstdio>

#include "orvo/log.h"
#include "orvo/utils/uuid.h"
#include "orvo/utils/validate.h"
#include "orvo/variant/camera_info.h"
#include "orvo/variant/uri.h"
#include "rest_settings.h"

using orvo::variant::Variant;
using orvo::variant::VariantType;

namespace {

constexpr char const* kSupportedLanguages[] = {"en-US", "fr",  "es-ES", "es-MX",     "pt-BR",
                                               "ru",    "fa",  "zh-CN", "zh-Hant-TW"};
constexpr char kControllerScheme[] = "wss://";

// The value at `path` when it holds the class `type`, else null.
Variant* at(Variant& body, char const* path, VariantType type) {
  return body.GetKeyChain(type, path, false);
}
bool has(Variant& body, char const* path, VariantType type) {
  return at(body, path, type) != nullptr;
}
std::string text(Variant& body, char const* path) {
  Variant* value = at(body, path, orvo::variant::VT_STRING);
  return value ? static_cast<std::string const&>(*value) : std::string();
}

std::string checkCredentials(Variant& body, SettingsCheckCamera const&) {
  int const present = has(body, "device/auth/username", orvo::variant::VT_STRING) +
                      has(body, "device/auth/passwordNew", orvo::variant::VT_STRING) +
                      has(body, "device/auth/passwordOld", orvo::variant::VT_STRING);
  return present == 0 || present == 3 ? "" : "username or password is missing";
}

// The wording names the user although the limit is the device name's; log
// readers and scripts know it by this text.
std::string checkDeviceName(Variant& body, SettingsCheckCamera const&) {
  if (!has(body, "device/name", orvo::variant::VT_STRING)) return "";
  return text(body, "device/name").size() <= kMaxDeviceNameBytes ? "" : "username is too long";
}

std::string checkLanguage(Variant& body, SettingsCheckCamera const&) {
  if (!has(body, "device/language", orvo::variant::VT_STRING)) return "";
  std::string const language = text(body, "device/language");
  for (char const* supported : kSupportedLanguages) {
    if (language == supported) return "";
  }
  return "Not supported language";
}

std::string checkCameraInfo(Variant&, SettingsCheckCamera const& camera) {
  return camera.load() ? "" : "Failed to initialize camera info manager";
}

std::string checkWifi(Variant& body, SettingsCheckCamera const& camera) {
  if (!has(body, "wifi", orvo::variant::VT_ANY)) return "";
  // The body has a wireless node, the camera no wireless.
  if (!camera.hasWifi()) return "wifi node is missing";
  bool const key = has(body, "wifi/key", orvo::variant::VT_STRING);
  bool const auth = has(body, "wifi/auth", orvo::variant::VT_STRING);
  bool const psk = has(body, "wifi/psk", orvo::variant::VT_STRING);
  if (!has(body, "wifi/ssid", orvo::variant::VT_STRING)) {
    if (key) return "wifi.key set but wifi.ssid is not";
    if (auth) return "wifi.auth set but wifi.ssid is not";
    if (psk) return "wifi.psk set but wifi.ssid is not";
    return "";
  }
  if (!key) return "wifi.key is missing when ssid is set";
  if (text(body, "wifi/key") == "none") return "";
  if (!auth || !psk) return "wifi.auth and/or wifi.psk is missing";
  return orvo::utils::psk_valid(text(body, "wifi/psk"), true) ? "" : "wifi.psk is invalid";
}

std::string checkNetwork(Variant& body, SettingsCheckCamera const&) {
  if (!has(body, "net", orvo::variant::VT_ANY)) return "";
  if (!has(body, "net/mode", orvo::variant::VT_STRING)) return "Network mode is missing";
  std::string const mode = text(body, "net/mode");
  if (mode == "dhcp") return "";
  if (mode != "static") return "Unknown network mode: " + mode;
  if (has(body, "net/ip", orvo::variant::VT_STRING) &&
      has(body, "net/mask", orvo::variant::VT_STRING)) {
    return "";
  }
  return "One (or more) of the following settings are missing: net.ip, net.mask";
}

// The address comes without a scheme: host, optionally port and path.
std::string checkControllerAddress(Variant& body, SettingsCheckCamera const&) {
  std::string const address = text(body, "controller/addr");
  if (address.empty()) return "";
  orvo::variant::URI uri;
  return orvo::variant::URI::FromString(kControllerScheme + address, false, uri)
             ? ""
             : "controller/addr is not valid";
}

// The message carries the two lookups' raw pointers, as log readers know it;
// the address half of it is enforced when the adoption is sent.
std::string checkControllerIdentity(Variant& body, SettingsCheckCamera const&) {
  Variant* uuid = at(body, "controller/uuid", orvo::variant::VT_STRING);
  Variant* override = body.GetKeyChain(orvo::variant::VT_INT32, "controller/override", false);
  if (override == nullptr) override = at(body, "controller/override", orvo::variant::VT_BOOL);
  if ((uuid == nullptr) != (override == nullptr)) {
    char message[256];
    std::snprintf(message, sizeof message,
                  "controller.uuid and controller.override should be set or unset together, and "
                  "when all set, addr must not be empty %p %p",
                  static_cast<void*>(uuid), static_cast<void*>(override));
    return message;
  }
  if (uuid == nullptr) return "";
  std::string const& value = *uuid;
  if (value.empty() || orvo::utils::uuid_valid(value, true)) return "";
  return "controller/uuid is not valid";
}

using Check = std::string (*)(Variant& body, SettingsCheckCamera const& camera);

constexpr Check kChecks[] = {
    checkCredentials, checkDeviceName, checkLanguage,          checkCameraInfo,
    checkWifi,        checkNetwork,    checkControllerAddress, checkControllerIdentity,
};

}  // namespace

std::string settingsBodyProblem(Variant& body, SettingsCheckCamera const& camera) {
  for (Check check : kChecks) {
    std::string problem = check(body, camera);
    if (!problem.empty()) return problem;
  }
  return "";
}

bool is_valid_put_request(orvo::cgi::CGIRequest const& request) {
  Variant body = request.Json();
  orvo::variant::CameraInfo info;
  SettingsCheckCamera camera{[&info] { return info.Init(); },
                             [&info] { return info.feature_wifi() != 0; }};
  std::string const problem = settingsBodyProblem(body, camera);
  if (problem.empty()) return true;
  logInternal("orvo_cgi", "src/rest_settings", "is_valid_put_request", __LINE__, 3, 0, 0, "%s",
              problem.c_str());
  return false;
}
