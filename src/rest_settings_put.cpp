// PUT id=<version>/settings: every section present in the body becomes one
// change message for the daemon that owns it; all are sent before any
// answer is awaited, then the settings kept in the system configuration are
// written by the configuration tool.
#include <sys/wait.h>

#include "messages/camera.h"
#include "messages/device.h"
#include "messages/network.h"
#include "messages/video.h"
#include "orvo/log.h"
#include "orvo/utils/exec.h"
#include "rest_settings.h"
#include "utils.h"

using namespace orvo::ipc::messages;
using orvo::variant::Variant;
using orvo::variant::VariantType;

namespace {

constexpr char kModule[] = "src/rest_settings";
constexpr char kLockName[] = "rest_settings_put";
constexpr unsigned kSendLimitMs = 5000;
constexpr unsigned kAnswerLimitMs = 20000;

#define PUT_LOG(level, ...) \
  logInternal("orvo_cgi", kModule, "handle_put", __LINE__, level, 0, 0, __VA_ARGS__)

Variant const* at(Variant& body, char const* path, VariantType type) {
  return body.GetKeyChain(type, path, false);
}

// The member at a "/"-separated path of `root`, created on the way.
Variant& slotAt(Variant& root, std::string const& path) {
  Variant* slot = &root;
  std::size_t start = 0;
  for (std::size_t end; (end = path.find('/', start)) != std::string::npos; start = end + 1) {
    slot = &(*slot)[path.substr(start, end - start)];
  }
  return (*slot)[path.substr(start)];
}

// Copies the body's string at `path` (when there is one) to `target`.
void copyIfPresent(Variant& body, char const* path, Variant& message, char const* target) {
  if (Variant const* value = at(body, path, orvo::variant::VT_STRING)) {
    slotAt(message, target) = *value;
  }
}

// One daemon section of the body, copied whole into its message class.
template <class Message>
bool sendSection(BlockingIpcWrapper& bus, Variant& body, char const* section,
                 char const* service) {
  Variant const* content = at(body, section, orvo::variant::VT_ANY);
  if (content == nullptr) return true;
  Message message(*content);
  message.NormalizeFields();
  return bus.sendRequest(service, message);
}

// Messages 7 and 8: the device's identity and the credentials.
bool sendDeviceSections(BlockingIpcWrapper& bus, Variant& body) {
  static char const* const kIdentityKeys[] = {"name", "timezone", "region"};
  ChangeDeviceSettings identity;
  bool anyIdentity = false;
  for (char const* key : kIdentityKeys) {
    std::string const path = std::string("device/") + key;
    if (Variant const* value = at(body, path.c_str(), orvo::variant::VT_STRING)) {
      identity[key] = *value;
      anyIdentity = true;
    }
  }
  if (anyIdentity) {
    identity.NormalizeFields();
    if (!bus.sendRequest("orvo_ctlserver", identity)) return false;
  }
  Variant const* auth = at(body, "device/auth", orvo::variant::VT_OBJECT);
  if (auth == nullptr) return true;
  ChangeUsernamePassword credentials(*auth);
  credentials.NormalizeFields();
  return bus.sendRequest("orvo_ctlserver", credentials);
}

bool sendAll(BlockingIpcWrapper& bus, Variant& body) {
  if (!sendSection<ChangeIspSettings>(bus, body, "isp", "orvo_ispserver") ||
      !sendSection<ChangeVideoSettings>(bus, body, "av", "orvo_streamer") ||
      !sendSection<ChangeOsdSettings>(bus, body, "osd", "orvo_osd") ||
      !sendSection<ChangeNvrSettings>(bus, body, "nvr", "orvo_nvr") ||
      !sendSection<ChangeAnalyticsSettings>(bus, body, "analytics", "orvo_analytics") ||
      !sendSection<ChangeSoundLedSettings>(bus, body, "soundled", "orvo_sounds_leds") ||
      !sendDeviceSections(bus, body)) {
    PUT_LOG(3, "Unable to send the IPC request");
    return false;
  }
  ChangeNetworkSettings network(networkChangeFromBody(body));
  if (!bus.sendRequest("orvo_networkd", network)) {
    PUT_LOG(3, "Unable to send the IPC request");
    return false;
  }
  if (at(body, "controller", orvo::variant::VT_ANY) == nullptr) return true;
  Variant const* address = at(body, "controller/addr", orvo::variant::VT_STRING);
  if (address == nullptr || static_cast<std::string const&>(*address).empty()) {
    PUT_LOG(4, "controller addr must be non-empty");
    return true;
  }
  Adopt adoption(adoptionFromBody(body));
  if (!bus.sendRequest("orvo_avclient", adoption)) {
    PUT_LOG(3, "Unable to send the IPC request");
    return false;
  }
  return true;
}

}  // namespace

Variant networkChangeFromBody(Variant& body) {
  ChangeNetworkSettings message;
  message.functionName();
  message["responseExpected"] = false;
  copyIfPresent(body, "wifi/ssid", message, "wifi/ssid");
  if (Variant const* key = at(body, "wifi/key", orvo::variant::VT_STRING)) {
    message["wifi"]["key"] = *key;
    if (*key != "none") {
      copyIfPresent(body, "wifi/auth", message, "wifi/wpa/auth");
      copyIfPresent(body, "wifi/psk", message, "wifi/wpa/psk");
    }
  }
  Variant const* mode = at(body, "net/mode", orvo::variant::VT_STRING);
  if (mode && *mode == "dhcp") message["dhcp"]["status"] = 1;
  if (mode && *mode == "static") {
    message["dhcp"]["status"] = 0;
    copyIfPresent(body, "net/ip", message, "statik/ip");
    copyIfPresent(body, "net/mask", message, "statik/netmask");
    copyIfPresent(body, "net/gw", message, "routes/gateway");
    if (at(body, "net/dns1", orvo::variant::VT_STRING)) {
      copyIfPresent(body, "net/dns1", message, "dns/ns1/ip");
      message["dns"]["ns1"]["status"] = 1;
    }
    if (at(body, "net/dns2", orvo::variant::VT_STRING)) {
      copyIfPresent(body, "net/dns2", message, "dns/ns2/ip");
      message["dns"]["ns2"]["status"] = 1;
    }
  }
  copyIfPresent(body, "net/dhcpFallbackIP", message, "dhcp/fallbackIP");
  copyIfPresent(body, "net/dhcpFallbackNetmask", message, "dhcp/fallbackNetmask");
  message.NormalizeFields();
  return message;
}

Variant adoptionFromBody(Variant& body) {
  Adopt message;
  message["protocol"] = "wss";
  Variant const* address = at(body, "controller/addr", orvo::variant::VT_STRING);
  message["hosts"].PushBack(address ? *address : Variant(""));
  Variant const* token = at(body, "controller/token", orvo::variant::VT_STRING);
  message["token"] = token ? *token : Variant("");
  message.NormalizeFields();
  return message;
}

// "device.firstTimeUse" can only be cleared, never set again.
std::vector<std::string> systemCfgArguments(Variant& body) {
  std::vector<std::string> args{kSystemCfgFlash};
  Variant const* firstTimeUse = at(body, "device/firstTimeUse", orvo::variant::VT_BOOL);
  if (firstTimeUse && !firstTimeUse->AsBool()) {
    args.insert(args.end(), {"device.firstTimeUse", "0"});
  }
  if (Variant const* language = at(body, "device/language", orvo::variant::VT_STRING)) {
    args.insert(args.end(), {"device.language", static_cast<std::string const&>(*language)});
  }
  if (Variant const* anon = at(body, "httpd/anonSnapshot", orvo::variant::VT_INT64)) {
    args.insert(args.end(), {"httpd.anonSnapshot", anon->AsDouble() != 0.0 ? "1" : "0"});
  }
  return args;
}

int handle_put(orvo::cgi::CGIRequest const& request, orvo::cgi::CGIResponse& response) {
  InterProcessMutex mutex(kLockName, false);
  if (!orvo::cgi::lock(kLockName, mutex, response)) return response.Commit();

  response.SetHttpHeader("Status", "400");
  if (!is_valid_put_request(request)) {
    PUT_LOG(3, "Invalid request");
    return -1;
  }
  response.SetHttpHeader("Status", "500");
  Variant body = request.Json();
  BlockingIpcWrapper bus(kLockName);
  if (!bus.init()) {
    PUT_LOG(3, "Failed to init IPC handler");
    return 0;
  }
  if (!sendAll(bus, body)) return -1;

  bus.waitAllRequestsSent(kSendLimitMs);
  if (!bus.waitAllResponsesReceived(kAnswerLimitMs)) PUT_LOG(3, "Failed to apply IPC settings");
  if (!bus.allRequestsSucceed()) PUT_LOG(3, "At least one IPC request failed");

  std::vector<std::string> const args = systemCfgArguments(body);
  if (args.size() >= 3) {
    if (orvo::utils::sysExecSimple(kSystemCfgTool, args) != 0) {
      PUT_LOG(3, "Failed to execute orvo_system_cfg");
      return -1;
    }
  }
  response.SetHttpHeader("Status", "200");
  return response.Commit();
}
