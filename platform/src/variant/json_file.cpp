// JSON files: a bounded read, and an atomic replace (temporary file in the
// same folder, fsync, rename) so readers never see a half-written file and a
// failed write leaves the old file as it was.
#include <sys/stat.h>

#include <string>

#include "orvo/utils/file.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace variant {

namespace {

// Settings and sessions are nobody else's business: every rewrite leaves
// 0600, whatever mode the file it replaces had.
constexpr mode_t kFileMode = 0600;

}  // namespace

bool Variant::FromJSONFile(std::string const& path) {
  Free();
  std::string text;
  return orvo::utils::readFileBounded(path, kMaxJsonFileBytes, text) && FromJSON(text);
}

bool Variant::ToJSONFile(std::string const& path, bool styled) const {
  std::string text;
  if (path.empty() || !ToJSON(text, styled)) return false;
  return orvo::utils::replaceFileAtomically(path, text, kFileMode, false);
}

}  // namespace variant
}  // namespace orvo
