// The wireless networks the camera can see, kept in the network daemon's
// state under "accessPoints", and whether the wireless settings join one.
// Each entry is what a scan reports plus the network's "passphrase" ("" for
// an open network), which never leaves the daemon.
#include <cstdio>
#include <functional>

#include "access_points.h"
#include "daemon_names.h"
#include "orvo/utils/validate.h"
#include "state_store.h"

namespace orvo {
namespace sim {

using orvo::variant::Variant;

namespace {

constexpr char kAccessPoints[] = "accessPoints";
constexpr unsigned kQualityMax = 70;
constexpr unsigned kNoiseLevel = 95;

// Quality as the wireless tools derive it from the signal: 70 at -40 dBm
// and above, falling by one per dBm.
unsigned qualityFor(int signalDbm) {
  int const quality = signalDbm + 110;
  if (quality < 0) return 0;
  return quality > static_cast<int>(kQualityMax) ? kQualityMax : static_cast<unsigned>(quality);
}

// A stable, locally administered address made from the network's name.
std::string bssidFor(std::string const& ssid) {
  std::size_t const hash = std::hash<std::string>{}(ssid);
  char text[18];
  std::snprintf(text, sizeof text, "02:%02x:%02x:%02x:%02x:%02x",
                static_cast<unsigned>(hash & 0xff), static_cast<unsigned>((hash >> 8) & 0xff),
                static_cast<unsigned>((hash >> 16) & 0xff),
                static_cast<unsigned>((hash >> 24) & 0xff),
                static_cast<unsigned>((hash >> 32) & 0xff));
  return text;
}

Variant newAccessPoint(std::string const& ssid, std::string const& passphrase, int signalDbm) {
  Variant ap;
  ap["essid"] = ssid;
  ap["bssid"] = bssidFor(ssid);
  ap["channel"] = 6;
  ap["frequency"] = 2437;
  ap["quality"] = qualityFor(signalDbm);
  ap["qualityMax"] = kQualityMax;
  ap["signalLevel"] = static_cast<unsigned>(-signalDbm);
  ap["noiseLevel"] = kNoiseLevel;
  bool const open = passphrase.empty();
  ap["keyManagement"] = open ? "NONE" : "WPA2-PSK";
  ap["auth"] = open ? "none" : "psk";
  ap["passphrase"] = passphrase;
  return ap;
}

// The list without the network named `ssid`.
Variant without(Variant const& list, std::string const& ssid, bool& found) {
  Variant rest;
  rest.IsArray(true);
  found = false;
  for (Variant const& ap : list.Elements()) {
    if (ap.StringAt("essid") == ssid) {
      found = true;
      continue;
    }
    rest.PushBack(ap);
  }
  return rest;
}

}  // namespace

Variant const* joinedAccessPoint(Variant const& wifi, Variant const& accessPoints) {
  std::string const ssid = wifi.StringAt("ssid");
  if (ssid.empty()) return nullptr;
  for (Variant const& ap : accessPoints.Elements()) {
    if (ap.StringAt("essid") != ssid) continue;
    std::string const passphrase = ap.StringAt("passphrase");
    if (passphrase.empty()) return wifi.StringAt("key") == "none" ? &ap : nullptr;
    bool const keyFits = wifi.StringAt("key") == "wpa" && wifi.StringAt("wpa/psk") == passphrase;
    return keyFits ? &ap : nullptr;
  }
  return nullptr;
}

std::string setAccessPoint(std::string const& ssid, std::string const& passphrase,
                           int signalDbm) {
  if (ssid.empty() || ssid.size() > kMaxSsidBytes) return "the SSID is 1 to 32 bytes";
  if (!passphrase.empty() && !orvo::utils::psk_valid(passphrase, true)) {
    return "the passphrase is 8 to 63 printable characters (or 64 hex digits)";
  }
  if (signalDbm < kMinSignalDbm || signalDbm > kMaxSignalDbm) {
    return "the signal is -100 to -20 dBm";
  }
  bool const stored = updateState(daemons::kNetworkd, [&](Variant& state) {
    bool found = false;
    Variant list = without(state[kAccessPoints], ssid, found);
    list.PushBack(newAccessPoint(ssid, passphrase, signalDbm));
    state[kAccessPoints] = list;
    return true;
  });
  return stored ? std::string() : "cannot store the state";
}

std::string removeAccessPoint(std::string const& ssid) {
  bool found = false;
  bool const stored = updateState(daemons::kNetworkd, [&](Variant& state) {
    state[kAccessPoints] = without(state[kAccessPoints], ssid, found);
    return found;
  });
  if (!found) return "no visible network '" + ssid + "'";
  return stored ? std::string() : "cannot store the state";
}

}  // namespace sim
}  // namespace orvo
