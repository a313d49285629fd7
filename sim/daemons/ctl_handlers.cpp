// The control server: services, factory reset, device identity and the
// login name. State sections: "device" (ChangeDeviceSettings' shape),
// "account", "services" (name -> running).
#include "daemon_names.h"
#include "daemon_table.h"
#include "message_shapes.h"
#include "state_store.h"

namespace orvo {
namespace sim {

using orvo::variant::Variant;

namespace {

constexpr char kUnset[] = "_UNINITIALIZED_";

// The place of the account check. Until the camera has an account store the
// simulated control server changes no credentials and says so.
std::string applyCredentialChange(std::string const& /*username*/,
                                  std::string const& /*passwordOld*/,
                                  std::string const& /*passwordNew*/) {
  return "no account store: credentials not changed";
}

}  // namespace

Variant startOrStopService(std::string const& daemon, Variant const& request) {
  std::string const functionName = stringMember(request, "functionName");
  Variant fields;
  normalizedFields(functionName, request, fields);
  std::string const service = stringMember(fields, "service");
  bool const running = functionName == "StartService";
  Variant answer;
  bool known = false;
  bool const stored = updateState(daemon, [&](Variant& state) {
    Variant* entry = state.GetKeyChain(orvo::variant::VT_BOOL, "services/" + service, false);
    known = !service.empty() && service.find('/') == std::string::npos && entry != nullptr;
    if (known) *entry = running;
    answer["services"] = state["services"];
    return known;
  });
  if (!known) return errorAnswer("unknown service '" + service + "'");
  return stored ? answer : errorAnswer("cannot store the state of " + daemon);
}

// A real camera restarts after this; the simulated one just forgets.
Variant resetToDefaults(std::string const&, Variant const&) {
  bool allReset = true;
  for (char const* daemon : kDaemonNames) allReset = resetState(daemon) && allReset;
  allReset = publishAvclientState() && allReset;
  if (!allReset) return errorAnswer("not every daemon could be reset");
  Variant answer;
  answer.IsArray(false);
  return answer;
}

// An empty request reads the login name; anything else is a change attempt.
Variant changeUsernamePassword(std::string const& daemon, Variant const& request) {
  Variant fields;
  normalizedFields("ChangeUsernamePassword", request, fields);
  Variant state;
  if (!readState(daemon, state)) return errorAnswer("cannot read the state of " + daemon);
  Variant answer;
  answer["username"] = stringMember(state["account"], "username");
  std::string const username = stringMember(fields, "username");
  std::string const passwordOld = stringMember(fields, "passwordOld");
  std::string const passwordNew = stringMember(fields, "passwordNew");
  bool const changeAsked = username != kUnset || passwordOld != kUnset || passwordNew != kUnset;
  if (changeAsked) answer["error"] = applyCredentialChange(username, passwordOld, passwordNew);
  return answer;
}

}  // namespace sim
}  // namespace orvo
