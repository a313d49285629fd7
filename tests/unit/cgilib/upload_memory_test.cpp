// A 64 MiB upload streams to disk: the parsing process's peak memory must
// not grow with the upload's size. Parsing runs in a fresh child process so
// that its peak RSS (getrusage) reflects this parse alone.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "cgilib_test_support.h"

using namespace cgilib_test;

namespace {

constexpr size_t kUploadBytes = 64u << 20;
constexpr long kMaxGrowthKiB = 16 * 1024;  // a quarter of the upload
constexpr size_t kChunk = 1 << 16;
constexpr char kType[] = "multipart/form-data; boundary=memtest";

// Position-dependent bytes, so that lost, doubled or moved data shows.
char patternByte(size_t at) { return static_cast<char>((at * 131 + at / 4093) % 251); }

void fillPattern(std::vector<char>& buf, size_t offset, size_t len) {
  for (size_t i = 0; i < len; ++i) buf[i] = patternByte(offset + i);
}

void writeAll(int fd, char const* data, size_t len) {
  while (len > 0) {
    ssize_t n = write(fd, data, len);
    if (n <= 0) _exit(1);
    data += n;
    len -= static_cast<size_t>(n);
  }
}

std::string const kHead =
    "--memtest\r\nContent-Disposition: form-data; name=\"fw\"; filename=\"fw.bin\"\r\n\r\n";
std::string const kTail = "\r\n--memtest--\r\n";

void writeBody(int fd) {
  writeAll(fd, kHead.data(), kHead.size());
  std::vector<char> buf(kChunk);
  for (size_t at = 0; at < kUploadBytes; at += kChunk) {
    fillPattern(buf, at, kChunk);
    writeAll(fd, buf.data(), kChunk);
  }
  writeAll(fd, kTail.data(), kTail.size());
}

bool fileHasPattern(char const* path) {
  int fd = open(path, O_RDONLY);
  if (fd < 0) return false;
  std::vector<char> got(kChunk), want(kChunk);
  size_t at = 0;
  bool same = true;
  while (same) {
    ssize_t n = read(fd, got.data(), kChunk);
    if (n <= 0) break;
    fillPattern(want, at, static_cast<size_t>(n));
    same = std::equal(got.begin(), got.begin() + n, want.begin());
    at += static_cast<size_t>(n);
  }
  close(fd);
  return same && at == kUploadBytes;
}

long peakRssKiB() {
  rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

struct Report {
  int parsed;
  int contentOk;
  long growthKiB;
  size_t leftAfterFree;
};

Report parseInChild(TempDir const& dir, int bodyFd, std::string const& length) {
  Report report {};
  long before = peakRssKiB();
  cgiSetTempDir(dir.path().c_str());
  s_cgi* cgi = cgiInitFrom("POST", kType, length.c_str(), nullptr, bodyFd);
  report.growthKiB = peakRssKiB() - before;
  report.parsed = cgi != nullptr;
  s_file* file = cgiGetFile(cgi, "fw");
  report.contentOk = file != nullptr && fileHasPattern(file->tmpfile);
  cgiFree(cgi);
  report.leftAfterFree = dir.entries().size();
  return report;
}

TEST(UploadMemory, SixtyFourMiBUploadStreamsInBoundedMemory) {
  TempDir dir;
  std::string length = std::to_string(kHead.size() + kUploadBytes + kTail.size());
  int body[2], result[2];
  ASSERT_EQ(pipe(body), 0);
  ASSERT_EQ(pipe(result), 0);

  pid_t writer = fork();
  ASSERT_GE(writer, 0);
  if (writer == 0) {
    close(body[0]);
    writeBody(body[1]);
    _exit(0);
  }
  close(body[1]);

  pid_t parser = fork();
  ASSERT_GE(parser, 0);
  if (parser == 0) {
    Report report = parseInChild(dir, body[0], length);
    writeAll(result[1], reinterpret_cast<char const*>(&report), sizeof report);
    _exit(0);
  }
  close(body[0]);
  close(result[1]);

  Report report {};
  ASSERT_EQ(read(result[0], &report, sizeof report), static_cast<ssize_t>(sizeof report));
  close(result[0]);
  int status = 0;
  waitpid(parser, &status, 0);
  waitpid(writer, &status, 0);

  EXPECT_TRUE(report.parsed);
  EXPECT_TRUE(report.contentOk);
  RecordProperty("peakGrowthKiB", static_cast<int>(report.growthKiB));
  EXPECT_LT(report.growthKiB, kMaxGrowthKiB);
  EXPECT_EQ(report.leftAfterFree, 0u);
  EXPECT_TRUE(dir.entries().empty());
}

}  // namespace
