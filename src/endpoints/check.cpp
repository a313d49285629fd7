// id=<version>/check (any method): tests the header of the uploaded image
// "fwfile" and discards it. 200 for a valid header, 400 otherwise (429 while
// another upload runs), never a body; the scratch file, the staged image's
// place /tmp/.rest/fwupdate.bin, is gone afterwards in every case, so a
// check also discards an image staged by an earlier upload.
#include <cerrno>

#include "cgi/log_tag.h"
#include "endpoints/rows.h"
#include "orvo/utils/firmware.h"
#include "shared/firmware_upload.h"
#include "shared/scoped_removal.h"

namespace orvo::rest::check {

constexpr char kLogFile[] = "src/rest_check";

namespace {

Outcome serveCheck(Call const& call, variant::Variant&) {
  call.response.SetStatus(cgi::kHttpBadRequest);
  PrivateDir dir;
  if (!dir.Open()) return call.response.Commit();
  InterProcessMutex uploading(kUploadLockName, false);
  if (!ReceiveFwUpload(call.request, call.response, dir, uploading)) return call.response.Commit();
  std::string const saved = call.request.FormFileByName(kFwUploadField).tmpfile;
  // Checked or not, nothing of the upload stays.
  StagedImageRemoval const staged(dir);
  ScopedRemoval upload(saved);
  if (!StageFwUpload(dir, saved)) {
    ORVO_LOG("rest_check_main", LOG_ERR, errno, "Can't move received file '%s'", saved.c_str());
    return call.response.Commit();
  }
  upload.keep();
  orvo::utils::File image;
  if (!image.Initialize(dir.Path() + "/" + kStagedFwName, 0, 0)) {
    ORVO_LOG("rest_check_main", LOG_ERR, 0, "Can't open received file '%s'", saved.c_str());
  } else if (orvo::utils::ValidateFwHdr(image)) {
    call.response.SetStatus(cgi::kHttpOk);
  } else {
    ORVO_LOG("rest_check_main", LOG_ERR, 0, "Bad firmware image");
  }
  return call.response.Commit();
}

}  // namespace

Endpoint const kEndpoint = {"rest_check", kLogFile, "rest_check_main",
                                {okRow(kAnyMethod, serveCheck)}, loggedRefusal(nullptr)};

}  // namespace orvo::rest::check
