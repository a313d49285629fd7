// A 64 MiB image streams through rest.cgi: upload, validation and header
// check keep the process's peak resident memory where a 1 MiB image keeps it.
// rest.cgi runs as a direct child so that wait4 reports its own peak.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "support/firmware.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

constexpr long kLargePayload = 64L << 20;
constexpr long kSmallPayload = 1L << 20;
// Allowed growth from the small image to the large one.
constexpr long kMaxGrowthKiB = 4 * 1024;

struct CgiRun {
  int exitCode = -1;
  long peakKiB = 0;
  std::string out;
};

// Writes the multipart body around the image file into `bodyPath`.
void writeBody(std::string const& imagePath, std::string const& bodyPath) {
  std::string const head = "--fwtest\r\nContent-Disposition: form-data; name=\"fwfile\"; "
                           "filename=\"image.bin\"\r\n\r\n";
  std::ofstream out(bodyPath, std::ios::binary);
  std::ifstream in(imagePath, std::ios::binary);
  out << head << in.rdbuf() << "\r\n--fwtest--\r\n";
}

CgiRun runWithBody(CameraRoot const& root, std::string const& cookie, std::string const& endpoint,
                std::string const& bodyPath) {
  std::ifstream sized(bodyPath, std::ios::binary | std::ios::ate);
  std::vector<std::string> env = {"REQUEST_METHOD=POST", "QUERY_STRING=id=1.2/" + endpoint,
                                  "REMOTE_ADDR=10.1.2.3", "HTTP_COOKIE=" + cookie,
                                  "CONTENT_TYPE=multipart/form-data; boundary=fwtest",
                                  "CONTENT_LENGTH=" + std::to_string(static_cast<long>(sized.tellg())),
                                  "ORVO_ROOT=" + root.path()};
  std::string const outPath = bodyPath + ".out";
  pid_t child = fork();
  if (child == 0) {
    int in = open(bodyPath.c_str(), O_RDONLY);
    int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (in < 0 || out < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0) _exit(127);
    std::vector<char*> envp;
    for (auto& entry : env) envp.push_back(entry.data());
    envp.push_back(nullptr);
    std::string program = restCgiPath();
    char* argv[] = {program.data(), nullptr};
    execve(program.c_str(), argv, envp.data());
    _exit(127);
  }
  CgiRun run;
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) == child && WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
  run.peakKiB = usage.ru_maxrss;
  std::ifstream answer(outPath, std::ios::binary);
  run.out.assign(std::istreambuf_iterator<char>(answer), std::istreambuf_iterator<char>());
  return run;
}

// One test: the root is its own.
TEST(FirmwareMemory, LargeImageKeepsPeakMemoryFlat) {
  CameraRoot root(CameraRoot::Layout::kCamsim);
  std::string const cookie = cgiSessionCookie(root);
  std::string const small = makeImage(root, "small.bin", "1.0.0", {"--payload-size", std::to_string(kSmallPayload)});
  std::string const large = makeImage(root, "large.bin", "2.0.0", {"--payload-size", std::to_string(kLargePayload)});
  writeBody(small, root.file("/sim/small.body"));
  writeBody(large, root.file("/sim/large.body"));
  std::remove(small.c_str());
  std::remove(large.c_str());

  CgiRun smallUpload = runWithBody(root, cookie, "firmware", root.file("/sim/small.body"));
  CgiRun largeUpload = runWithBody(root, cookie, "firmware", root.file("/sim/large.body"));
  CgiRun largeCheck = runWithBody(root, cookie, "check", root.file("/sim/large.body"));
  EXPECT_EQ(smallUpload.exitCode, 0);
  EXPECT_NE(smallUpload.out.find("{\"updateStatus\":\"ok\",\"updatedFwVersion\":\"1.0.0\"}"), std::string::npos);
  EXPECT_EQ(largeUpload.exitCode, 0);
  EXPECT_NE(largeUpload.out.find("{\"updateStatus\":\"ok\",\"updatedFwVersion\":\"2.0.0\"}"), std::string::npos);
  EXPECT_EQ(largeCheck.out, "Status: 200\r\nConnection: close\r\n\r\n");
  std::printf("peak resident memory: 1 MiB upload %ld KiB, 64 MiB upload %ld KiB, 64 MiB check %ld KiB\n",
              smallUpload.peakKiB, largeUpload.peakKiB, largeCheck.peakKiB);
  EXPECT_LT(largeUpload.peakKiB - smallUpload.peakKiB, kMaxGrowthKiB);
  EXPECT_LT(largeCheck.peakKiB - smallUpload.peakKiB, kMaxGrowthKiB);
}

}  // namespace
}  // namespace test
}  // namespace orvo
