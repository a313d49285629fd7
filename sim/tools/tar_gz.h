// A gzip-compressed tar archive (POSIX ustar) of in-memory files, for the
// support tool's bundle.
#pragma once

#include <ctime>
#include <string>
#include <vector>

namespace orvo {
namespace sim {

struct ArchiveEntry {
  std::string name;  // path inside the archive, at most 100 bytes
  std::string content;
};

// The whole .tar.gz; empty when an entry's name does not fit or compression
// fails.
std::string tarGz(std::vector<ArchiveEntry> const& entries, std::time_t modified);

}  // namespace sim
}  // namespace orvo
