// id=<version>/firmware (any method): the multipart upload "fwfile" becomes
// the staged image /tmp/.rest/fwupdate.bin and is checked. A valid image
// stays for the upgrade, the maker's and a third party's alike (the client
// decides), with the record the upgrade checks it against; a bad one is
// removed and answered 200 with "badFwImage". Only a failure to store the
// upload answers 400; a second upload while one runs answers 429.
#include <unistd.h>

#include <cerrno>

#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "orvo/utils/firmware.h"
#include "shared/firmware_upload.h"

namespace orvo::rest::firmware {

namespace {

constexpr char kLogFile[] = "src/rest_firmware";

// Fills "updateStatus" (and "updatedFwVersion" once the image validated);
// removes the staged image when it is bad, records it when it is kept.
void CheckStagedImage(orvo::utils::File& image, PrivateDir const& dir, orvo::variant::Variant& reply) {
  if (!orvo::utils::ValidateFw(image)) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, 0, "Bad firmware image");
    reply["updateStatus"] = "badFwImage";
    RemoveStagedImage(dir);
    return;
  }
  std::string const fwVersion = orvo::utils::ExtractFwVersion(image);
  reply["updatedFwVersion"] = fwVersion;
  if (fwVersion.empty()) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, 0, "Cannot retrieve FW version from the image");
    reply["updateStatus"] = "badFwImage";
    RemoveStagedImage(dir);
    return;
  }
  if (!RecordStagedImage(dir)) {
    // Without its record the upgrade would refuse the image anyway.
    ORVO_LOG("PrepareUpgrade", LOG_ERR, errno, "Can't record the staged image");
    reply["updateStatus"] = "badFwImage";
    RemoveStagedImage(dir);
    return;
  }
  reply["updateStatus"] = orvo::utils::IsThirdPartyFw(image) ? "thirdPartyFw" : "ok";
}

}  // namespace

Outcome PrepareUpgrade(Call const& call, orvo::variant::Variant& reply) {
  cgi::CGIRequest const& request = call.request;
  cgi::CGIResponse& response = call.response;
  response.SetStatus(orvo::cgi::kHttpBadRequest);
  PrivateDir dir;
  if (!dir.Open()) {
    response.Commit();
    return -1;
  }
  InterProcessMutex uploading(kUploadLockName, false);
  if (!ReceiveFwUpload(request, response, dir, uploading)) return response.Commit();
  std::string const saved = request.FormFileByName(kFwUploadField).tmpfile;
  if (!StageFwUpload(dir, saved)) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, errno, "Can't move received file '%s'", saved.c_str());
    if (!saved.empty()) ::unlink(saved.c_str());
    RemoveStagedImage(dir);
    response.Commit();
    return -1;
  }
  orvo::utils::File image;
  if (!image.Initialize(dir.Path() + "/" + kStagedFwName, 0, 0)) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, 0, "Can't open received file '%s'", saved.c_str());
    RemoveStagedImage(dir);
    response.Commit();
    return -1;
  }
  CheckStagedImage(image, dir, reply);
  return kReply;
}

Endpoint const kEndpoint = {"rest_firmware", kLogFile, "rest_firmware_main",
                            {documentRow(kAnyMethod, PrepareUpgrade, "PrepareUpgrade")},
                            loggedRefusal(nullptr)};

}  // namespace orvo::rest::firmware
