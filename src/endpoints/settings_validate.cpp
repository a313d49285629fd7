// The check a settings PUT body must pass before anything is changed. Each
// step is one row of kChecks, run in order; the first problem ends it.
#include <cstdio>

#include "cgi/log_tag.h"
#include "endpoints/settings.h"
#include "orvo/utils/uuid.h"
#include "orvo/utils/validate.h"
#include "orvo/variant/camera_info.h"
#include "orvo/variant/uri.h"

using orvo::variant::Variant;

namespace orvo::rest::settings {

constexpr char kLogFile[] = "src/rest_settings";

namespace {

constexpr char const* kSupportedLanguages[] = {"en-US", "fr",  "es-ES", "es-MX",     "pt-BR",
                                               "ru",    "fa",  "zh-CN", "zh-Hant-TW"};
constexpr char kControllerScheme[] = "wss://";

std::string checkCredentials(Variant& body, SettingsCheckCamera const&) {
  int const present = body.Has(orvo::variant::VT_STRING, "device/auth/username") +
                      body.Has(orvo::variant::VT_STRING, "device/auth/passwordNew") +
                      body.Has(orvo::variant::VT_STRING, "device/auth/passwordOld");
  return present == 0 || present == 3 ? "" : "username or password is missing";
}

// The wording names the user although the limit is the device name's; log
// readers and scripts know it by this text.
std::string checkDeviceName(Variant& body, SettingsCheckCamera const&) {
  if (!body.Has(orvo::variant::VT_STRING, "device/name")) return "";
  return body.StringAt("device/name").size() <= kMaxDeviceNameBytes ? "" : "username is too long";
}

std::string checkLanguage(Variant& body, SettingsCheckCamera const&) {
  if (!body.Has(orvo::variant::VT_STRING, "device/language")) return "";
  std::string const language = body.StringAt("device/language");
  for (char const* supported : kSupportedLanguages) {
    if (language == supported) return "";
  }
  return "Not supported language";
}

std::string checkCameraInfo(Variant&, SettingsCheckCamera const& camera) {
  return camera.load() ? "" : "Failed to initialize camera info manager";
}

std::string checkWifi(Variant& body, SettingsCheckCamera const& camera) {
  if (!body.Has(orvo::variant::VT_ANY, "wifi")) return "";
  // The body has a wireless node, the camera no wireless.
  if (!camera.hasWifi()) return "wifi node is missing";
  bool const key = body.Has(orvo::variant::VT_STRING, "wifi/key");
  bool const auth = body.Has(orvo::variant::VT_STRING, "wifi/auth");
  bool const psk = body.Has(orvo::variant::VT_STRING, "wifi/psk");
  if (!body.Has(orvo::variant::VT_STRING, "wifi/ssid")) {
    if (key) return "wifi.key set but wifi.ssid is not";
    if (auth) return "wifi.auth set but wifi.ssid is not";
    if (psk) return "wifi.psk set but wifi.ssid is not";
    return "";
  }
  if (!key) return "wifi.key is missing when ssid is set";
  if (body.StringAt("wifi/key") == "none") return "";
  if (!auth || !psk) return "wifi.auth and/or wifi.psk is missing";
  return orvo::utils::psk_valid(body.StringAt("wifi/psk"), true) ? "" : "wifi.psk is invalid";
}

std::string checkNetwork(Variant& body, SettingsCheckCamera const&) {
  if (!body.Has(orvo::variant::VT_ANY, "net")) return "";
  if (!body.Has(orvo::variant::VT_STRING, "net/mode")) return "Network mode is missing";
  std::string const mode = body.StringAt("net/mode");
  if (mode == "dhcp") return "";
  if (mode != "static") return "Unknown network mode: " + mode;
  if (body.Has(orvo::variant::VT_STRING, "net/ip") &&
      body.Has(orvo::variant::VT_STRING, "net/mask")) {
    return "";
  }
  return "One (or more) of the following settings are missing: net.ip, net.mask";
}

// The address comes without a scheme: host, optionally port and path.
std::string checkControllerAddress(Variant& body, SettingsCheckCamera const&) {
  std::string const address = body.StringAt("controller/addr");
  if (address.empty()) return "";
  orvo::variant::URI uri;
  return orvo::variant::URI::FromString(kControllerScheme + address, false, uri)
             ? ""
             : "controller/addr is not valid";
}

// The message carries the two lookups' raw pointers, as log readers know it;
// the address half of it is enforced when the adoption is sent.
std::string checkControllerIdentity(Variant& body, SettingsCheckCamera const&) {
  Variant* uuid = body.GetKeyChain(orvo::variant::VT_STRING, "controller/uuid", false);
  Variant* override = body.GetKeyChain(orvo::variant::VT_INT32, "controller/override", false);
  if (override == nullptr) {
    override = body.GetKeyChain(orvo::variant::VT_BOOL, "controller/override", false);
  }
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
  ORVO_LOG("is_valid_put_request", LOG_ERR, 0, "%s", problem.c_str());
  return false;
}

}  // namespace orvo::rest::settings
