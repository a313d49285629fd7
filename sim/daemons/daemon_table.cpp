#include "daemon_table.h"

#include "daemon_names.h"

namespace orvo {
namespace sim {

using orvo::variant::Variant;

namespace {

constexpr FunctionEntry kFunctions[] = {
    {kNetworkDaemon, "NetworkStatus", &networkStatus},
    {kNetworkDaemon, "ChangeNetworkSettings", &changeNetworkSettings},
    {kNetworkDaemon, "TestAndApplyNetworkSettings", &changeNetworkSettings},
    {kNetworkDaemon, "ScanAP", &scanAccessPoints},
    {kIspDaemon, "ChangeIspSettings", &changeSettings},
    {kIspDaemon, "ResetIspSettings", &resetIspSettings},
    {kStreamerDaemon, "ChangeVideoSettings", &changeSettings},
    {kOsdDaemon, "ChangeOsdSettings", &changeSettings},
    {kNvrDaemon, "ChangeNvrSettings", &changeSettings},
    {kAnalyticsDaemon, "ChangeAnalyticsSettings", &changeSettings},
    {kSoundsLedsDaemon, "ChangeSoundLedSettings", &changeSettings},
    {kCtlDaemon, "StartService", &startOrStopService},
    {kCtlDaemon, "StopService", &startOrStopService},
    {kCtlDaemon, "ResetToDefaults", &resetToDefaults},
    {kCtlDaemon, "ChangeDeviceSettings", &changeDeviceSettings},
    {kCtlDaemon, "ChangeUsernamePassword", &changeUsernamePassword},
    {kAvclientDaemon, "GetAvclientState", &avclientState},
    {kAvclientDaemon, "Adopt", &adopt},
    {kAvclientDaemon, "CancelWait", &cancelWait},
};

}  // namespace

bool isDaemonName(std::string const& name) {
  for (char const* daemon : kDaemonNames) {
    if (name == daemon) return true;
  }
  return false;
}

std::string stringMember(Variant const& value, char const* key) {
  Variant const* member = value.GetKeyChain(orvo::variant::VT_STRING, key, false);
  return member != nullptr ? static_cast<std::string>(*member) : std::string();
}

Variant errorAnswer(std::string const& text) {
  Variant answer;
  answer["error"] = text;
  return answer;
}

Variant handleRequest(std::string const& daemon, Variant const& request) {
  std::string const functionName = stringMember(request, "functionName");
  for (FunctionEntry const& entry : kFunctions) {
    if (daemon == entry.daemon && functionName == entry.functionName) {
      return entry.handler(daemon, request);
    }
  }
  return errorAnswer(daemon + " does not serve '" + functionName + "'");
}

}  // namespace sim
}  // namespace orvo
