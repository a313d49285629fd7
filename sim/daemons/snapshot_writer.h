// The video pipeline's still image: while the streamer runs, it keeps
// /tmp/snap.jpeg fresh with a test pattern (colour bars and a frame
// counter), each picture replacing the last whole.
#pragma once

#include <cstdint>
#include <string>

namespace orvo {
namespace sim {

constexpr char kSnapshotPath[] = "/tmp/snap.jpeg";
// How often a new picture is written: well inside the once-a-second freshness
// readers may count on.
constexpr unsigned kSnapshotPeriodMs = 500;
constexpr int kSnapshotWidth = 320;
constexpr int kSnapshotHeight = 240;

// The JPEG bytes of test picture number `frame`; empty on failure.
std::string encodeTestPicture(uint64_t frame);

// Writes picture `frame` to the root's /tmp/snap.jpeg atomically.
bool writeSnapshot(uint64_t frame);

}  // namespace sim
}  // namespace orvo
