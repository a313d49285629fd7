#include "daemon_table.h"

#include "daemon_names.h"

namespace orvo {
namespace sim {

using orvo::variant::Variant;

namespace {

constexpr FunctionEntry kFunctions[] = {
    {daemons::kNetworkd, "NetworkStatus", &networkStatus},
    {daemons::kNetworkd, "ChangeNetworkSettings", &changeNetworkSettings},
    {daemons::kNetworkd, "TestAndApplyNetworkSettings", &testAndApplyNetworkSettings},
    {daemons::kNetworkd, "ScanAP", &scanAccessPoints},
    {daemons::kIspServer, "ChangeIspSettings", &changeSettings},
    {daemons::kIspServer, "ResetIspSettings", &resetIspSettings},
    {daemons::kStreamer, "ChangeVideoSettings", &changeSettings},
    {daemons::kOsd, "ChangeOsdSettings", &changeSettings},
    {daemons::kNvr, "ChangeNvrSettings", &changeSettings},
    {daemons::kAnalytics, "ChangeAnalyticsSettings", &changeSettings},
    {daemons::kSoundsLeds, "ChangeSoundLedSettings", &changeSettings},
    {daemons::kCtlServer, "StartService", &startOrStopService},
    {daemons::kCtlServer, "StopService", &startOrStopService},
    {daemons::kCtlServer, "ResetToDefaults", &resetToDefaults},
    {daemons::kCtlServer, "ChangeDeviceSettings", &changeDeviceSettings},
    {daemons::kCtlServer, "ChangeUsernamePassword", &changeUsernamePassword},
    {daemons::kAvclient, "GetAvclientState", &avclientState},
    {daemons::kAvclient, "Adopt", &adopt},
    {daemons::kAvclient, "CancelWait", &cancelWait},
};

}  // namespace

bool isDaemonName(std::string const& name) {
  for (char const* daemon : daemons::kAll) {
    if (name == daemon) return true;
  }
  return false;
}

Variant errorAnswer(std::string const& text) {
  Variant answer;
  answer["error"] = text;
  return answer;
}

Variant handleRequest(std::string const& daemon, Variant const& request) {
  std::string const functionName = request.StringAt("functionName");
  for (FunctionEntry const& entry : kFunctions) {
    if (daemon == entry.daemon && functionName == entry.functionName) {
      return entry.handler(daemon, request);
    }
  }
  return errorAnswer(daemon + " does not serve '" + functionName + "'");
}

}  // namespace sim
}  // namespace orvo
