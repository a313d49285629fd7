#include "provisioning_support.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "camera_support.h"

namespace orvo {
namespace e2e {

std::string cgiSessionCookie(CameraRoot const& root, std::string const& addr) {
  CgiAnswer answer = login(root, credentials("admin", "admin"), "1.2", addr);
  EXPECT_EQ(answer.status, "200") << answer.body;
  return "authId=" + cookieId(answer.headers["Set-Cookie"]);
}

std::vector<std::string> summariesSince(CameraRoot const& root, std::size_t mark) {
  std::vector<std::string> all = summaries(root);
  if (mark >= all.size()) return {};
  return std::vector<std::string>(all.begin() + static_cast<long>(mark), all.end());
}

std::size_t countSummaries(CameraRoot const& root, std::string const& part) {
  std::size_t count = 0;
  for (std::string const& line : summaries(root)) count += line.find(part) != std::string::npos;
  return count;
}

bool waitUntil(std::function<bool()> const& done, std::chrono::milliseconds limit) {
  auto const deadline = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return true;
}

std::string field(orvo::variant::Variant document, char const* path) {
  return text(document, path);
}

orvo::variant::Variant stateOf(CameraRoot const& root, char const* daemon) {
  ProcessResult state = runCamsim("state", root.path(), {daemon});
  EXPECT_EQ(state.exitCode, 0) << state.err;
  return parsed(state.out);
}

void controlOf(CameraRoot const& root, std::vector<std::string> const& arguments) {
  ProcessResult result = runCamsim("ctl", root.path(), arguments);
  EXPECT_EQ(result.exitCode, 0) << result.err;
}

HeldNamedLock::HeldNamedLock(CameraRoot const& root, std::string const& name) {
  std::string const folder = root.file("/run/lock/orvo");
  mkdir(root.file("/run").c_str(), 0755);
  mkdir(root.file("/run/lock").c_str(), 0755);
  mkdir(folder.c_str(), 0755);
  std::string const path = folder + "/" + name + ".lock";
  fd_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  EXPECT_GE(fd_, 0) << path;
  EXPECT_EQ(flock(fd_, LOCK_EX | LOCK_NB), 0) << path;
}

HeldNamedLock::~HeldNamedLock() { release(); }

void HeldNamedLock::release() {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
}

}  // namespace e2e
}  // namespace orvo
