// GET and PUT id=<version>/setup. GET (handle_get) asks the network daemon
// for its stored settings and its status in one batch and adds the
// controller and the device name from the system configuration; PUT is in
// setup_put.cpp.
#include "endpoints/setup.h"

#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "messages/daemons.h"
#include "messages/network.h"
#include "orvo/utils/strings.h"
#include "orvo/utils/system_cfg.h"
#include "shared/daemon_batch.h"

using namespace orvo::ipc::messages;
using orvo::variant::Variant;

namespace orvo::rest::setup {

namespace {

constexpr char kLogFile[] = "src/rest_setup";

// The configuration keys the form shows, in the order setupForm takes them.
constexpr char const* kConfigurationKeys[] = {"vestovideo.server", "vestovideo.uuid",
                                              "resolv.host.1.name"};

// The three configuration values; an unset key reads as "".
bool readConfiguration(std::vector<std::string>& values) {
  SystemCfgManager config;
  if (!config.init()) {
    ORVO_LOG("handle_get", LOG_ERR, 0, "Failed to initialize SystemCfgManager");
    return false;
  }
  for (char const* key : kConfigurationKeys) {
    std::string value;
    bool notSet = false;
    if (!config.get(key, &value, &notSet)) {
      ORVO_LOG("handle_get", LOG_ERR, 0, "Failed to get configuration");
      values.clear();
      return true;
    }
    values.push_back(notSet ? std::string() : value);
  }
  return true;
}

}  // namespace

Variant setupForm(Variant const& settings, Variant const& status,
                  std::vector<std::string> const& configuration) {
  Variant form;
  form.IsArray(false);
  form["ctlAddr"] = configuration.at(0);
  form["ctlUuid"] = configuration.at(1);
  form["deviceName"] = configuration.at(2);
  form["wifiSsid"] = settings.StringAt("wifi/ssid");
  form["wifiKey"] = settings.StringAt("wifi/key");
  form["wifiAuth"] = settings.StringAt("wifi/wpa/auth");
  form["netMode"] = status.StringAt("mode");
  form["netIp"] = settings.StringAt("statik/ip");
  form["netMask"] = settings.StringAt("statik/netmask");
  form["netGw"] = settings.StringAt("routes/gateway");
  // The status names its servers in one string, separated by a blank.
  std::vector<std::string> const servers = orvo::utils::split(status.StringAt("dns"), " ");
  form["netDns1"] = servers.size() > 0 ? servers[0] : std::string();
  form["netDns2"] = servers.size() > 1 ? servers[1] : std::string();
  return form;
}

Outcome handle_get(Call const&, Variant& document) {
  DaemonBatch batch("rest_setup_get", {kLogFile, "handle_get"});
  if (!batch.init()) return 0;
  ChangeNetworkSettings settings;
  settings.functionName();
  settings.responseExpected();
  if (!batch.send({{daemons::kNetworkd, &settings}})) return -1;
  NetworkStatus status;
  status.functionName();
  status.responseExpected();
  if (!batch.send({{daemons::kNetworkd, &status}})) return -1;

  std::vector<std::string> configuration;
  if (!readConfiguration(configuration)) return -1;
  if (configuration.empty()) return 0;
  batch.waitSent(kBatchSendLimitMs);
  batch.waitAnswered(kBatchAnswerLimitMs);

  document = setupForm(batch.answer(settings), batch.answer(status), configuration);
  return kReply;
}

Endpoint const kEndpoint = {"rest_setup", kLogFile, "rest_setup_main",
                            {documentRow("GET", handle_get, "handle_get"),
                             okRow("PUT", handle_put, kLockName)},
                            {"Unsupported method '%s'", cgi::kHttpInternalError, 0}};

}  // namespace orvo::rest::setup
