// The network daemon: wired link with DHCP or static addressing, optional
// wireless association, and a wireless scan. State sections: "settings"
// (ChangeNetworkSettings' shape), "link", "lease", "accessPoints".
#include "daemon_names.h"
#include "daemon_table.h"
#include "state_store.h"

namespace orvo {
namespace sim {

using orvo::variant::Variant;

namespace {

// Transmit power a station reports, in dBm.
constexpr unsigned kStationTxPowerDbm = 20;

Variant const& member(Variant const& value, char const* path) {
  static Variant const missing;
  Variant const* found = value.GetKeyChain(orvo::variant::VT_ANY, path, false);
  return found != nullptr ? *found : missing;
}

void copyMembers(Variant& to, Variant const& from) {
  for (auto it = from.str_begin(); it != from.str_end(); ++it) to[it->first] = it->second;
}

// Static addressing when DHCP is switched off ("dhcp"."status" 0).
void addAddressing(Variant& status, Variant const& settings, Variant const& lease) {
  if (static_cast<int>(member(settings, "dhcp/status")) != 0) {
    status["mode"] = "dhcp";
    copyMembers(status, lease);
    return;
  }
  status["mode"] = "static";
  status["ipAddress"] = settings.StringAt("statik/ip");
  status["networkMask"] = settings.StringAt("statik/netmask");
  status["gateway"] = settings.StringAt("routes/gateway");
  bool const nameServerSet = static_cast<int>(member(settings, "dns/ns1/status")) == 1;
  status["dnsServer"] = nameServerSet ? settings.StringAt("dns/ns1/ip") : "";
  status["dhcpLeaseTime"] = 0u;
}

// Associated when the configured network is among the visible ones.
void addWireless(Variant& status, Variant const& settings, Variant const& accessPoints) {
  std::string const ssid = settings.StringAt("wifi/ssid");
  status["wlanMode"] = "disabled";
  if (ssid.empty()) return;
  for (Variant const& ap : accessPoints.Elements()) {
    if (ap.StringAt("essid") != ssid) continue;
    status["wlanMode"] = "station";
    copyMembers(status, ap);
    status.RemoveValue("auth", false);
    status["txpower"] = kStationTxPowerDbm;
    return;
  }
}

}  // namespace

Variant composeNetworkStatus(Variant const& state) {
  Variant status;
  status.IsArray(false);
  copyMembers(status, member(state, "link"));
  addAddressing(status, member(state, "settings"), member(state, "lease"));
  addWireless(status, member(state, "settings"), member(state, "accessPoints"));
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
