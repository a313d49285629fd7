#include "firmware_upload.h"

#include <cstdio>

namespace orvo {
namespace rest {

bool StageFwUpload(std::string const& savedPath, std::string const& stagedPath) {
  if (savedPath == stagedPath) return true;
  return std::rename(savedPath.c_str(), stagedPath.c_str()) == 0;
}

}  // namespace rest
}  // namespace orvo
