// The management client: whether a controller adopted the camera, and which.
// Its public view is also the file /etc/avclient_state.json that the status
// document shows as "controller".
#include <cstdio>
#include <random>

#include "daemon_names.h"
#include "daemon_table.h"
#include "message_shapes.h"
#include "orvo/utils/paths.h"
#include "state_store.h"

namespace orvo {
namespace sim {

using orvo::variant::Variant;

namespace {

constexpr char kStateFolder[] = "/etc";
constexpr char kStateFile[] = "/etc/avclient_state.json";
constexpr char const* kPublicKeys[] = {"adopted", "state", "protocol", "hosts", "host", "uuid"};

// The token stays inside the daemon.
Variant publicView(Variant& state) {
  Variant view;
  view.IsArray(false);
  for (char const* key : kPublicKeys) view[key] = state[key];
  return view;
}

std::string randomUuid() {
  std::random_device source;
  unsigned char bytes[16];
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(source());
  bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0f) | 0x40);  // version 4
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3f) | 0x80);  // RFC 4122 variant
  char text[37];
  std::snprintf(text, sizeof text,
                "%02x%02x%02x%02x-%02x%02x-%02x%02x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                bytes[0], bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7],
                bytes[8], bytes[9], bytes[10], bytes[11], bytes[12], bytes[13], bytes[14],
                bytes[15]);
  return text;
}

// Changes the state and republishes it; answers with the public view.
template <typename Change>
Variant changeState(std::string const& daemon, Change change) {
  Variant answer;
  bool const stored = updateState(daemon, [&](Variant& state) {
    change(state);
    answer = publicView(state);
    return true;
  });
  if (!stored || !publishAvclientState()) {
    return errorAnswer("cannot store the state of " + daemon);
  }
  return answer;
}

}  // namespace

bool publishAvclientState() {
  Variant state;
  if (!readState(daemons::kAvclient, state)) return false;
  return makeFolders(orvo::utils::devicePath(kStateFolder)) &&
         publicView(state).ToJSONFile(orvo::utils::devicePath(kStateFile), false);
}

Variant avclientState(std::string const& daemon, Variant const&) {
  Variant state;
  if (!readState(daemon, state)) return errorAnswer("cannot read the state of " + daemon);
  return publicView(state);
}

// Records the controller; the adoption is under way ("adopting") until the
// controller confirms it, which a test does with `setAdoption`.
Variant adopt(std::string const& daemon, Variant const& request) {
  Variant fields;
  normalizedFields("Adopt", request, fields);
  return changeState(daemon, [&fields](Variant& state) {
    Variant const& hosts = fields["hosts"];
    state["state"] = "adopting";
    state["protocol"] = fields.StringAt("protocol");
    state["hosts"] = hosts;
    state["host"] = hosts.KeysCount() > 0 ? hosts[0].ToString() : std::string();
    state["token"] = fields.StringAt("token");
    if (state.StringAt("uuid").empty()) state["uuid"] = randomUuid();
  });
}

// The test control behind `camsim ctl orvo_avclient adopted true|false`: the
// controller confirming (or ending) an adoption. Controller, hosts and uuid
// stay as they are; a camera let go waits to be adopted again.
bool setAdoption(bool adopted) {
  Variant const answer = changeState(daemons::kAvclient, [adopted](Variant& state) {
    state["adopted"] = adopted;
    state["state"] = adopted ? "connecting" : "waiting";
    if (adopted && state.StringAt("uuid").empty()) state["uuid"] = randomUuid();
  });
  return !answer.Has(orvo::variant::VT_ANY, "error");
}

// Ends the wait for the controller: an adopted camera connects now; any
// other state stays as it is.
Variant cancelWait(std::string const& daemon, Variant const&) {
  return changeState(daemon, [](Variant& state) {
    state["cancelWaits"] = static_cast<long>(state["cancelWaits"]) + 1;
    if (state.BoolAt("adopted")) state["state"] = "connected";
  });
}

}  // namespace sim
}  // namespace orvo
