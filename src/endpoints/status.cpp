// GET id=<version>/status: the device status document, assembled in one
// pass from the camera description, the system statistics, the temperature
// sensor, the network daemon, the system configuration and the management
// client's state file.
#include "endpoints/status.h"

#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "messages/daemons.h"
#include "messages/network.h"
#include "orvo/utils/paths.h"
#include "orvo/utils/stats.h"
#include "orvo/utils/system_cfg.h"
#include "orvo/utils/temperature.h"
#include "orvo/variant/camera_info.h"
#include "shared/bus_client.h"

using orvo::variant::CameraInfo;
using orvo::variant::Variant;

namespace orvo::rest::status {

constexpr char kLogFile[] = "src/rest_status";

namespace {

constexpr char kAvclientStatePath[] = "/etc/avclient_state.json";

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
  std::string const mode = reply.StringAt("wlanMode");
  wifi["mode"] = mode;
  if (mode != "station") return wifi;
  wifi["ssid"] = reply.StringAt("essid");
  wifi["bssid"] = reply.StringAt("bssid");
  wifi["channel"] = reply.IntAt("channel", -1);
  wifi["keyManagement"] = reply.StringAt("keyManagement");
  wifi["quality"] = reply.IntAt("quality", 0);
  wifi["qualityMax"] = reply.IntAt("qualityMax", 1);
  wifi["signal"] = reply.IntAt("signalLevel", 0);
  wifi["noise"] = reply.IntAt("noiseLevel", 0);
  wifi["frequency"] = reply.IntAt("frequency", 0);
  wifi["txpower"] = reply.IntAt("txpower", 0);
  wifi["connectionState"] = reply.StringAt("connectionStateDescription", "UNKNOWN");
  return wifi;
}

Variant networkSection(Variant& reply, std::string const& nic,
                       orvo::utils::SystemStats const& stats) {
  Variant network;
  network["nic"] = nic;
  network["ip"] = reply.StringAt("ipAddress");
  network["gw"] = reply.StringAt("gateway");
  network["mask"] = reply.StringAt("networkMask");
  network["dns"] = reply.StringAt("dnsServer");
  network["speed"] = reply.IntAt("linkSpeedMbps", 0);
  network["leaseTime"] = reply.IntAt("dhcpLeasetime", 0);
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
      ORVO_LOG("RestGetStatus", LOG_ERR, 0, "Failed to read temperature");
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
  if (!sendIpcBlockingWrapper("rest_status", daemons::kNetworkd, message, &reply, true,
                              kBusAnswerLimitMs)) {
    ORVO_LOG("RestGetStatus", LOG_ERR, 0, "Failed to query NetworkStatus");
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
    ORVO_LOG("RestGetStatus", LOG_ERR, 0, "Failed to get device.firstTimeUse value");
    return false;
  }
  device["firstTimeUse"] = notSet || firstTimeUse != 0;
  std::string language;
  if (!config.get("device.language", &language, &notSet)) {
    ORVO_LOG("RestGetStatus", LOG_ERR, 0, "Failed to get device.language value");
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
    ORVO_LOG("RestGetStatus_0_1", LOG_ERR, 0, "Failed to initialize CameraInfo manager");
    return false;
  }
  reply["mac"] = info.hwaddrColons();
  reply["model"] = info.deviceModel();
  reply["fwver"] = info.version();
  return true;
}

bool RestGetStatus(cgi::CGIRequest const& request, Variant& reply) {
  CameraInfo info;
  if (!info.Init()) {
    ORVO_LOG("RestGetStatus", LOG_ERR, 0, "Failed to initialize CameraInfo manager");
    return false;
  }
  StatsHandle statsHandle;
  if (!statsHandle.open()) {
    ORVO_LOG("RestGetStatus", LOG_ERR, 0, "Failed to initialize systems stats library");
    return false;
  }
  orvo::utils::SystemStats stats;
  if (orvo::utils::GetSystemStats(statsHandle.get(), &stats) != 0) {
    ORVO_LOG("RestGetStatus", LOG_ERR, 0, "Failed to get system stats");
    return false;
  }
  Variant board = boardSection(info);
  Variant features = featuresSection(info);
  Variant fw = firmwareSection(info);
  Variant system = systemSection(stats);
  if (!addTemperature(system)) return false;

  Variant networkReply;
  if (!queryNetworkStatus(networkReply)) return false;
  std::string const nic = networkReply.StringAt("defaultInterface");
  if (nic.empty()) {
    ORVO_LOG("RestGetStatus", LOG_ERR, 0, "Failed to read NIC properties");
    return false;
  }
  Variant wifi;
  if (info.feature_wifi()) wifi = wifiSection(networkReply);
  Variant network = networkSection(networkReply, nic, stats);

  SystemCfgManager config;
  if (!config.init()) {
    ORVO_LOG("RestGetStatus", LOG_ERR, 0, "Failed to initialize system cfg manager");
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

// The document of the request's API version.
Outcome serveGet(Call const& call, Variant& document) {
  bool const built = call.version == "0.1" ? RestGetStatus_0_1(document)
                                           : RestGetStatus(call.request, document);
  return built ? kReply : Outcome(-1);
}

Endpoint const kEndpoint = {"rest_status", kLogFile, "rest_status_main",
                            {documentRow("GET", serveGet)},
                            loggedRefusal("Cannot process %s request")};

}  // namespace orvo::rest::status
