// id=<version>/firmware (any method): the multipart upload "fwfile" becomes
// the staged image /tmp/.rest/fwupdate.bin and is checked. A valid image
// stays for the upgrade, the maker's and a third party's alike (the client
// decides), with the record the upgrade checks it against; a bad one is
// removed and answered 200 with "badFwImage". Only a failure to store the
// upload answers 400; a second upload while one runs answers 429.
#include <cerrno>

#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "orvo/utils/firmware.h"
#include "shared/firmware_upload.h"
#include "shared/scoped_removal.h"

namespace orvo::rest::firmware {

namespace {

constexpr char kLogFile[] = "src/rest_firmware";

// Fills "updateStatus" (and "updatedFwVersion" once the image validated);
// true when the image is good and recorded, so that it stays.
bool CheckStagedImage(orvo::utils::File& image, PrivateDir const& dir, orvo::variant::Variant& reply) {
  reply["updateStatus"] = "badFwImage";
  if (!orvo::utils::ValidateFw(image)) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, 0, "Bad firmware image");
    return false;
  }
  std::string const fwVersion = orvo::utils::ExtractFwVersion(image);
  reply["updatedFwVersion"] = fwVersion;
  if (fwVersion.empty()) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, 0, "Cannot retrieve FW version from the image");
    return false;
  }
  if (!RecordStagedImage(dir)) {
    // Without its record the upgrade would refuse the image anyway.
    ORVO_LOG("PrepareUpgrade", LOG_ERR, errno, "Can't record the staged image");
    return false;
  }
  reply["updateStatus"] = orvo::utils::IsThirdPartyFw(image) ? "thirdPartyFw" : "ok";
  return true;
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
  ScopedRemoval upload(saved);
  StagedImageRemoval staged(dir);
  if (!StageFwUpload(dir, saved)) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, errno, "Can't move received file '%s'", saved.c_str());
    response.Commit();
    return -1;
  }
  upload.keep();
  orvo::utils::File image;
  if (!image.Initialize(dir.Path() + "/" + kStagedFwName, 0, 0)) {
    ORVO_LOG("PrepareUpgrade", LOG_ERR, 0, "Can't open received file '%s'", saved.c_str());
    response.Commit();
    return -1;
  }
  if (CheckStagedImage(image, dir, reply)) staged.keep();
  return kReply;
}

Endpoint const kEndpoint = {"rest_firmware", kLogFile, "rest_firmware_main",
                            {documentRow(kAnyMethod, PrepareUpgrade, "PrepareUpgrade")},
                            loggedRefusal(nullptr)};

}  // namespace orvo::rest::firmware
