// id=<version>/check (any method): tests the header of the uploaded image
// "fwfile" and discards it. 200 for a valid header, 400 otherwise (429 while
// another upload runs), never a body; the scratch file, the staged image's
// place /tmp/.rest/fwupdate.bin, is gone afterwards in every case, so a
// check also discards an image staged by an earlier upload.
#include <unistd.h>

#include <cerrno>

#include "firmware_upload.h"
#include "handlers.h"
#include "orvo/utils/firmware.h"
#include "rest_log.h"

namespace orvo::rest::check {
constexpr char kLogFile[] = "src/rest_check";
}  // namespace orvo::rest::check

ORVO_REST_HANDLER(rest_check_main) {
  using namespace orvo::rest::check;
  (void)version;
  (void)endpoint;
  (void)rest;
  openlog("rest_check", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);

  response.SetStatus(orvo::cgi::kHttpBadRequest);
  orvo::rest::PrivateDir dir;
  if (!dir.Open()) return response.Commit();
  InterProcessMutex uploading(orvo::rest::kUploadLockName, false);
  if (!orvo::rest::ReceiveFwUpload(request, response, dir, uploading)) return response.Commit();
  std::string const saved = request.FormFileByName(orvo::rest::kFwUploadField).tmpfile;
  if (!orvo::rest::StageFwUpload(dir, saved)) {
    ORVO_LOG("rest_check_main", LOG_ERR, errno, "Can't move received file '%s'", saved.c_str());
    int const result = response.Commit();
    if (!saved.empty()) ::unlink(saved.c_str());
    orvo::rest::RemoveStagedImage(dir);
    return result;
  }
  orvo::utils::File image;
  if (!image.Initialize(dir.Path() + "/" + orvo::rest::kStagedFwName, 0, 0)) {
    ORVO_LOG("rest_check_main", LOG_ERR, 0, "Can't open received file '%s'", saved.c_str());
  } else if (orvo::utils::ValidateFwHdr(image)) {
    response.SetStatus(orvo::cgi::kHttpOk);
  } else {
    ORVO_LOG("rest_check_main", LOG_ERR, 0, "Bad firmware image");
  }
  int const result = response.Commit();
  orvo::rest::RemoveStagedImage(dir);
  return result;
}
