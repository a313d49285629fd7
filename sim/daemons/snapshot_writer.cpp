#include "snapshot_writer.h"

// jpeglib.h needs FILE and size_t declared first.
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

#include "orvo/utils/file.h"
#include "orvo/utils/paths.h"

namespace orvo {
namespace sim {

namespace {

constexpr int kChannels = 3;
constexpr int kQuality = 80;
constexpr int kDigits = 8;
constexpr int kGlyphScale = 6;  // a 3x5 glyph becomes 18x30 pixels

// Seven colour bars, left to right.
constexpr unsigned char kBars[][kChannels] = {
    {192, 192, 192}, {192, 192, 0}, {0, 192, 192}, {0, 192, 0},
    {192, 0, 192},   {192, 0, 0},   {0, 0, 192},
};

// 3x5 glyphs of the digits, one row per 3 low bits.
constexpr unsigned char kGlyphs[10][5] = {
    {7, 5, 5, 5, 7}, {2, 6, 2, 2, 7}, {7, 1, 7, 4, 7}, {7, 1, 7, 1, 7}, {5, 5, 7, 1, 1},
    {7, 4, 7, 1, 7}, {7, 4, 7, 5, 7}, {7, 1, 1, 1, 1}, {7, 5, 7, 5, 7}, {7, 5, 7, 1, 7},
};

using Picture = std::vector<unsigned char>;

void setPixel(Picture& picture, int x, int y, unsigned char value) {
  std::size_t const at = (static_cast<std::size_t>(y) * kSnapshotWidth + x) * kChannels;
  for (int c = 0; c < kChannels; ++c) picture[at + c] = value;
}

void drawBars(Picture& picture) {
  int const barWidth = (kSnapshotWidth + 6) / 7;
  for (int y = 0; y < kSnapshotHeight; ++y) {
    for (int x = 0; x < kSnapshotWidth; ++x) {
      std::size_t const at = (static_cast<std::size_t>(y) * kSnapshotWidth + x) * kChannels;
      for (int c = 0; c < kChannels; ++c) picture[at + c] = kBars[x / barWidth][c];
    }
  }
}

// The frame number in white on a black strip across the lower part.
void drawCounter(Picture& picture, uint64_t frame) {
  int const glyphWidth = 4 * kGlyphScale;
  int const top = kSnapshotHeight - 7 * kGlyphScale;
  for (int y = top - kGlyphScale; y < kSnapshotHeight; ++y) {
    for (int x = 0; x < kSnapshotWidth; ++x) setPixel(picture, x, y, 0);
  }
  int const left = (kSnapshotWidth - kDigits * glyphWidth) / 2;
  for (int d = kDigits - 1; d >= 0; --d, frame /= 10) {
    unsigned char const* glyph = kGlyphs[frame % 10];
    for (int row = 0; row < 5 * kGlyphScale; ++row) {
      for (int col = 0; col < 3 * kGlyphScale; ++col) {
        if (glyph[row / kGlyphScale] & (4 >> (col / kGlyphScale))) {
          setPixel(picture, left + d * glyphWidth + col, top + row, 255);
        }
      }
    }
  }
}

std::string compress(Picture& picture) {
  jpeg_compress_struct info{};
  jpeg_error_mgr errors{};
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char* buffer = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &buffer, &size);
  info.image_width = kSnapshotWidth;
  info.image_height = kSnapshotHeight;
  info.input_components = kChannels;
  info.in_color_space = JCS_RGB;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, kQuality, TRUE);
  jpeg_start_compress(&info, TRUE);
  while (info.next_scanline < info.image_height) {
    JSAMPROW row = &picture[static_cast<std::size_t>(info.next_scanline) * kSnapshotWidth *
                            kChannels];
    jpeg_write_scanlines(&info, &row, 1);
  }
  jpeg_finish_compress(&info);
  std::string bytes(reinterpret_cast<char const*>(buffer), size);
  jpeg_destroy_compress(&info);
  std::free(buffer);
  return bytes;
}

}  // namespace

std::string encodeTestPicture(uint64_t frame) {
  Picture picture(static_cast<std::size_t>(kSnapshotWidth) * kSnapshotHeight * kChannels);
  drawBars(picture);
  drawCounter(picture, frame);
  return compress(picture);
}

bool writeSnapshot(uint64_t frame) {
  std::string const bytes = encodeTestPicture(frame);
  // A new name beside the old picture, then rename: a reader has the old
  // picture or the new one, and a link planted at the name is replaced,
  // never followed.
  return !bytes.empty() &&
         orvo::utils::replaceFileAtomically(orvo::utils::devicePath(kSnapshotPath), bytes, 0644,
                                            false);
}

}  // namespace sim
}  // namespace orvo
