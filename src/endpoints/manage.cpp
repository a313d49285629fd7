// POST id=1.2/manage: a management controller hands over its adoption data
// (protocol, hosts, token) and optionally the wireless network to join. The
// wireless part goes to the network daemon, the adoption to the management
// client; the answer repeats what was accepted.
#include <iterator>

#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "messages/daemons.h"
#include "messages/device.h"
#include "messages/network.h"
#include "orvo/variant/uri.h"
#include "shared/bus_client.h"
#include "shared/log_redact.h"

using namespace orvo::ipc::messages;
using orvo::variant::Variant;

namespace orvo::rest::manage {

constexpr char kLogFile[] = "src/rest_manage";

namespace {

constexpr char kRequiredScheme[] = "wss";
constexpr unsigned kAdoptLimitMs = 10000;

Variant const* containerAt(Variant const& body, char const* path) {
  return body.GetKeyChain(orvo::variant::VT_OBJECT, path, false);
}

// The host at `index` of an array or of an object (members in key order).
Variant const& hostAt(Variant const& hosts, std::size_t index) {
  if (hosts.Type() == orvo::variant::VT_ARRAY) return hosts.Elements()[index];
  return std::next(hosts.str_begin(), static_cast<long>(index))->second;
}

}  // namespace

// The URL made of the protocol (checked before: exactly "wss") and the host
// must parse. The emptiness test
// looks at the URL, which always holds "://"; an empty host is left to the
// parser. A host that is not a string is no URL at all: passed on, the
// management client would get it as it came.
bool connection_host_valid(std::string const& protocol, Variant const& host) {
  bool const isText = host.Type() == orvo::variant::VT_STRING;
  std::string text;
  if (isText) {
    text = static_cast<std::string const&>(host);
  } else {
    host.ToJSON(text, false);
  }
  std::string const url = protocol + "://" + text;
  if (url.empty()) {
    ORVO_LOG("connection_host_valid", LOG_ERR, 0, "Input host empty");
    return false;
  }
  orvo::variant::URI uri;
  if (!isText || !orvo::variant::URI::FromString(url, false, uri)) {
    ORVO_LOG("connection_host_valid", LOG_ERR, 0, "Invalid URL (%s)", url.c_str());
    return false;
  }
  return true;
}

bool is_valid_manage_wifi(Variant const& body) {
  if (body.Has(orvo::variant::VT_STRING, "wifi/ssid") &&
      body.Has(orvo::variant::VT_STRING, "wifi/password")) {
    return true;
  }
  ORVO_LOG("is_valid_manage_wifi", LOG_INFO, 0, "ssid/password missing");
  return false;
}

bool request_data_valid(Variant const& body) {
  std::string const protocol = body.StringAt("mgmt/protocol");
  if (protocol.empty()) {
    ORVO_LOG("request_data_valid", LOG_ERR, 0, "empty 'protocol' received");
    return false;
  }
  // The protocol is the scheme alone: "wss://evil/" would otherwise make
  // "wss://evil/://<host>", a valid "wss" URL to a host of the sender's choice.
  if (protocol != kRequiredScheme) {
    ORVO_LOG("request_data_valid", LOG_ERR, 0, "Unsupported protocol (%s)", protocol.c_str());
    return false;
  }
  Variant const* hosts = containerAt(body, "mgmt/hosts");
  if (hosts == nullptr) {
    ORVO_LOG("request_data_valid", LOG_ERR, 0, "no 'hosts' found");
    return false;
  }
  for (std::size_t i = 0; i < hosts->KeysCount(); ++i) {
    if (!connection_host_valid(protocol, hostAt(*hosts, i))) return false;
  }
  if (containerAt(body, "wifi") != nullptr && !is_valid_manage_wifi(body)) {
    ORVO_LOG("request_data_valid", LOG_ERR, 0, "Invalid wifi params");
    return false;
  }
  return true;
}

// The wireless part: applied directly when "fallback" is false, otherwise
// tried first by the network daemon, which keeps the old network when the
// new one cannot be joined.
template <class Message>
bool sendWifiChange(Variant const& body) {
  Message message;
  message.functionName();
  if (Variant const* ssid = body.GetKeyChain(orvo::variant::VT_STRING, "wifi/ssid", false)) {
    message["wifi"]["ssid"] = *ssid;
  } else {
    ORVO_LOG("compose_change_wifi_settings", LOG_ERR, 0, "Missing SSID");
  }
  if (Variant const* password =
          body.GetKeyChain(orvo::variant::VT_STRING, "wifi/password", false)) {
    message["wifi"]["wpa"]["psk"] = *password;
    if (Variant const* sounds =
            body.GetKeyChain(orvo::variant::VT_BOOL, "wifi/playSounds", false)) {
      message["wifi"]["enableSounds"] = *sounds;
    }
    message["wifi"]["key"] = "wpa";
    message["wifi"]["wpa"]["auth"] = "psk";
  } else {
    ORVO_LOG("compose_change_wifi_settings", LOG_ERR, 0, "Missing password");
  }
  return sendIpcBlockingWrapper("orvo_manage", daemons::kNetworkd, message, nullptr, true,
                                kBusAnswerLimitMs);
}

bool compose_change_wifi_settings(Variant const& body) {
  Variant const* fallback = body.GetKeyChain(orvo::variant::VT_BOOL, "wifi/fallback", false);
  bool const sent = (fallback != nullptr && !fallback->AsBool())
                        ? sendWifiChange<ChangeNetworkSettings>(body)
                        : sendWifiChange<TestAndApplyNetworkSettings>(body);
  if (!sent) {
    ORVO_LOG("compose_change_wifi_settings", LOG_ERR, 0,
             "Unable to send IPC request to orvo_networkd");
  }
  return sent;
}

bool pass_adoption_info_to_avclient(Variant const& body) {
  Adopt adoption;
  adoption["responseExpected"] = true;
  adoption["protocol"] = body.StringAt("mgmt/protocol");
  adoption["hosts"] = *containerAt(body, "mgmt/hosts");
  adoption["token"] = body.StringAt("mgmt/token");
  adoption.NormalizeFields();
  Variant reply;
  if (sendIpcBlockingWrapper("rest_manage", daemons::kAvclient, adoption, &reply, true,
                             kAdoptLimitMs)) {
    return true;
  }
  ORVO_LOG("pass_adoption_info_to_avclient", LOG_INFO, 0, "rest_manage: avclient respond '%s'",
           loggableJson(reply).c_str());
  return false;
}

namespace {

// The answer repeats the request's own "mgmt" and "wifi", as they came.
Outcome servePost(Call const& call, Variant& echo) {
  Variant const& body = call.request.Json();
  if (!request_data_valid(body)) {
    ORVO_LOG("rest_manage_main", LOG_INFO, 0, "request data %s", loggableJson(body).c_str());
    call.response.SetStatus(cgi::kHttpBadRequest);
    return call.response.Commit();
  }
  if (containerAt(body, "wifi") != nullptr && !compose_change_wifi_settings(body)) return -1;
  if (!pass_adoption_info_to_avclient(body)) {
    call.response.SetStatus(cgi::kHttpInternalError);
    return call.response.Commit();
  }
  echo.IsArray(false);
  echo["mgmt"] = *body.GetKeyChain(orvo::variant::VT_ANY, "mgmt", false);
  if (Variant const* wifi = containerAt(body, "wifi")) echo["wifi"] = *wifi;
  return kReply;
}

}  // namespace

// Any other method: 405, nothing logged.
Endpoint const kEndpoint = {"rest_manage", kLogFile, "rest_manage_main",
                                {documentRow("POST", servePost, nullptr, nullptr)},
                                {nullptr, cgi::kHttpMethodNotAllowed, 0}};

}  // namespace orvo::rest::manage
