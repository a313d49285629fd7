// The network daemon: wired link with DHCP or static addressing, optional
// wireless association, and a wireless scan. State sections: "settings"
// (ChangeNetworkSettings' shape), "link", "lease", "accessPoints"
// (access_points.h).
#include "access_points.h"
#include "daemon_names.h"
#include "daemon_table.h"
#include "message_shapes.h"
#include "settings_merge.h"
#include "state_store.h"

namespace orvo {
namespace sim {

using orvo::variant::Variant;

namespace {

// Transmit power a station reports, in dBm.
constexpr unsigned kStationTxPowerDbm = 20;
constexpr char kSettings[] = "settings";

Variant const& member(Variant const& value, char const* path) {
  static Variant const missing;
  Variant const* found = value.GetKeyChain(orvo::variant::VT_ANY, path, false);
  return found != nullptr ? *found : missing;
}

void copyMembers(Variant& to, Variant const& from) {
  for (auto it = from.str_begin(); it != from.str_end(); ++it) to[it->first] = it->second;
}

// The enabled static name servers, separated by a blank.
std::string staticNameServers(Variant const& settings) {
  std::string servers;
  for (char const* server : {"dns/ns1", "dns/ns2"}) {
    Variant const& entry = member(settings, server);
    std::string const ip = entry.StringAt("ip");
    if (static_cast<int>(member(entry, "status")) != 1 || ip.empty()) continue;
    servers += (servers.empty() ? "" : " ") + ip;
  }
  return servers;
}

// Static addressing when DHCP is switched off ("dhcp"."status" 0). The name
// servers are reported twice, as "dnsServer" and as "dns", always equal.
void addAddressing(Variant& status, Variant const& settings, Variant const& lease) {
  if (static_cast<int>(member(settings, "dhcp/status")) != 0) {
    status["mode"] = "dhcp";
    copyMembers(status, lease);
  } else {
    status["mode"] = "static";
    status["ipAddress"] = settings.StringAt("statik/ip");
    status["networkMask"] = settings.StringAt("statik/netmask");
    status["gateway"] = settings.StringAt("routes/gateway");
    status["dnsServer"] = staticNameServers(settings);
    status["dhcpLeaseTime"] = 0u;
  }
  status["dns"] = status.StringAt("dnsServer");
}

// "disabled" without a wireless network, "station" when associated,
// "searching" while the configured network cannot be joined (not visible,
// or the key does not fit).
void addWireless(Variant& status, Variant const& settings, Variant const& accessPoints) {
  Variant const& wifi = member(settings, "wifi");
  if (wifi.StringAt("ssid").empty()) {
    status["wlanMode"] = "disabled";
    return;
  }
  Variant const* ap = joinedAccessPoint(wifi, accessPoints);
  if (ap == nullptr) {
    status["wlanMode"] = "searching";
    return;
  }
  status["wlanMode"] = "station";
  copyMembers(status, *ap);
  status.RemoveValue("auth", false);
  status.RemoveValue("passphrase", false);
  status["txpower"] = kStationTxPowerDbm;
}

// The setup form sends the "status" switches as booleans, the settings
// write as 1 or 0; both are stored as numbers.
Variant withNumericSwitches(Variant request) {
  for (char const* path : {"dhcp/status", "dns/ns1/status", "dns/ns2/status"}) {
    if (Variant* flag = request.GetKeyChain(orvo::variant::VT_BOOL, path, false)) {
      *flag = flag->AsBool() ? 1 : 0;
    }
  }
  return request;
}

// Merges the change into the settings. When `testWireless` is set, a new
// wireless network that cannot be joined is not taken: the old wireless
// settings stay, the rest of the change is applied.
Variant applyChange(std::string const& daemon, Variant const& request, bool testWireless) {
  std::string const functionName = request.StringAt("functionName");
  Variant fields;
  normalizedFields(functionName, withNumericSwitches(request), fields);
  Variant const markers = notSetMarkers(functionName);
  Variant answer;
  bool const stored = updateState(daemon, [&](Variant& state) {
    Variant settings = state[kSettings];
    bool changed = mergeSettings(settings, fields, markers);
    Variant const& oldWifi = member(state[kSettings], "wifi");
    if (testWireless && settings["wifi"] != oldWifi &&
        joinedAccessPoint(settings["wifi"], state["accessPoints"]) == nullptr) {
      settings["wifi"] = oldWifi;
      changed = settings != state[kSettings];
    }
    state[kSettings] = settings;
    answer = settings;
    return changed;
  });
  return stored ? answer : errorAnswer("cannot store the state of " + daemon);
}

}  // namespace

Variant composeNetworkStatus(Variant const& state) {
  Variant status;
  status.IsArray(false);
  copyMembers(status, member(state, "link"));
  addAddressing(status, member(state, kSettings), member(state, "lease"));
  addWireless(status, member(state, kSettings), member(state, "accessPoints"));
  return status;
}

Variant networkStatus(std::string const& daemon, Variant const&) {
  Variant state;
  if (!readState(daemon, state)) return errorAnswer("cannot read the state of " + daemon);
  return composeNetworkStatus(state);
}

// One visible network as a scan reports it, from its entry in the state.
// The signal is in dBm; a positive level in the state is its magnitude.
Variant scanEntry(Variant const& accessPoint) {
  int64_t const level = accessPoint.IntAt("signalLevel");
  Variant entry;
  entry["ssid"] = accessPoint.StringAt("essid");
  entry["bssid"] = accessPoint.StringAt("bssid");
  entry["channel"] = accessPoint.IntAt("channel");
  entry["signal"] = level > 0 ? -level : level;
  entry["security"] = accessPoint.StringAt("keyManagement");
  return entry;
}

Variant changeNetworkSettings(std::string const& daemon, Variant const& request) {
  return applyChange(daemon, request, false);
}

Variant testAndApplyNetworkSettings(std::string const& daemon, Variant const& request) {
  return applyChange(daemon, request, true);
}

// The answer must be an object on the bus: the list goes under "accessPoints".
Variant scanAccessPoints(std::string const& daemon, Variant const&) {
  Variant state;
  if (!readState(daemon, state)) return errorAnswer("cannot read the state of " + daemon);
  Variant answer;
  Variant& found = answer["accessPoints"];
  found.IsArray(true);
  for (Variant const& accessPoint : member(state, "accessPoints").Elements()) {
    found.PushBack(scanEntry(accessPoint));
  }
  return answer;
}

unsigned workTimeMs(std::string const& daemon, Variant const& request,
                    DaemonControls const& controls) {
  bool const scan = daemon == daemons::kNetworkd && request.StringAt("functionName") == "ScanAP";
  return scan ? controls.scanDurationMs : 0;
}

}  // namespace sim
}  // namespace orvo
