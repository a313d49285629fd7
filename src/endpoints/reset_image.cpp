// GET id=<version>/reset_image: the picture (ISP) settings back to their
// defaults; answers {"isp": <the settings the ISP daemon reports>}.
#include "endpoints/rows.h"
#include "messages/daemons.h"
#include "messages/device.h"
#include "shared/daemon_batch.h"

namespace orvo::rest::reset_image {

constexpr char kLogFile[] = "src/rest_reset_image";

namespace {

constexpr char kClient[] = "rest_reset_image";
// Both limits of the batch: defaults take the daemon longer than a read.
constexpr unsigned kResetLimitMs = 10000;
constexpr char kJsonFailureShort[] = "Failed to convert data to JSON";

Outcome serveGet(Call const&, variant::Variant& document) {
  DaemonBatch batch(kClient, {kLogFile, "rest_reset_image_main"});
  // Deliberately 0: the client still receives the preset 500.
  if (!batch.init()) return 0;
  orvo::ipc::messages::ResetIspSettings reset;
  reset.NormalizeFields();
  if (!batch.send({{daemons::kIspServer, &reset}})) return -1;
  // A daemon that does not answer in time leaves "isp" empty; still 200.
  batch.waitSent(kResetLimitMs);
  batch.waitAnswered(kResetLimitMs);
  document["isp"] = batch.answer(reset);
  return kReply;
}

}  // namespace

Endpoint const kEndpoint = {"rest_reset_image", kLogFile, "rest_reset_image_main",
                            {documentRow("GET", serveGet, nullptr, kJsonFailureShort)},
                            loggedRefusal("Can not process %s request")};

}  // namespace orvo::rest::reset_image
