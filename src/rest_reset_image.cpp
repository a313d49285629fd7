// GET id=<version>/reset_image: the picture (ISP) settings back to their
// defaults; answers {"isp": <the settings the ISP daemon reports>}.
#include "daemon_batch.h"
#include "handlers.h"
#include "messages/daemons.h"
#include "messages/device.h"
#include "rest_log.h"

namespace orvo::rest::reset_image {

constexpr char kLogFile[] = "src/rest_reset_image";
constexpr char kClient[] = "rest_reset_image";
constexpr unsigned kSendLimitMs = 10000;
constexpr unsigned kAnswerLimitMs = 10000;

}  // namespace orvo::rest::reset_image

ORVO_REST_HANDLER(rest_reset_image_main) {
  using namespace orvo::rest::reset_image;
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_reset_image", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);

  if (request.Method() != "GET") {
    ORVO_LOG("rest_reset_image_main", LOG_ERR, 0, "Can not process %s request",
             request.Method().c_str());
    return -1;
  }
  orvo::rest::DaemonBatch batch(kClient, {kLogFile, "rest_reset_image_main"});
  // Deliberately 0: the client still receives the preset 500.
  if (!batch.init()) return 0;
  orvo::ipc::messages::ResetIspSettings reset;
  reset.NormalizeFields();
  if (!batch.send({{orvo::daemons::kIspServer, &reset}})) return -1;
  // A daemon that does not answer in time leaves "isp" empty; still 200.
  batch.waitSent(kSendLimitMs);
  batch.waitAnswered(kAnswerLimitMs);

  orvo::variant::Variant reply;
  reply["isp"] = batch.answer(reset);
  std::string text;
  if (!reply.ToJSON(text, false)) {
    ORVO_LOG("rest_reset_image_main", LOG_ERR, 0, "Failed to convert data to JSON");
    return -1;
  }
  response.SetStatus(orvo::cgi::kHttpOk);
  response.body << text;
  return response.Commit();
}
