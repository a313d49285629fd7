#include "tar_gz.h"

#include <zlib.h>

#include <cstdio>
#include <cstring>

namespace orvo {
namespace sim {

namespace {

constexpr std::size_t kBlock = 512;
constexpr std::size_t kNameBytes = 100;
constexpr int kGzipWindowBits = 15 + 16;  // zlib's way of asking for a gzip wrapper
constexpr int kMemoryLevel = 8;

// An octal field of `width` bytes: digits, then a NUL.
void octal(char* field, std::size_t width, unsigned long long value) {
  std::snprintf(field, width, "%0*llo", static_cast<int>(width - 1), value);
}

std::string header(ArchiveEntry const& entry, std::time_t modified) {
  std::string block(kBlock, '\0');
  char* h = &block[0];
  std::memcpy(h, entry.name.data(), entry.name.size());
  octal(h + 100, 8, 0644);
  octal(h + 108, 8, 0);
  octal(h + 116, 8, 0);
  octal(h + 124, 12, entry.content.size());
  octal(h + 136, 12, static_cast<unsigned long long>(modified));
  h[156] = '0';  // a regular file
  std::memcpy(h + 257, "ustar", 6);
  std::memcpy(h + 263, "00", 2);
  std::memcpy(h + 265, "root", 4);
  std::memcpy(h + 297, "root", 4);
  // The checksum is taken with its own field read as spaces.
  std::memset(h + 148, ' ', 8);
  unsigned sum = 0;
  for (unsigned char c : block) sum += c;
  std::snprintf(h + 148, 8, "%06o", sum);
  h[155] = ' ';
  return block;
}

std::string gzip(std::string const& data) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, kGzipWindowBits, kMemoryLevel,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    return "";
  }
  std::string out(deflateBound(&stream, data.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  stream.avail_in = static_cast<uInt>(data.size());
  stream.next_out = reinterpret_cast<Bytef*>(&out[0]);
  stream.avail_out = static_cast<uInt>(out.size());
  int const result = deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return result == Z_STREAM_END ? out : "";
}

}  // namespace

std::string tarGz(std::vector<ArchiveEntry> const& entries, std::time_t modified) {
  std::string tar;
  for (ArchiveEntry const& entry : entries) {
    if (entry.name.empty() || entry.name.size() > kNameBytes) return "";
    tar += header(entry, modified);
    tar += entry.content;
    tar.append((kBlock - entry.content.size() % kBlock) % kBlock, '\0');
  }
  tar.append(2 * kBlock, '\0');  // the end-of-archive marker
  return gzip(tar);
}

}  // namespace sim
}  // namespace orvo
