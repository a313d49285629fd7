// The settings endpoint: GET reads every user-changeable setting from the
// daemons and the system configuration, PUT checks a partial settings
// document and fans it out to the daemons and the configuration tool.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cgi/orvo_cgi.h"
#include "endpoints/recipe.h"
#include "orvo/variant/variant.h"

namespace orvo::rest::settings {

// Longest device name a PUT may set.
constexpr std::size_t kMaxDeviceNameBytes = 25;
// The configuration writer and its first argument.
constexpr char kSystemCfgTool[] = "/bin/orvo_system_cfg";
constexpr char kSystemCfgFlash[] = "flash";

// What the body check needs to know about the camera, asked only when the
// check gets that far.
struct SettingsCheckCamera {
  std::function<bool()> load;     // false: the description cannot be loaded
  std::function<bool()> hasWifi;  // the wireless feature flag
};

// The body check of a PUT, without logging: "" when the body may be
// applied, else the problem, worded as it is logged.
std::string settingsBodyProblem(orvo::variant::Variant& body, SettingsCheckCamera const& camera);
// The check on the request's JSON body (a copy), logging the problem.
bool is_valid_put_request(orvo::cgi::CGIRequest const& request);

// The network change of a PUT, built from the body's "wifi" and "net".
orvo::variant::Variant networkChangeFromBody(orvo::variant::Variant const& body);
// The adoption request for a non-empty controller address.
orvo::variant::Variant adoptionFromBody(orvo::variant::Variant const& body);
// The configuration tool's arguments for a PUT body, "flash" first.
std::vector<std::string> systemCfgArguments(orvo::variant::Variant const& body);

// The lock a write runs under, also its name on the bus.
constexpr char kPutLockName[] = "rest_settings_put";

// The two methods behind rest_settings_main.
Outcome handle_get(Call const& call, orvo::variant::Variant& document);
Outcome handle_put(Call const& call, orvo::variant::Variant& document);

}  // namespace orvo::rest::settings
