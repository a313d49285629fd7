#include "messages/registry.h"

#include <iterator>

#include "messages/camera.h"
#include "messages/device.h"
#include "messages/network.h"
#include "messages/video.h"

namespace orvo {
namespace ipc {
namespace messages {

using orvo::variant::Variant;

namespace {

using Factory = std::unique_ptr<BaseRequestMessage> (*)(Variant const& body);

template <class Message>
std::unique_ptr<BaseRequestMessage> make(Variant const& body) {
  return std::make_unique<Message>(body);
}

// Sent by the controller connection to end a wait; only the header fields.
std::unique_ptr<BaseRequestMessage> makeCancelWait(Variant const& body) {
  auto message = std::make_unique<BaseRequestMessage>(body);
  fields::ensureContainer(*message);
  (*message)["functionName"] = "CancelWait";
  return message;
}

struct RequestEntry {
  char const* functionName;
  Factory factory;
};

constexpr RequestEntry kRequests[] = {
    {"StartService", &make<StartService>},
    {"StopService", &make<StopService>},
    {"GetAvclientState", &make<GetAvclientState>},
    {"ResetToDefaults", &make<ResetToDefaults>},
    {"NetworkStatus", &make<NetworkStatus>},
    {"ChangeNetworkSettings", &make<ChangeNetworkSettings>},
    {"ScanAP", &make<ScanAP>},
    {"TestAndApplyNetworkSettings", &make<TestAndApplyNetworkSettings>},
    {"ResetIspSettings", &make<ResetIspSettings>},
    {"ChangeIspSettings", &make<ChangeIspSettings>},
    {"ChangeVideoSettings", &make<ChangeVideoSettings>},
    {"ChangeOsdSettings", &make<ChangeOsdSettings>},
    {"ChangeNvrSettings", &make<ChangeNvrSettings>},
    {"ChangeAnalyticsSettings", &make<ChangeAnalyticsSettings>},
    {"ChangeSoundLedSettings", &make<ChangeSoundLedSettings>},
    {"ChangeDeviceSettings", &make<ChangeDeviceSettings>},
    {"ChangeUsernamePassword", &make<ChangeUsernamePassword>},
    {"Adopt", &make<Adopt>},
    {"CancelWait", &makeCancelWait},
};

}  // namespace

std::unique_ptr<BaseRequestMessage> makeRequestByName(std::string const& functionName,
                                                      Variant const& body) {
  for (RequestEntry const& entry : kRequests) {
    if (functionName == entry.functionName) return entry.factory(body);
  }
  return nullptr;
}

std::size_t requestNameCount() { return std::size(kRequests); }

char const* requestName(std::size_t index) {
  return index < std::size(kRequests) ? kRequests[index].functionName : nullptr;
}

}  // namespace messages
}  // namespace ipc
}  // namespace orvo
