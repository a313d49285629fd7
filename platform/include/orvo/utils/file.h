// Small, bounded file access shared by every store of the platform (JSON
// files, the account, the system configuration). Paths are used as given:
// callers map device paths through devicePath() first.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace orvo {
namespace utils {

// Reads a regular file whole. False when it cannot be opened or read, is not
// a regular file, or holds more than `limit` bytes (errno EFBIG); `text` is
// then left unchanged.
bool readFileBounded(std::string const& path, std::size_t limit, std::string& text);
// The same for a descriptor the caller opened (and checked) itself: reads
// from its current offset to the end.
bool readFdBounded(int fd, std::size_t limit, std::string& text);

// Writes all of `text`, retrying short writes and interrupted calls.
bool writeAll(int fd, std::string const& text);

// Replaces `path` whole: a temporary file in the same folder, written and
// fsync'ed, then renamed over the target, and the folder synced. Readers see
// the old content or the new, never a part; on any failure the temporary
// file is removed and the old file stays. A new file gets `newFileMode`; an
// existing one keeps its mode when `keepExistingMode` is true.
bool replaceFileAtomically(std::string const& path, std::string const& text, mode_t newFileMode,
                           bool keepExistingMode);

// Removes the temporary files that replacements of `path` left behind when
// their writer was killed mid-write ("<name>.XXXXXX" beside it); returns how
// many. Only safe while holding the lock that serialises the writers of
// `path`: a live writer's temporary file looks the same.
int removeStaleTemporaries(std::string const& path);

// For writers that hold no lock: removes the temporary files beside `path`
// named "<name><separator>XXXXXX" (mkstemp's pattern) that are regular files
// last changed at least `minimumAgeSeconds` ago, longer than any live writer
// takes; returns how many. Links and other entries are left alone.
int removeAbandonedTemporaries(std::string const& path, char separator, unsigned minimumAgeSeconds);

}  // namespace utils
}  // namespace orvo
