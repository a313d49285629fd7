// The control server: services, factory reset, device identity and the
// credentials. State sections: "device" (ChangeDeviceSettings' shape),
// "services" (name -> running). The credentials are not daemon state: they
// live in the camera's account store, which the login checks read too, so a
// change here is the one that logs in next.
#include "daemon_names.h"
#include "daemon_table.h"
#include "factory_state.h"
#include "message_shapes.h"
#include "orvo/utils/account.h"
#include "orvo/utils/reboot.h"
#include "state_store.h"

namespace orvo {
namespace sim {

using orvo::variant::Variant;

namespace {

// The value a request field has when the sender left it out.
constexpr char kUnset[] = "_UNINITIALIZED_";
constexpr int kResetRebootDelaySeconds = 0;

// Checks the old password against the account and stores the new user name
// and password; "" when the account took the change, else why it did not.
// A missing new password keeps the current one (a change of name alone).
std::string applyCredentialChange(std::string const& username, std::string const& passwordOld,
                                  std::string const& passwordNew) {
  // The marker is not a password: without the current password nothing changes.
  if (passwordOld == kUnset) return "credentials not changed: the current password is missing";
  std::string const newUser = username == kUnset ? std::string() : username;
  std::string const newPassword = passwordNew == kUnset ? passwordOld : passwordNew;
  switch (orvo::utils::changePassword("", passwordOld, newUser, newPassword)) {
    case orvo::utils::PasswordChange::kChanged:
      return "";
    case orvo::utils::PasswordChange::kRefused:
      return "credentials not changed: wrong current password, or unacceptable new user name "
             "or password";
    case orvo::utils::PasswordChange::kStoreFailed:
      break;
  }
  return "credentials not changed: the account cannot be read or written";
}

}  // namespace

Variant startOrStopService(std::string const& daemon, Variant const& request) {
  std::string const functionName = request.StringAt("functionName");
  Variant fields;
  normalizedFields(functionName, request, fields);
  std::string const service = fields.StringAt("service");
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
  return stored && publishServices() ? answer
                                     : errorAnswer("cannot store the state of " + daemon);
}

bool resetDaemonStates() {
  bool allReset = true;
  for (char const* daemon : daemons::kAll) allReset = resetState(daemon) && allReset;
  return publishAvclientState() && allReset;
}

// Everything back as it left the factory, then a restart, as the device
// does (the restart stops this daemon too; the sender awaits no answer).
Variant resetToDefaults(std::string const&, Variant const&) {
  bool const statesReset = resetDaemonStates();
  bool const filesRestored = restoreFactoryFiles();
  bool const rebooting = orvo::utils::enqueueReboot(kResetRebootDelaySeconds);
  if (!statesReset) return errorAnswer("not every daemon could be reset");
  if (!filesRestored) return errorAnswer("the factory files could not be restored");
  if (!rebooting) return errorAnswer("the restart could not be started");
  Variant answer;
  answer.IsArray(false);
  return answer;
}

// An empty request reads the login name; anything else is a change attempt.
// The name answered is the account's, after the change when there was one.
Variant changeUsernamePassword(std::string const&, Variant const& request) {
  Variant fields;
  normalizedFields("ChangeUsernamePassword", request, fields);
  std::string const username = fields.StringAt("username");
  std::string const passwordOld = fields.StringAt("passwordOld");
  std::string const passwordNew = fields.StringAt("passwordNew");
  bool const changeAsked = username != kUnset || passwordOld != kUnset || passwordNew != kUnset;
  std::string const refusal =
      changeAsked ? applyCredentialChange(username, passwordOld, passwordNew) : std::string();
  std::string user;
  if (orvo::utils::accountUserName(user) != 0) {
    return errorAnswer(refusal.empty() ? "cannot read the camera's account" : refusal);
  }
  Variant answer;
  answer["username"] = user;
  if (!refusal.empty()) answer["error"] = refusal;
  return answer;
}

}  // namespace sim
}  // namespace orvo
