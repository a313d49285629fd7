// GET id=<version>/status: the device status document, assembled in one
// pass from the camera description, the system statistics, the temperature
// sensor, the network daemon, the system configuration and the management
// client's state file.
#include "rest_status.h"

#include <syslog.h>

#include "handlers.h"
#include "messages/network.h"
#include "orvo/log.h"
#include "orvo/utils/paths.h"
#include "orvo/utils/stats.h"
#include "orvo/utils/system_cfg.h"
#include "orvo/utils/temperature.h"
#include "orvo/variant/camera_info.h"
#include "utils.h"

using orvo::variant::CameraInfo;
using orvo::variant::Variant;
using orvo::variant::VT_INT64;
using orvo::variant::VT_STRING;

namespace {

constexpr char kModule[] = "src/rest_status";
constexpr char kAvclientStatePath[] = "/etc/avclient_state.json";
constexpr char kNetworkDaemon[] = "orvo_networkd";
constexpr unsigned kNetworkStatusTimeoutMs = 5000;

#define STATUS_LOG(function, ...) \
  logInternal("orvo_cgi", kModule, function, __LINE__, 3, 0, 0, __VA_ARGS__)

// JSON key and description key of every feature flag, in document order.
struct FeatureRow {
  char const* jsonKey;
  signed char (CameraInfo::*flag)() const;
};

constexpr FeatureRow kFeatures[] = {
    {"sdmmc", &CameraInfo::feature_sdmmc},
    {"mic", &CameraInfo::feature_mic},
    {"lineIn", &CameraInfo::feature_line_in},
    {"speaker", &CameraInfo::feature_speaker},
    {"rtc", &CameraInfo::feature_rtc},
    {"wifi", &CameraInfo::feature_wifi},
    {"ledIr", &CameraInfo::feature_led_ir},
    {"ledStatus", &CameraInfo::feature_led_status},
    {"battery", &CameraInfo::feature_battery},
    {"bluetooth", &CameraInfo::feature_bluetooth},
    {"externalIR", &CameraInfo::feature_external_ir},
    {"accelerometer", &CameraInfo::feature_accelerometer},
    {"ldc", &CameraInfo::feature_ldc},
    {"magicZoom", &CameraInfo::feature_magic_zoom},
    {"opticalZoom", &CameraInfo::feature_optical_zoom},
    {"touchFocus", &CameraInfo::feature_touch_focus},
    {"adjustableIR", &CameraInfo::feature_adjustable_ir},
};

std::string replyString(Variant& reply, char const* key, char const* fallback = "") {
  Variant const* value = reply.GetKeyChain(VT_STRING, key, false);
  return value ? static_cast<std::string const&>(*value) : std::string(fallback);
}

long replyInteger(Variant& reply, char const* key, long fallback) {
  Variant const* value = reply.GetKeyChain(VT_INT64, key, false);
  return value ? static_cast<long>(*value) : fallback;
}

// Closes the statistics handle on every way out of the builder.
class StatsHandle {
 public:
  ~StatsHandle() {
    if (handle_) orvo::utils::CloseStatsLib(&handle_);
  }
  bool open() { return orvo::utils::InitializeStatsLib(&handle_) == 0; }
  void* get() const { return handle_; }

 private:
  void* handle_ = nullptr;
};

Variant boardSection(CameraInfo& info) {
  Variant board;
  board["hwaddr"] = info.hwaddr();
  board["name"] = info.name();
  board["mac"] = info.hwaddrColons();
  board["maxTimeoutReboot"] = static_cast<unsigned long>(info.reboot());
  board["maxTimeoutFwUpdate"] = static_cast<unsigned long>(info.upgrade());
  return board;
}

Variant featuresSection(CameraInfo const& info) {
  Variant features;
  for (FeatureRow const& row : kFeatures) features[row.jsonKey] = (info.*row.flag)();
  return features;
}

Variant firmwareSection(CameraInfo& info) {
  Variant fw;
  fw["protocolVer"] = static_cast<unsigned int>(info.protocolVer());
  fw["version"] = info.version();
  fw["semver"] = info.semVer();
  return fw;
}

Variant systemSection(orvo::utils::SystemStats const& stats) {
  Variant system;
  system["cpu"] = static_cast<unsigned int>(stats.cpuLoad);
  system["loadavg"] = static_cast<double>(stats.loadAverage);
  system["uptime"] = static_cast<unsigned long>(stats.uptime);
  return system;
}

// Station details only when associated as a client.
Variant wifiSection(Variant& reply) {
  Variant wifi;
  std::string const mode = replyString(reply, "wlanMode");
  wifi["mode"] = mode;
  if (mode != "station") return wifi;
  wifi["ssid"] = replyString(reply, "essid");
  wifi["bssid"] = replyString(reply, "bssid");
  wifi["channel"] = replyInteger(reply, "channel", -1);
  wifi["keyManagement"] = replyString(reply, "keyManagement");
  wifi["quality"] = replyInteger(reply, "quality", 0);
  wifi["qualityMax"] = replyInteger(reply, "qualityMax", 1);
  wifi["signal"] = replyInteger(reply, "signalLevel", 0);
  wifi["noise"] = replyInteger(reply, "noiseLevel", 0);
  wifi["frequency"] = replyInteger(reply, "frequency", 0);
  wifi["txpower"] = replyInteger(reply, "txpower", 0);
  wifi["connectionState"] = replyString(reply, "connectionStateDescription", "UNKNOWN");
  return wifi;
}

Variant networkSection(Variant& reply, std::string const& nic,
                       orvo::utils::SystemStats const& stats) {
  Variant network;
  network["nic"] = nic;
  network["ip"] = replyString(reply, "ipAddress");
  network["gw"] = replyString(reply, "gateway");
  network["mask"] = replyString(reply, "networkMask");
  network["dns"] = replyString(reply, "dnsServer");
  network["speed"] = replyInteger(reply, "linkSpeedMbps", 0);
  network["leaseTime"] = replyInteger(reply, "dhcpLeasetime", 0);
  for (uint32_t i = 0; i < stats.interfaceCount && i < orvo::utils::kMaxStatsInterfaces; ++i) {
    if (nic == stats.interfaces[i].name) {
      network["bytesRx"] = static_cast<unsigned long>(stats.interfaces[i].bytesRx);
      network["bytesTx"] = static_cast<unsigned long>(stats.interfaces[i].bytesTx);
      break;
    }
  }
  return network;
}

// False when the sensor exists but cannot be read: the document fails.
bool addTemperature(Variant& system) {
  int celsius = 0;
  switch (orvo::utils::readTemperature(&celsius)) {
    case orvo::utils::TemperatureRead::kNoSensor:
      return true;
    case orvo::utils::TemperatureRead::kFailed:
      STATUS_LOG("RestGetStatus", "Failed to read temperature");
      return false;
    case orvo::utils::TemperatureRead::kRead:
      system["temperature"] = static_cast<long>(celsius);
      return true;
  }
  return false;
}

bool queryNetworkStatus(Variant& reply) {
  orvo::ipc::messages::NetworkStatus message;
  message.functionName();  // the daemon dispatches on it
  message["responseExpected"] = true;
  if (!sendIpcBlockingWrapper("rest_status", kNetworkDaemon, message, &reply, true,
                              kNetworkStatusTimeoutMs)) {
    STATUS_LOG("RestGetStatus", "Failed to query NetworkStatus");
    return false;
  }
  return true;
}

// False when a value cannot be read: the caller then stops building but
// still answers, with the reply left unfilled.
bool deviceSection(SystemCfgManager const& config, CameraInfo& info, Variant& device) {
  int firstTimeUse = 0;
  bool notSet = false;
  if (!config.get("device.firstTimeUse", &firstTimeUse, &notSet)) {
    STATUS_LOG("RestGetStatus", "Failed to get device.firstTimeUse value");
    return false;
  }
  device["firstTimeUse"] = notSet || firstTimeUse != 0;
  std::string language;
  if (!config.get("device.language", &language, &notSet)) {
    STATUS_LOG("RestGetStatus", "Failed to get device.language value");
    return false;
  }
  device["language"] = notSet ? std::string("en-US") : language;
  device["bootedAsStandalone"] = info.isStandalone();
  return true;
}

}  // namespace

bool RestGetStatus_0_1(Variant& reply) {
  CameraInfo info;
  if (!info.Init()) {
    STATUS_LOG("RestGetStatus_0_1", "Failed to initialize CameraInfo manager");
    return false;
  }
  reply["mac"] = info.hwaddrColons();
  reply["model"] = info.deviceModel();
  reply["fwver"] = info.version();
  return true;
}

bool RestGetStatus(CGIRequest const& request, Variant& reply) {
  CameraInfo info;
  if (!info.Init()) {
    STATUS_LOG("RestGetStatus", "Failed to initialize CameraInfo manager");
    return false;
  }
  StatsHandle statsHandle;
  if (!statsHandle.open()) {
    STATUS_LOG("RestGetStatus", "Failed to initialize systems stats library");
    return false;
  }
  orvo::utils::SystemStats stats;
  if (orvo::utils::GetSystemStats(statsHandle.get(), &stats) != 0) {
    STATUS_LOG("RestGetStatus", "Failed to get system stats");
    return false;
  }
  Variant board = boardSection(info);
  Variant features = featuresSection(info);
  Variant fw = firmwareSection(info);
  Variant system = systemSection(stats);
  if (!addTemperature(system)) return false;

  Variant networkReply;
  if (!queryNetworkStatus(networkReply)) return false;
  std::string const nic = replyString(networkReply, "defaultInterface");
  if (nic.empty()) {
    STATUS_LOG("RestGetStatus", "Failed to read NIC properties");
    return false;
  }
  Variant wifi;
  if (info.feature_wifi()) wifi = wifiSection(networkReply);
  Variant network = networkSection(networkReply, nic, stats);

  SystemCfgManager config;
  if (!config.init()) {
    STATUS_LOG("RestGetStatus", "Failed to initialize system cfg manager");
    return false;
  }
  Variant device;
  if (!deviceSection(config, info, device)) return true;
  Variant controller;
  controller.FromJSONFile(orvo::utils::devicePath(kAvclientStatePath));
  Variant requestSection;
  requestSection["remoteIp"] = request.RemoteAddress();

  reply["hostName"] = info.cameraName();
  reply["board"] = board;
  reply["features"] = features;
  reply["fw"] = fw;
  reply["system"] = system;
  reply["wifi"] = wifi;
  reply["network"] = network;
  reply["device"] = device;
  reply["request"] = requestSection;
  reply["controller"] = controller;
  return true;
}

ORVO_REST_HANDLER(rest_status_main) {
  (void)endpoint;
  (void)rest;
  openlog("rest_status", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);
  if (request.Method() != "GET") {
    STATUS_LOG("rest_status_main", "Cannot process %s request", request.Method().c_str());
    return -1;
  }
  Variant document;
  bool const built =
      version == "0.1" ? RestGetStatus_0_1(document) : RestGetStatus(request, document);
  if (!built) return -1;
  std::string text;
  if (!document.ToJSON(text, false)) {
    STATUS_LOG("rest_status_main", "Failed to convert data to JSON format");
    return -1;
  }
  response.SetHttpHeader("Status", "200");
  response.body << text;
  return response.Commit();
}
