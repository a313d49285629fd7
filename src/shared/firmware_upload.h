// Where an uploaded firmware image waits for the upgrade, and how it gets
// there. Uploads are read only for the firmware and check endpoints, once
// the caller is authenticated, one at a time ("rest_upload"); they are
// stored in the program's own folder (shared/private_dir.h), where the staged
// image "fwupdate.bin" also waits, with a record of the file that was
// staged ("fwupdate.rec"). The upgrade hands the update tool only that file:
// nothing another local user put anywhere can be flashed.
#pragma once

#include <string>

#include "cgi/orvo_cgi.h"
#include "shared/private_dir.h"

namespace orvo {
namespace rest {

constexpr char kStagedFwImage[] = "/tmp/.rest/fwupdate.bin";  // device path, for the log
constexpr char kStagedFwName[] = "fwupdate.bin";
constexpr char kStagedFwRecordName[] = "fwupdate.rec";
constexpr char kFwUploadField[] = "fwfile";
constexpr char kUploadLockName[] = "rest_upload";

// Takes `lock` (429 when another upload runs: false) and reads the upload
// into `dir`. A refused or missing body is no failure here: the request
// then has no file, which the handler reports as before.
bool ReceiveFwUpload(orvo::cgi::CGIRequest const& request, orvo::cgi::CGIResponse& response,
                     PrivateDir const& dir, InterProcessMutex& lock);

// Moves the upload saved at `savedPath` (in `dir`) to the staged name,
// forgetting any earlier record first. False with errno set when it cannot
// be moved, e.g. when there was no upload (an empty path).
bool StageFwUpload(PrivateDir const& dir, std::string const& savedPath);

// Records the file now staged (device, inode, size, times) for the upgrade.
bool RecordStagedImage(PrivateDir const& dir);

// Removes the staged image and its record.
void RemoveStagedImage(PrivateDir const& dir);

// RemoveStagedImage on every way out of a scope, unless the image is kept.
class StagedImageRemoval {
 public:
  explicit StagedImageRemoval(PrivateDir const& dir) : dir_(dir) {}
  ~StagedImageRemoval() {
    if (!kept_) RemoveStagedImage(dir_);
  }
  StagedImageRemoval(StagedImageRemoval const&) = delete;
  StagedImageRemoval& operator=(StagedImageRemoval const&) = delete;

  void keep() { kept_ = true; }

 private:
  PrivateDir const& dir_;
  bool kept_ = false;
};

// "" when the staged image is the one an upload recorded: a regular file,
// not a link, one link, ours, mode 0600, unchanged since; else what is
// wrong. Whatever was found is then removed.
std::string VerifyStagedImage(PrivateDir const& dir);

}  // namespace rest
}  // namespace orvo
