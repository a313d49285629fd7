// The upgrade endpoint, rest.cgi run directly: the update tool on the staged
// image, its lock, and what the simulated tool leaves in the camera root.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "camera_support.h"
#include "firmware_support.h"

namespace orvo {
namespace e2e {
namespace {

using orvo::variant::Variant;

constexpr char kVersion[] = "OV-B4.v4.24.1.68.abc1234.230601.1200";
constexpr char kEmpty500[] = "Status: 500\r\nConnection: close\r\n\r\n";
constexpr char kLockFile[] = "/run/lock/orvo/rest_upgrade.lock";

class FirmwareUpgrade : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(runCamsim("ctl", root_.path(), {"fwupdate", "duration", "0"}).exitCode, 0);
  }
  ProcessResult upgrade(std::string const& method = "GET") {
    return runUpload(root_, {method, "upgrade", cookie_, "", "", "0"});
  }
  std::string lastSummary() {
    auto all = logSummaries(root_);
    return all.empty() ? "" : all.back();
  }

  CameraRoot root_;
  std::string cookie_ = directSession(root_);
};

TEST_F(FirmwareUpgrade, MakersImageIsFlashedAndTheNewVersionRecorded) {
  std::string const image = makeImage(root_, "maker.bin", kVersion);
  ASSERT_EQ(postMultipart(root_, "firmware", cookie_, fileBody(image)).exitCode, 0);
  ProcessResult result = upgrade();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "Status: 200\r\nConnection: close\r\n\r\n");
  Variant info = parsed(readFileText(root_.file("/etc/orvo/camera_info.json")));
  EXPECT_EQ(text(info, "version"), std::string("\"") + kVersion + "\"");
  EXPECT_EQ(text(info, "semVer"), "\"4.24.1\"");
  EXPECT_EQ(text(info, "hwaddr"), "\"7483C2A1B2C3\"");  // the rest untouched
  EXPECT_FALSE(stagedImageExists(root_));
  EXPECT_EQ(readFileText(root_.file("/sim/reboot-requested")), std::string("fwupdate ") + kVersion + "\n");
}

TEST_F(FirmwareUpgrade, ThirdPartyImageIsFlashedWhenTheClientAsks) {
  std::string const image = makeImage(root_, "custom.bin", "custom-1", {"--unsigned"});
  ASSERT_EQ(postMultipart(root_, "firmware", cookie_, fileBody(image)).exitCode, 0);
  EXPECT_EQ(upgrade().exitCode, 0);
  Variant info = parsed(readFileText(root_.file("/etc/orvo/camera_info.json")));
  EXPECT_EQ(text(info, "version"), "\"custom-1\"");
  EXPECT_EQ(text(info, "semVer"), "\"4.23.8\"");  // no semantic version in the name
}

TEST_F(FirmwareUpgrade, NothingStagedFailsWithThePreset500) {
  ProcessResult result = upgrade();
  EXPECT_EQ(result.exitCode, 255);
  EXPECT_EQ(result.out, kEmpty500);
  EXPECT_EQ(lastSummary(), "rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: FW update failed");
  EXPECT_NE(result.err.find("fwupdate: no image at /tmp/fwupdate.bin"), std::string::npos) << result.err;
  EXPECT_FALSE(std::ifstream(root_.file("/sim/reboot-requested")).good());
}

TEST_F(FirmwareUpgrade, DamagedStagedImageIsRefusedByTheTool) {
  std::ofstream(root_.file(kStagedImage)) << "not an image";
  ProcessResult result = upgrade();
  EXPECT_EQ(result.out, kEmpty500);
  EXPECT_EQ(lastSummary(), "rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: FW update failed");
  EXPECT_NE(result.err.find("is not a valid firmware image"), std::string::npos) << result.err;
  Variant info = parsed(readFileText(root_.file("/etc/orvo/camera_info.json")));
  EXPECT_EQ(text(info, "semVer"), "\"4.23.8\"");
}

TEST_F(FirmwareUpgrade, OnlyGetIsServed) {
  for (char const* method : {"POST", "PUT"}) {
    ProcessResult result = upgrade(method);
    EXPECT_EQ(result.exitCode, 255) << method;
    EXPECT_EQ(result.out, kEmpty500) << method;
    EXPECT_EQ(lastSummary(), std::string("rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: "
                                         "Cannot process ") + method + " request");
  }
}

TEST_F(FirmwareUpgrade, WhileAnotherUpgradeHoldsTheLockAnswers429) {
  std::string const image = makeImage(root_, "maker.bin", kVersion);
  ASSERT_EQ(postMultipart(root_, "firmware", cookie_, fileBody(image)).exitCode, 0);
  int fd = open(root_.file(kLockFile).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(flock(fd, LOCK_EX | LOCK_NB), 0);
  ProcessResult refused = upgrade();
  close(fd);
  EXPECT_EQ(refused.exitCode, 0);
  EXPECT_EQ(refused.out, "Status: 429\r\nConnection: close\r\n\r\n");
  EXPECT_EQ(lastSummary(), "rest_upgrade warning orvo_cgi: src/orvo_cgi:lock: 'rest_upgrade' is already running");
  EXPECT_TRUE(stagedImageExists(root_));  // the tool never ran
  EXPECT_EQ(upgrade().out, "Status: 200\r\nConnection: close\r\n\r\n");
}

}  // namespace
}  // namespace e2e
}  // namespace orvo
