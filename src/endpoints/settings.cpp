// GET and PUT id=<version>/settings. GET (handle_get) asks eleven questions
// of seven daemons in one batch and merges the answers with three values of
// the system configuration; PUT is in settings_put.cpp.
#include "endpoints/settings.h"

#include <iterator>
#include <utility>
#include <vector>

#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "messages/camera.h"
#include "messages/daemons.h"
#include "messages/device.h"
#include "messages/network.h"
#include "messages/video.h"
#include "orvo/utils/system_cfg.h"
#include "orvo/variant/camera_info.h"
#include "shared/daemon_batch.h"

using namespace orvo::ipc::messages;
using orvo::variant::Variant;

namespace orvo::rest::settings {

constexpr char kLogFile[] = "src/rest_settings";

namespace {

// Daemons slower than this are named in the log.
constexpr unsigned long kSlowAnswerMs = 1000;
constexpr char kJsonFailureShort[] = "Failed to convert data to JSON";

// An empty change request asks a daemon for its current settings; only the
// function name and the wish for an answer are set.
template <class Message>
BaseRequestMessage emptyRequest() {
  Message message;
  message.functionName();
  message.responseExpected();
  return message;
}

// The eleven questions, in the order they are sent; each answer is kept
// under the question's key.
struct Question {
  char const* key;
  char const* daemon;
  BaseRequestMessage (*make)();
  char const* slowAnswerLine;
};

constexpr Question kQuestions[] = {
    {"isp", daemons::kIspServer, emptyRequest<ChangeIspSettings>,
     "msgIsp took %lu-ms to process the request"},
    {"av", daemons::kStreamer, emptyRequest<ChangeVideoSettings>,
     "msgAv took %lu-ms to process the request"},
    {"osd", daemons::kOsd, emptyRequest<ChangeOsdSettings>,
     "msgOsd took %lu-ms to process the request"},
    {"nvr", daemons::kNvr, emptyRequest<ChangeNvrSettings>,
     "msgNvr took %lu-ms to process the request"},
    {"analytics", daemons::kAnalytics, emptyRequest<ChangeAnalyticsSettings>,
     "msgAnalytics took %lu-ms to process the request"},
    {"soundled", daemons::kSoundsLeds, emptyRequest<ChangeSoundLedSettings>,
     "msgSoundsLeds took %lu-ms to process the request"},
    {"networkSettings", daemons::kNetworkd, emptyRequest<ChangeNetworkSettings>,
     "msgNetworkSettings took %lu-ms to process the request"},
    {"networkStatus", daemons::kNetworkd, emptyRequest<NetworkStatus>,
     "msgNetworkStatus took %lu-ms to process the request"},
    {"device", daemons::kCtlServer, emptyRequest<ChangeDeviceSettings>,
     "msgChangeDeviceSettings took %lu-ms to process the request"},
    {"credentials", daemons::kCtlServer, emptyRequest<ChangeUsernamePassword>,
     "msgChangeUsernamePassword took %lu-ms to process the request"},
    {"avclient", daemons::kAvclient, emptyRequest<GetAvclientState>,
     "msgGetAvclientState took %lu-ms to process the request"},
};

// The values kept in the system configuration.
bool readConfiguration(Variant& device, Variant& httpd) {
  SystemCfgManager config;
  if (!config.init()) {
    ORVO_LOG("handle_get", LOG_ERR, 0, "Failed to initialize system cfg manager");
    return false;
  }
  orvo::variant::CameraInfo info;
  if (!info.Init()) {
    ORVO_LOG("handle_get", LOG_ERR, 0, "Failed to initialize camera info manager");
    return false;
  }
  bool notSet = false;
  int firstTimeUse = 0;
  if (!config.get("device.firstTimeUse", &firstTimeUse, &notSet)) {
    ORVO_LOG("handle_get", LOG_ERR, 0, "Failed to get device.firstTimeUse value");
    return false;
  }
  device["firstTimeUse"] = notSet || firstTimeUse != 0;
  std::string language;
  if (!config.get("device.language", &language, &notSet)) {
    ORVO_LOG("handle_get", LOG_ERR, 0, "Failed to get device.language value");
    return false;
  }
  device["language"] = notSet ? std::string() : language;
  int anonSnapshot = 0;
  if (!config.get("httpd.anonSnapshot", &anonSnapshot, &notSet)) {
    ORVO_LOG("handle_get", LOG_ERR, 0, "Failed to get httpd.anonSnapshot value");
    return false;
  }
  httpd["anonSnapshot"] = notSet ? 0 : anonSnapshot;
  return true;
}

// The settings document from the answers (kept by question key) and the
// configuration's "device" and "httpd" values. The parts are moved into the
// document, not copied: the answers are the request's largest data, and a
// second copy of them would set its peak memory.
Variant settingsDocument(Variant& answers, Variant device, Variant httpd) {
  ChangeDeviceSettings deviceAnswer(answers["device"]);
  ChangeUsernamePassword credentialsAnswer(answers["credentials"]);
  device["name"] = deviceAnswer.name();
  device["timezone"] = deviceAnswer.timezone();
  device["region"] = deviceAnswer.region();
  device["auth"]["username"] = credentialsAnswer.username();

  Variant const& settings = answers["networkSettings"];
  Variant wifi;
  wifi["ssid"] = settings.StringAt("wifi/ssid");
  wifi["key"] = settings.StringAt("wifi/key");
  wifi["auth"] = settings.StringAt("wifi/wpa/auth");

  Variant net;
  net["mode"] = answers["networkStatus"].StringAt("mode");
  net["dhcpFallbackIP"] = settings.StringAt("dhcp/fallbackIP");
  net["dhcpFallbackNetmask"] = settings.StringAt("dhcp/fallbackNetmask");
  net["ip"] = settings.StringAt("statik/ip");
  net["mask"] = settings.StringAt("statik/netmask");
  net["gw"] = settings.StringAt("routes/gateway");
  net["dns1"] = settings.StringAt("dns/ns1/ip");
  net["dns2"] = settings.StringAt("dns/ns2/ip");

  Variant controller;
  controller["addr"] = answers["avclient"].StringAt("host");
  controller["uuid"] = answers["avclient"].StringAt("uuid");

  Variant document;
  document["device"] = std::move(device);
  document["wifi"] = std::move(wifi);
  document["net"] = std::move(net);
  document["controller"] = std::move(controller);
  document["httpd"] = std::move(httpd);
  for (char const* section : {"isp", "av", "osd", "nvr", "analytics", "soundled"}) {
    document[section] = std::move(answers[section]);
  }
  return document;
}

}  // namespace

Outcome handle_get(Call const&, Variant& document) {
  DaemonBatch batch("rest_settings_get", {kLogFile, "handle_get"});
  if (!batch.init()) return -1;
  std::vector<BaseRequestMessage> questions;
  questions.reserve(std::size(kQuestions));
  std::vector<BatchRequest> requests;
  for (Question const& question : kQuestions) {
    questions.push_back(question.make());
    requests.push_back({question.daemon, &questions.back(), question.slowAnswerLine});
  }
  if (!batch.send(requests)) return -1;
  batch.waitSent(kBatchSendLimitMs);
  // The configuration is read while the daemons work.
  Variant device;
  Variant httpd;
  if (!readConfiguration(device, httpd)) return -1;
  batch.waitAnswered(kBatchAnswerLimitMs);
  batch.logSlowAnswers(kSlowAnswerMs);
  Variant answers;
  for (std::size_t i = 0; i < questions.size(); ++i) {
    answers[kQuestions[i].key] = batch.answer(questions[i]);
  }
  document = settingsDocument(answers, std::move(device), std::move(httpd));
  return kReply;
}

Endpoint const kEndpoint = {"rest_settings", kLogFile, "rest_settings_main",
                            {documentRow("GET", handle_get, "handle_get", kJsonFailureShort),
                             okRow("PUT", handle_put, kPutLockName)},
                            {"Unsupported method '%s'", cgi::kHttpInternalError, 0}};

}  // namespace orvo::rest::settings
