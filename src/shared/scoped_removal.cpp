#include "shared/scoped_removal.h"

#include <unistd.h>

#include <cerrno>

namespace orvo::rest {

ScopedRemoval::~ScopedRemoval() {
  if (path_.empty()) return;
  int const saved = errno;
  if (::unlink(path_.c_str()) != 0 && errno == EISDIR) ::rmdir(path_.c_str());
  errno = saved;
}

}  // namespace orvo::rest
