// The picture, stream, overlay, recorder, analytics and sound/LED daemons:
// one "settings" section each, changed by their change message.
#include "daemon_table.h"
#include "default_state.h"
#include "message_shapes.h"
#include "settings_merge.h"
#include "state_store.h"

namespace orvo {
namespace sim {

using orvo::variant::Variant;

namespace {

constexpr char kSettings[] = "settings";

// Merges the request into `section` of the daemon's state and answers with
// the whole section: an empty request thus reads the current settings.
Variant mergeIntoSection(std::string const& daemon, char const* section, Variant const& request) {
  std::string const functionName = request.StringAt("functionName");
  Variant fields;
  if (!normalizedFields(functionName, request, fields)) {
    return errorAnswer("no message class '" + functionName + "'");
  }
  Variant const markers = notSetMarkers(functionName);
  Variant answer;
  bool const stored = updateState(daemon, [&](Variant& state) {
    bool const changed = mergeSettings(state[section], fields, markers);
    answer = state[section];
    return changed;
  });
  return stored ? answer : errorAnswer("cannot store the state of " + daemon);
}

}  // namespace

Variant changeSettings(std::string const& daemon, Variant const& request) {
  return mergeIntoSection(daemon, kSettings, request);
}

Variant changeDeviceSettings(std::string const& daemon, Variant const& request) {
  return mergeIntoSection(daemon, "device", request);
}

Variant resetIspSettings(std::string const& daemon, Variant const&) {
  Variant answer;
  bool const stored = updateState(daemon, [&](Variant& state) {
    state[kSettings] = defaultState(daemon)[kSettings];
    answer = state[kSettings];
    return true;
  });
  return stored ? answer : errorAnswer("cannot store the state of " + daemon);
}

}  // namespace sim
}  // namespace orvo
