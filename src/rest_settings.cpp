// GET and PUT id=<version>/settings. GET (handle_get) asks eleven questions
// of seven daemons in one batch and merges the answers with three values of
// the system configuration; PUT is in rest_settings_put.cpp.
#include "rest_settings.h"

#include <syslog.h>

#include "handlers.h"
#include "messages/camera.h"
#include "messages/device.h"
#include "messages/network.h"
#include "messages/video.h"
#include "orvo/log.h"
#include "orvo/utils/system_cfg.h"
#include "orvo/variant/camera_info.h"
#include "utils.h"

using namespace orvo::ipc::messages;
using orvo::variant::Variant;

namespace {

constexpr char kModule[] = "src/rest_settings";
constexpr unsigned kSendLimitMs = 5000;
constexpr unsigned kAnswerLimitMs = 5000;
// Daemons slower than this are named in the log.
constexpr unsigned long kSlowAnswerMs = 1000;

#define GET_LOG(level, ...) \
  logInternal("orvo_cgi", kModule, "handle_get", __LINE__, level, 0, 0, __VA_ARGS__)

// An empty change request asks a daemon for its current settings; only the
// function name and the wish for an answer are set.
template <class Message>
Message emptyRequest() {
  Message message;
  message.functionName();
  message.responseExpected();
  return message;
}

// The eleven questions, in the order they are sent.
struct Questions {
  ChangeIspSettings isp = emptyRequest<ChangeIspSettings>();
  ChangeVideoSettings av = emptyRequest<ChangeVideoSettings>();
  ChangeOsdSettings osd = emptyRequest<ChangeOsdSettings>();
  ChangeNvrSettings nvr = emptyRequest<ChangeNvrSettings>();
  ChangeAnalyticsSettings analytics = emptyRequest<ChangeAnalyticsSettings>();
  ChangeSoundLedSettings soundled = emptyRequest<ChangeSoundLedSettings>();
  ChangeNetworkSettings networkSettings = emptyRequest<ChangeNetworkSettings>();
  NetworkStatus networkStatus = emptyRequest<NetworkStatus>();
  ChangeDeviceSettings device = emptyRequest<ChangeDeviceSettings>();
  ChangeUsernamePassword credentials = emptyRequest<ChangeUsernamePassword>();
  GetAvclientState avclient = emptyRequest<GetAvclientState>();
};

struct Question {
  BaseRequestMessage* message;
  char const* service;
  char const* latencyLine;
};

std::vector<Question> questionTable(Questions& q) {
  return {
      {&q.isp, "orvo_ispserver", "msgIsp took %lu-ms to process the request"},
      {&q.av, "orvo_streamer", "msgAv took %lu-ms to process the request"},
      {&q.osd, "orvo_osd", "msgOsd took %lu-ms to process the request"},
      {&q.nvr, "orvo_nvr", "msgNvr took %lu-ms to process the request"},
      {&q.analytics, "orvo_analytics", "msgAnalytics took %lu-ms to process the request"},
      {&q.soundled, "orvo_sounds_leds", "msgSoundsLeds took %lu-ms to process the request"},
      {&q.networkSettings, "orvo_networkd",
       "msgNetworkSettings took %lu-ms to process the request"},
      {&q.networkStatus, "orvo_networkd", "msgNetworkStatus took %lu-ms to process the request"},
      {&q.device, "orvo_ctlserver", "msgChangeDeviceSettings took %lu-ms to process the request"},
      {&q.credentials, "orvo_ctlserver",
       "msgChangeUsernamePassword took %lu-ms to process the request"},
      {&q.avclient, "orvo_avclient", "msgGetAvclientState took %lu-ms to process the request"},
  };
}

// A string at a key path of an answer, "" when absent or not a string.
std::string pathText(Variant& answer, char const* path) {
  Variant const* value = answer.GetKeyChain(orvo::variant::VT_STRING, path, false);
  return value ? static_cast<std::string const&>(*value) : std::string();
}

// Steps 4 to 7: the values kept in the system configuration.
bool readConfiguration(Variant& device, Variant& httpd) {
  SystemCfgManager config;
  if (!config.init()) {
    GET_LOG(3, "Failed to initialize system cfg manager");
    return false;
  }
  orvo::variant::CameraInfo info;
  if (!info.Init()) {
    GET_LOG(3, "Failed to initialize camera info manager");
    return false;
  }
  bool notSet = false;
  int firstTimeUse = 0;
  if (!config.get("device.firstTimeUse", &firstTimeUse, &notSet)) {
    GET_LOG(3, "Failed to get device.firstTimeUse value");
    return false;
  }
  device["firstTimeUse"] = notSet || firstTimeUse != 0;
  std::string language;
  if (!config.get("device.language", &language, &notSet)) {
    GET_LOG(3, "Failed to get device.language value");
    return false;
  }
  device["language"] = notSet ? std::string() : language;
  int anonSnapshot = 0;
  if (!config.get("httpd.anonSnapshot", &anonSnapshot, &notSet)) {
    GET_LOG(3, "Failed to get httpd.anonSnapshot value");
    return false;
  }
  httpd["anonSnapshot"] = notSet ? 0 : anonSnapshot;
  return true;
}

struct Answers {
  Variant isp, av, osd, nvr, analytics, soundled, networkSettings, networkStatus, device,
      credentials, avclient;
};

Answers collectAnswers(BlockingIpcWrapper& bus, Questions& q) {
  Answers a;
  a.isp = bus.getResponseOrEmpty(q.isp.id());
  a.av = bus.getResponseOrEmpty(q.av.id());
  a.osd = bus.getResponseOrEmpty(q.osd.id());
  a.nvr = bus.getResponseOrEmpty(q.nvr.id());
  a.analytics = bus.getResponseOrEmpty(q.analytics.id());
  a.soundled = bus.getResponseOrEmpty(q.soundled.id());
  a.networkSettings = bus.getResponseOrEmpty(q.networkSettings.id());
  a.networkStatus = bus.getResponseOrEmpty(q.networkStatus.id());
  a.device = bus.getResponseOrEmpty(q.device.id());
  a.credentials = bus.getResponseOrEmpty(q.credentials.id());
  a.avclient = bus.getResponseOrEmpty(q.avclient.id());
  return a;
}

Variant settingsDocument(Answers& a, Variant device, Variant const& httpd) {
  ChangeDeviceSettings deviceAnswer(a.device);
  ChangeUsernamePassword credentialsAnswer(a.credentials);
  device["name"] = deviceAnswer.name();
  device["timezone"] = deviceAnswer.timezone();
  device["region"] = deviceAnswer.region();
  device["auth"]["username"] = credentialsAnswer.username();

  Variant wifi;
  wifi["ssid"] = pathText(a.networkSettings, "wifi/ssid");
  wifi["key"] = pathText(a.networkSettings, "wifi/key");
  wifi["auth"] = pathText(a.networkSettings, "wifi/wpa/auth");

  Variant net;
  net["mode"] = pathText(a.networkStatus, "mode");
  net["dhcpFallbackIP"] = pathText(a.networkSettings, "dhcp/fallbackIP");
  net["dhcpFallbackNetmask"] = pathText(a.networkSettings, "dhcp/fallbackNetmask");
  net["ip"] = pathText(a.networkSettings, "statik/ip");
  net["mask"] = pathText(a.networkSettings, "statik/netmask");
  net["gw"] = pathText(a.networkSettings, "routes/gateway");
  net["dns1"] = pathText(a.networkSettings, "dns/ns1/ip");
  net["dns2"] = pathText(a.networkSettings, "dns/ns2/ip");

  Variant controller;
  controller["addr"] = pathText(a.avclient, "host");
  controller["uuid"] = pathText(a.avclient, "uuid");

  Variant document;
  document["device"] = device;
  document["wifi"] = wifi;
  document["net"] = net;
  document["controller"] = controller;
  document["httpd"] = httpd;
  document["isp"] = a.isp;
  document["av"] = a.av;
  document["osd"] = a.osd;
  document["nvr"] = a.nvr;
  document["analytics"] = a.analytics;
  document["soundled"] = a.soundled;
  return document;
}

}  // namespace

int handle_get(CGIResponse& response) {
  BlockingIpcWrapper bus("rest_settings_get");
  if (!bus.init()) {
    GET_LOG(3, "Failed to init IPC handler");
    return -1;
  }
  Questions questions;
  std::vector<Question> const table = questionTable(questions);
  for (Question const& question : table) {
    if (!bus.sendRequest(question.service, *question.message)) {
      GET_LOG(3, "Unable to send the IPC request");
      return -1;
    }
  }
  bus.waitAllRequestsSent(kSendLimitMs);
  // The configuration is read while the daemons work.
  Variant device;
  Variant httpd;
  if (!readConfiguration(device, httpd)) return -1;
  bus.waitAllResponsesReceived(kAnswerLimitMs);
  for (Question const& question : table) {
    unsigned long const latency = bus.getLatency(question.message->id());
    if (latency > kSlowAnswerMs) GET_LOG(4, question.latencyLine, latency);
  }
  Answers answers = collectAnswers(bus, questions);
  Variant document = settingsDocument(answers, device, httpd);
  std::string text;
  if (!document.ToJSON(text, false)) {
    GET_LOG(3, "Failed to convert data to JSON");
    return -1;
  }
  response.SetHttpHeader("Status", "200");
  response.body << text;
  return response.Commit();
}

ORVO_REST_HANDLER(rest_settings_main) {
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_settings", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);
  std::string const method = request.Method();
  if (method == "GET") return handle_get(response);
  if (method == "PUT") return handle_put(request, response);
  logInternal("orvo_cgi", kModule, "rest_settings_main", __LINE__, 3, 0, 0,
              "Unsupported method '%s'", method.c_str());
  return response.Commit();
}
