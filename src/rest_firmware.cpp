// id=<version>/firmware (any method): the multipart upload "fwfile" becomes
// the staged image /tmp/fwupdate.bin and is checked. A valid image stays for
// the upgrade, the maker's and a third party's alike (the client decides);
// a bad one is removed and answered 200 with "badFwImage". Only a failure to
// store the upload answers 400.
#include <unistd.h>

#include <cerrno>

#include "firmware_upload.h"
#include "handlers.h"
#include "orvo/utils/firmware.h"
#include "orvo/utils/paths.h"
#include "rest_log.h"

namespace orvo::rest::firmware {

namespace {

constexpr char kLogFile[] = "src/rest_firmware";

// Fills "updateStatus" (and "updatedFwVersion" once the image validated);
// removes the staged image when it is bad.
void CheckStagedImage(orvo::utils::File& image, std::string const& staged, orvo::variant::Variant& reply) {
  if (!orvo::utils::ValidateFw(image)) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, 0, "Bad firmware image");
    reply["updateStatus"] = "badFwImage";
    ::unlink(staged.c_str());
    return;
  }
  std::string const fwVersion = orvo::utils::ExtractFwVersion(image);
  reply["updatedFwVersion"] = fwVersion;
  if (fwVersion.empty()) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, 0, "Cannot retrieve FW version from the image");
    reply["updateStatus"] = "badFwImage";
    ::unlink(staged.c_str());
    return;
  }
  reply["updateStatus"] = orvo::utils::IsThirdPartyFw(image) ? "thirdPartyFw" : "ok";
}

}  // namespace

int PrepareUpgrade(CGIRequest const& request, CGIResponse& response) {
  response.SetStatus(orvo::cgi::kHttpBadRequest);
  std::string const saved = request.FormFileByName(kFwUploadField).tmpfile;
  std::string const staged = orvo::utils::devicePath(kStagedFwImage);
  if (!StageFwUpload(saved, staged)) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, errno, "Can't move received file '%s'", saved.c_str());
    ::unlink(saved.c_str());
    response.Commit();
    return -1;
  }
  orvo::utils::File image;
  if (!image.Initialize(staged, 0, 0)) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, 0, "Can't open received file '%s'", saved.c_str());
    ::unlink(staged.c_str());
    response.Commit();
    return -1;
  }
  orvo::variant::Variant reply;
  CheckStagedImage(image, staged, reply);
  std::string text;
  if (!reply.ToJSON(text, false)) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, 0, "Failed to convert data to JSON format");
    return -1;
  }
  response.SetStatus(orvo::cgi::kHttpOk);
  response.body << text;
  return response.Commit();
}

}  // namespace orvo::rest::firmware

ORVO_REST_HANDLER(rest_firmware_main) {
  using namespace orvo::rest::firmware;
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_firmware", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);
  return PrepareUpgrade(request, response);
}
