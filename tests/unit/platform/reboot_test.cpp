// The reboot request: handed to the root's reboot tool, detached, at once.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "orvo/utils/reboot.h"
#include "platform_test_support.h"

using orvo::utils::enqueueReboot;
using platformtest::inChild;
using platformtest::Root;

namespace {

using Clock = std::chrono::steady_clock;

// A reboot tool that notes its arguments, session and standard output, then
// stays a while, as a real one would before the device goes down.
void installTool(Root const& root) {
  mkdir(root.file("/sbin").c_str(), 0755);
  root.write("/sbin/reboot",
             "#!/bin/sh\n"
             "echo \"$* sid=$(cut -d' ' -f6 /proc/$$/stat) out=$(readlink /proc/$$/fd/1)\" "
             "> \"$ORVO_ROOT/tmp/called.tmp\"\n"
             "mv \"$ORVO_ROOT/tmp/called.tmp\" \"$ORVO_ROOT/tmp/called\"\n"
             "sleep 2\n");
  chmod(root.file("/sbin/reboot").c_str(), 0755);
}

std::string waitForFile(Root const& root, std::string const& devicePath) {
  auto const limit = Clock::now() + std::chrono::seconds(5);
  while (access(root.file(devicePath).c_str(), F_OK) != 0 && Clock::now() < limit) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return root.read(devicePath);
}

}  // namespace

TEST(EnqueueReboot, ReturnsAtOnceAndTheToolRunsDetached) {
  Root root;
  installTool(root);
  EXPECT_EQ(inChild(root.path(), [] {
              auto const start = Clock::now();
              bool const handed = enqueueReboot(3);
              return handed && Clock::now() - start < std::chrono::milliseconds(1000);
            }),
            0);
  std::string const called = waitForFile(root, "/tmp/called");
  EXPECT_EQ(called.rfind("-d 3 sid=", 0), 0u) << called;
  EXPECT_EQ(called.find("sid=" + std::to_string(getsid(0)) + " "), std::string::npos) << called;
  EXPECT_NE(called.find(" out=/dev/null"), std::string::npos) << called;
}

// The caller's answer ends when the caller is done, not when the tool is.
TEST(EnqueueReboot, TheToolKeepsNoneOfTheCallersDescriptors) {
  Root root;
  installTool(root);
  int answer[2];
  ASSERT_EQ(pipe(answer), 0);
  EXPECT_EQ(inChild(root.path(), [&] { return enqueueReboot(0); }), 0);
  close(answer[1]);
  auto const start = Clock::now();
  char byte;
  EXPECT_EQ(read(answer[0], &byte, 1), 0);  // end of file: no writer left
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1000));
  close(answer[0]);
  EXPECT_EQ(waitForFile(root, "/tmp/called").rfind("-d 0 ", 0), 0u);
}

TEST(EnqueueReboot, NegativeDelayIsNone) {
  Root root;
  installTool(root);
  EXPECT_EQ(inChild(root.path(), [] { return enqueueReboot(-5); }), 0);
  EXPECT_EQ(waitForFile(root, "/tmp/called").rfind("-d 0 ", 0), 0u);
}

TEST(EnqueueReboot, MissingToolIsReported) {
  Root root;
  EXPECT_EQ(inChild(root.path(), [] { return !enqueueReboot(0); }), 0);
  EXPECT_NE(root.read("/var/log/messages").find("platform/reboot:enqueueReboot:"),
            std::string::npos);
}
