// Where an uploaded firmware image waits for the upgrade, and how an upload
// gets there: both the firmware and the check endpoint stage the multipart
// file "fwfile" at the same fixed path.
#pragma once

#include <string>

#include "orvo_cgi.h"

namespace orvo {
namespace rest {

constexpr char kStagedFwImage[] = "/tmp/fwupdate.bin";
constexpr char kFwUploadField[] = "fwfile";

// Moves the upload saved at `savedPath` to the staged image's place (a
// rename: the CGI library saves uploads in the same /tmp). An upload that is
// already there is left as it is. False with errno set when it cannot be
// moved, e.g. when there was no upload (an empty path).
bool StageFwUpload(std::string const& savedPath, std::string const& stagedPath);

}  // namespace rest
}  // namespace orvo
