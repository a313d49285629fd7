// PUT id=<version>/settings: every section present in the body becomes one
// change message for the daemon that owns it; all are sent before any
// answer is awaited, then the settings kept in the system configuration are
// written by the configuration tool.
#include <utility>
#include <vector>

#include "cgi/log_tag.h"
#include "endpoints/settings.h"
#include "messages/camera.h"
#include "messages/daemons.h"
#include "messages/device.h"
#include "messages/network.h"
#include "messages/video.h"
#include "orvo/utils/exec.h"
#include "shared/daemon_batch.h"

using namespace orvo::ipc::messages;
using orvo::variant::Variant;

namespace orvo::rest::settings {

namespace {

constexpr char kLogFile[] = "src/rest_settings";
constexpr unsigned kAnswerLimitMs = 20000;

Variant const* at(Variant const& body, char const* path, orvo::variant::VariantType type) {
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
void copyIfPresent(Variant const& body, char const* path, Variant& message, char const* target) {
  if (Variant const* value = at(body, path, orvo::variant::VT_STRING)) {
    slotAt(message, target) = *value;
  }
}

// A daemon section of the body, copied whole into its message class.
template <class Message>
BaseRequestMessage sectionMessage(Variant const& content) {
  Message message(content);
  message.NormalizeFields();
  return message;
}

struct Section {
  char const* key;
  char const* daemon;
  BaseRequestMessage (*make)(Variant const& content);
};

constexpr Section kSections[] = {
    {"isp", daemons::kIspServer, sectionMessage<ChangeIspSettings>},
    {"av", daemons::kStreamer, sectionMessage<ChangeVideoSettings>},
    {"osd", daemons::kOsd, sectionMessage<ChangeOsdSettings>},
    {"nvr", daemons::kNvr, sectionMessage<ChangeNvrSettings>},
    {"analytics", daemons::kAnalytics, sectionMessage<ChangeAnalyticsSettings>},
    {"soundled", daemons::kSoundsLeds, sectionMessage<ChangeSoundLedSettings>},
};

// The device's identity, when the body names any part of it.
bool identityMessage(Variant const& body, BaseRequestMessage& out) {
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
  if (!anyIdentity) return false;
  identity.NormalizeFields();
  out = identity;
  return true;
}

// Every message the body asks for, in sending order: the daemon sections,
// the identity and the credentials, and the network change, which is sent
// even for an empty body (it then changes nothing).
std::vector<std::pair<char const*, BaseRequestMessage>> messagesFor(Variant const& body) {
  std::vector<std::pair<char const*, BaseRequestMessage>> out;
  for (Section const& section : kSections) {
    if (Variant const* content = at(body, section.key, orvo::variant::VT_ANY)) {
      out.emplace_back(section.daemon, section.make(*content));
    }
  }
  BaseRequestMessage identity;
  if (identityMessage(body, identity)) out.emplace_back(daemons::kCtlServer, identity);
  if (Variant const* auth = at(body, "device/auth", orvo::variant::VT_OBJECT)) {
    ChangeUsernamePassword credentials(*auth);
    credentials.NormalizeFields();
    out.emplace_back(daemons::kCtlServer, credentials);
  }
  out.emplace_back(daemons::kNetworkd, networkChangeFromBody(body));
  return out;
}

// The adoption, last, when the body names a controller with an address.
bool sendAdoption(DaemonBatch& batch, Variant const& body) {
  if (!body.Has(orvo::variant::VT_ANY, "controller")) return true;
  if (body.StringAt("controller/addr").empty()) {
    ORVO_LOG("handle_put", LOG_WARNING, 0, "controller addr must be non-empty");
    return true;
  }
  Adopt adoption(adoptionFromBody(body));
  return batch.send({{daemons::kAvclient, &adoption}});
}

}  // namespace

Variant networkChangeFromBody(Variant const& body) {
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

Variant adoptionFromBody(Variant const& body) {
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
std::vector<std::string> systemCfgArguments(Variant const& body) {
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

Outcome handle_put(Call const& call, Variant&) {
  cgi::CGIRequest const& request = call.request;
  cgi::CGIResponse& response = call.response;
  response.SetStatus(cgi::kHttpBadRequest);
  if (!is_valid_put_request(request)) {
    ORVO_LOG("handle_put", LOG_ERR, 0, "Invalid request");
    return -1;
  }
  response.SetStatus(cgi::kHttpInternalError);
  Variant const& body = request.Json();
  DaemonBatch batch(kPutLockName, {kLogFile, "handle_put"});
  if (!batch.init()) return 0;
  std::vector<std::pair<char const*, BaseRequestMessage>> messages = messagesFor(body);
  std::vector<BatchRequest> requests;
  for (auto& [daemon, message] : messages) requests.push_back({daemon, &message});
  if (!batch.send(requests) || !sendAdoption(batch, body)) return -1;

  batch.waitSent(kBatchSendLimitMs);
  if (!batch.waitAnswered(kAnswerLimitMs)) {
    ORVO_LOG("handle_put", LOG_ERR, 0, "Failed to apply IPC settings");
  }
  if (!batch.allSucceeded()) ORVO_LOG("handle_put", LOG_ERR, 0, "At least one IPC request failed");

  std::vector<std::string> const args = systemCfgArguments(body);
  if (args.size() >= 3) {
    if (orvo::utils::sysExecSimple(kSystemCfgTool, args) != 0) {
      ORVO_LOG("handle_put", LOG_ERR, 0, "Failed to execute orvo_system_cfg");
      return -1;
    }
  }
  return kReply;
}

}  // namespace orvo::rest::settings
