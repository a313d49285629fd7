// Fuzzes how a simulated daemon applies a change request: the first byte
// picks the message class, the rest is the request's JSON. The merge must
// keep the settings an object holding every field it had.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>

#include "daemon_names.h"
#include "default_state.h"
#include "message_shapes.h"
#include "settings_merge.h"

namespace {

struct Target {
  char const* daemon;
  char const* section;
  char const* functionName;
};

constexpr Target kTargets[] = {
    {orvo::daemons::kIspServer, "settings", "ChangeIspSettings"},
    {orvo::daemons::kStreamer, "settings", "ChangeVideoSettings"},
    {orvo::daemons::kOsd, "settings", "ChangeOsdSettings"},
    {orvo::daemons::kNvr, "settings", "ChangeNvrSettings"},
    {orvo::daemons::kAnalytics, "settings", "ChangeAnalyticsSettings"},
    {orvo::daemons::kSoundsLeds, "settings", "ChangeSoundLedSettings"},
    {orvo::daemons::kNetworkd, "settings", "ChangeNetworkSettings"},
    {orvo::daemons::kCtlServer, "device", "ChangeDeviceSettings"},
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  if (size == 0) return 0;
  Target const& target = kTargets[data[0] % std::size(kTargets)];
  orvo::variant::Variant request;
  if (!request.FromJSON(reinterpret_cast<char const*>(data + 1), size - 1)) return 0;
  orvo::variant::Variant settings = orvo::sim::defaultState(target.daemon)[target.section];
  std::size_t const fieldCount = settings.KeysCount();
  orvo::variant::Variant fields;
  if (!orvo::sim::normalizedFields(target.functionName, request, fields)) std::abort();
  orvo::sim::mergeSettings(settings, fields, orvo::sim::notSetMarkers(target.functionName));
  if (settings.Type() != orvo::variant::VT_OBJECT || settings.KeysCount() != fieldCount) {
    std::abort();
  }
  return 0;
}
