// PUT id=<version>/setup: the form is checked, the client is answered 200
// at once, and a child process applies the network change and records the
// controller afterwards. The client thus learns only that the form was
// accepted; the child's outcome is in the log.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "cgi/log_tag.h"
#include "endpoints/setup.h"
#include "messages/daemons.h"
#include "orvo/utils/exec.h"
#include "orvo/utils/mutex.h"
#include "orvo/utils/strings.h"
#include "shared/bus_client.h"

using namespace orvo::ipc::messages;
using orvo::variant::Variant;

namespace orvo::rest::setup {

namespace {

constexpr char kLogFile[] = "src/rest_setup";

bool present(Variant const& body, char const* key) {
  return body.Has(orvo::variant::VT_STRING, key);
}

// A form key that must be there, and what is logged when it is not.
struct Required {
  char const* key;
  char const* missing;
};

bool allPresent(Variant const& body, std::initializer_list<Required> required) {
  for (Required const& field : required) {
    if (!present(body, field.key)) {
      ORVO_LOG("isValidPutRequest", LOG_ERR, 0, "%s", field.missing);
      return false;
    }
  }
  return true;
}

bool validWireless(Variant const& body) {
  if (!present(body, "wifiSsid")) return true;
  if (!allPresent(body, {{"wifiKey", "Missing 'wifiKey' param"}})) return false;
  std::string const key = body.StringAt("wifiKey");
  if (key != "none" && key != "wpa") {
    ORVO_LOG("isValidPutRequest", LOG_ERR, 0, "Unknown 'wifiKey' value: %s", key.c_str());
    return false;
  }
  if (key == "none") return true;
  if (!allPresent(body, {{"wifiAuth", "Missing 'wifiAuth' param"}})) return false;
  std::string const auth = body.StringAt("wifiAuth");
  if (auth != "psk") {
    ORVO_LOG("isValidPutRequest", LOG_ERR, 0, "Unknown 'wifiAuth' value: %s", auth.c_str());
    return false;
  }
  return allPresent(body, {{"wifiPsk", "Missing 'wifiPsk' param"}});
}

bool validAddressing(Variant const& body) {
  if (!present(body, "netMode")) return true;
  std::string const mode = body.StringAt("netMode");
  if (mode != "dhcp" && mode != "static") {
    ORVO_LOG("isValidPutRequest", LOG_ERR, 0, "Invalid 'netMode' value: %s", mode.c_str());
    return false;
  }
  if (mode == "dhcp") return true;
  return allPresent(body, {{"netIp", "Missing 'netIp' param"},
                           {"netMask", "Missing 'netMask' param"},
                           {"netGw", "Missing 'netGw' param"}});
}

bool validController(Variant const& body) {
  Variant const* override = body.GetKeyChain(orvo::variant::VT_BOOL, "ctlOverride", false);
  if (override == nullptr) {
    if (present(body, "ctlAddr") == present(body, "ctlUuid")) return true;
    ORVO_LOG("isValidPutRequest", LOG_ERR, 0, "Missing 'ctlAddr' and/or 'ctlUuid' param");
    return false;
  }
  if (override->AsBool()) return allPresent(body, {{"ctlAddr", "Missing 'ctlAddr' param"}});
  return allPresent(body, {{"ctlAddr", "Missing 'ctlAddr' param"},
                           {"ctlUuid", "Missing 'ctlUuid' param"}});
}

// How a form key reaches the network change.
enum class Placement {
  kCopy,        // the string goes to the path
  kDhcpFlag,    // the path gets (value == "dhcp")
  kNameServer,  // the string goes to <path>/ip, and <path>/status becomes true
};

struct NetworkField {
  char const* key;
  char const* path;
  Placement placement;
};

// In the order the fields are set.
constexpr NetworkField kNetworkFields[] = {
    {"wifiSsid", "wifi/ssid", Placement::kCopy},
    {"wifiKey", "wifi/key", Placement::kCopy},
    {"wifiAuth", "wifi/wpa/auth", Placement::kCopy},
    {"wifiPsk", "wifi/wpa/psk", Placement::kCopy},
    {"netMode", "dhcp/status", Placement::kDhcpFlag},
    {"netIp", "statik/ip", Placement::kCopy},
    {"netMask", "statik/netmask", Placement::kCopy},
    {"netGw", "routes/gateway", Placement::kCopy},
    {"netDns1", "dns/ns1", Placement::kNameServer},
    {"netDns2", "dns/ns2", Placement::kNameServer},
};

// The member at a "/"-separated path, created on the way; a step that is
// not an object yet becomes an empty one.
Variant& memberAt(Variant& root, char const* path) {
  Variant* member = &root;
  for (std::string const& step : orvo::utils::split(path, "/")) member = &(*member)[step];
  return *member;
}

// The child answers nobody: its standard input and output become /dev/null,
// so the web server sees the end of the answer when the parent exits, and
// nothing the child writes later can reach the client.
void leaveTheClient() {
  int const null = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (null < 0) {
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    return;
  }
  dup2(null, STDIN_FILENO);
  dup2(null, STDOUT_FILENO);
  if (null > STDERR_FILENO) close(null);
}

}  // namespace

bool isValidPutRequest(Variant const& body) {
  return validWireless(body) && validAddressing(body) && validController(body);
}

ChangeNetworkSettings networkChange(Variant const& body) {
  ChangeNetworkSettings message;
  message.functionName();
  message["responseExpected"] = false;
  for (NetworkField const& field : kNetworkFields) {
    if (!present(body, field.key)) continue;
    std::string const value = body.StringAt(field.key);
    switch (field.placement) {
      case Placement::kCopy:
        memberAt(message, field.path) = value;
        break;
      case Placement::kDhcpFlag:
        memberAt(message, field.path) = value == "dhcp";
        break;
      case Placement::kNameServer: {
        Variant& server = memberAt(message, field.path);
        server["ip"] = value;
        server["status"] = true;
        break;
      }
    }
  }
  return message;
}

ControllerCommand controllerCommand(Variant const& body, std::vector<std::string>& arguments) {
  std::string const address = body.StringAt("ctlAddr");
  std::string const uuid = body.StringAt("ctlUuid");
  bool const override = body.BoolAt("ctlOverride");
  arguments.clear();
  if (address.empty() && uuid.empty()) return ControllerCommand::kNone;
  if (!address.empty() && !uuid.empty()) {
    arguments = {"ctl", override ? "force" : "set", address, uuid};
    return ControllerCommand::kRun;
  }
  if (!override) return ControllerCommand::kInconsistent;
  if (uuid.empty()) {
    arguments = {"ctl", "force", address};
    return ControllerCommand::kRun;
  }
  return ControllerCommand::kAddrMissing;
}

int do_apply_settings(Variant const& body) {
  ChangeNetworkSettings change = networkChange(body);
  if (!sendIpcBlockingWrapper(kLockName, daemons::kNetworkd, change, nullptr, true,
                              kBusAnswerLimitMs)) {
    ORVO_LOG("do_apply_settings", LOG_ERR, 0, "Failed to perform IPC call");
    return 0;
  }
  std::vector<std::string> arguments;
  switch (controllerCommand(body, arguments)) {
    case ControllerCommand::kNone:
      break;
    case ControllerCommand::kInconsistent:
      ORVO_LOG("do_apply_settings", LOG_ERR, 0,
               "ctlAddr and ctlUuid should be both empty or non-empty for ctl set");
      return -1;
    case ControllerCommand::kAddrMissing:
      ORVO_LOG("do_apply_settings", LOG_ERR, 0, "ctlAddr is missing");
      return -1;
    case ControllerCommand::kRun:
      if (orvo::utils::sysExecSimple(kSystemCfgTool, arguments) != 0) {
        ORVO_LOG("do_apply_settings", LOG_ERR, 0, "Failed to execute orvo_system_cfg");
        return -1;
      }
      break;
  }
  ORVO_LOG("do_apply_settings", LOG_INFO, 0, "Setup applied");
  return 0;
}

Outcome handle_put(Call const& call, Variant&) {
  cgi::CGIResponse& response = call.response;
  Variant const& body = call.request.Json();
  if (!isValidPutRequest(body)) {
    ORVO_LOG("handle_put", LOG_ERR, 0, "Not a valid PUT request");
    return -1;
  }
  response.SetStatus(cgi::kHttpOk);
  // Nothing buffered before the fork may be written twice.
  std::fflush(nullptr);
  pid_t const child = fork();
  if (child < 0) {
    ORVO_LOG("handle_put", LOG_ERR, errno, "fork() failed");
    response.SetStatus(cgi::kHttpInternalError);
    return response.Commit();
  }
  if (child > 0) {
    response.Commit();
    std::fflush(stdout);
    response.Close();
    return response.Commit();
  }
  // The child shares the parent's lock file and so keeps the lock: another
  // setup is refused (429) until this one is applied.
  leaveTheClient();
  return do_apply_settings(body);
}

}  // namespace orvo::rest::setup
