// Defaults of the network daemon, the control server and the management
// client, and the table that maps each daemon to its default text.
#include <cstring>

#include "default_state.h"
#include "daemon_names.h"

namespace orvo {
namespace sim {

// "settings": ChangeNetworkSettings' shape; "link": the wired port; "lease":
// what DHCP handed out; "accessPoints": the visible wireless networks, each
// with the "passphrase" that joins it ("" when open; access_points.h).
char const kNetworkDefaults[] = R"({
  "settings": {
    "wifi": {"initialized": 0, "key": "none", "ssid": "", "enableSounds": true,
             "wpa": {"auth": "psk", "psk": ""}, "experiments": {"bgscan": "simple:30:-70:600"}},
    "dhcp": {"status": 1, "fallbackIP": "192.168.1.20", "fallbackNetmask": "255.255.255.0"},
    "statik": {"ip": "", "netmask": ""},
    "routes": {"gateway": ""},
    "dns": {"ns1": {"status": 0, "ip": ""}, "ns2": {"status": 0, "ip": ""}}
  },
  "link": {"defaultInterface": "eth0", "connectionState": 1,
           "connectionStateDescription": "CONNECTED", "linkSpeedMbps": 100, "linkDuplex": 1},
  "lease": {"ipAddress": "192.168.1.57", "networkMask": "255.255.255.0",
            "gateway": "192.168.1.1", "dnsServer": "192.168.1.1", "dhcpLeaseTime": 86400},
  "accessPoints": [
    {"essid": "HomeNet", "bssid": "74:83:c2:1a:2b:3c", "channel": 6, "frequency": 2437,
     "quality": 58, "qualityMax": 70, "signalLevel": 52, "noiseLevel": 95,
     "keyManagement": "WPA2-PSK", "auth": "psk", "passphrase": "orchard-lane-42"},
    {"essid": "Neighbours", "bssid": "b4:fb:e4:00:11:22", "channel": 11, "frequency": 2462,
     "quality": 21, "qualityMax": 70, "signalLevel": 89, "noiseLevel": 95,
     "keyManagement": "WPA2-PSK", "auth": "psk", "passphrase": "not-for-you-7"},
    {"essid": "CoffeeShop Guest", "bssid": "00:1d:7e:9a:8b:7c", "channel": 1,
     "frequency": 2412, "quality": 12, "qualityMax": 70, "signalLevel": 98,
     "noiseLevel": 95, "keyManagement": "NONE", "auth": "none", "passphrase": ""}
  ]
})";

// "device": ChangeDeviceSettings' shape; "account": the login name;
// "services": whether each optional service runs.
char const kCtlserverDefaults[] = R"({
  "device": {"name": "Orvo Camera", "timezone": "UTC", "region": "US",
             "timelapseminutes": 0, "persist": false},
  "account": {"username": "admin"},
  "services": {"http": true, "ssh": false, "rtsp": false, "ntp": true, "upnp": false}
})";

// Not adopted: no controller, waiting to be adopted. "state" is "waiting",
// "adopting" (an Adopt came, the controller has not confirmed yet),
// "connecting" (adopted) or "connected" (adopted, told to stop waiting).
char const kAvclientDefaults[] = R"({
  "adopted": false, "state": "waiting", "protocol": "wss", "hosts": [], "host": "",
  "uuid": "", "token": "", "cancelWaits": 0
})";

namespace {

struct DefaultText {
  char const* daemon;
  char const* json;
};

constexpr DefaultText kDefaults[] = {
    {daemons::kNetworkd, kNetworkDefaults},     {daemons::kIspServer, kIspDefaults},
    {daemons::kStreamer, kStreamerDefaults},   {daemons::kOsd, kOsdDefaults},
    {daemons::kNvr, kNvrDefaults},             {daemons::kAnalytics, kAnalyticsDefaults},
    {daemons::kSoundsLeds, kSoundsLedsDefaults}, {daemons::kCtlServer, kCtlserverDefaults},
    {daemons::kAvclient, kAvclientDefaults},
};

}  // namespace

orvo::variant::Variant defaultState(std::string const& daemon) {
  orvo::variant::Variant state;
  for (DefaultText const& entry : kDefaults) {
    if (daemon == entry.daemon && state.FromJSON(entry.json)) return state;
  }
  state.IsArray(false);
  return state;
}

}  // namespace sim
}  // namespace orvo
