// The upgrade endpoint, rest.cgi run directly: the update tool on the staged
// image, its lock, and what the simulated tool leaves in the camera root.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "support/camera.h"
#include "support/firmware.h"
#include "support/json.h"
#include "support/session.h"
#include "support/stand_ins.h"

namespace orvo {
namespace test {
namespace {

using orvo::variant::Variant;

constexpr char kVersion[] = "OV-B4.v4.24.1.68.abc1234.230601.1200";
constexpr char kEmpty500[] = "Status: 500\r\nConnection: close\r\n\r\n";
constexpr char kRebootRequest[] = "/sim/reboot-requested";

// Direct runs in one shared root; the tool's reboot request is put back
// with the camera's state.
class FirmwareUpgrade : public SharedRootTest {
 protected:
  void SetUp() override {
    keep({kRebootRequest});
    camsim(root_, "ctl", {"fwupdate", "duration", "0"});
    cookie_ = cgiSessionCookie(root_);
  }
  CgiResult upgrade(std::string const& method = "GET") {
    return runUpload(root_, {method, "upgrade", cookie_, "", "", "0"});
  }
  std::string lastSummary() {
    auto all = logSummaries();
    return all.empty() ? "" : all.back();
  }

  CameraRoot const& root_ = sharedRoot_;
  std::string cookie_;
};

TEST_F(FirmwareUpgrade, MakersImageIsFlashedAndTheNewVersionRecorded) {
  std::string const image = makeImage(root_, "maker.bin", kVersion);
  ASSERT_EQ(postMultipart(root_, "firmware", cookie_, fileBody(image)).exitCode, 0);
  CgiResult result = upgrade();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "Status: 200\r\nConnection: close\r\n\r\n");
  Variant info = parsed(root_.read("/etc/orvo/camera_info.json"));
  EXPECT_EQ(text(info, "version"), std::string("\"") + kVersion + "\"");
  EXPECT_EQ(text(info, "semVer"), "\"4.24.1\"");
  EXPECT_EQ(text(info, "hwaddr"), "\"7483C2A1B2C3\"");  // the rest untouched
  EXPECT_FALSE(stagedImageExists(root_));
  EXPECT_EQ(root_.read(kRebootRequest), std::string("fwupdate ") + kVersion + "\n");
}

TEST_F(FirmwareUpgrade, ThirdPartyImageIsFlashedWhenTheClientAsks) {
  std::string const image = makeImage(root_, "custom.bin", "custom-1", {"--unsigned"});
  ASSERT_EQ(postMultipart(root_, "firmware", cookie_, fileBody(image)).exitCode, 0);
  EXPECT_EQ(upgrade().exitCode, 0);
  Variant info = parsed(root_.read("/etc/orvo/camera_info.json"));
  EXPECT_EQ(text(info, "version"), "\"custom-1\"");
  EXPECT_EQ(text(info, "semVer"), "\"4.23.8\"");  // no semantic version in the name
}

TEST_F(FirmwareUpgrade, NothingStagedFailsWithThePreset500) {
  CgiResult result = upgrade();
  EXPECT_EQ(result.exitCode, 255);
  EXPECT_EQ(result.out, kEmpty500);
  auto const all = logSummaries();
  ASSERT_GE(all.size(), 2u);
  EXPECT_EQ(all[all.size() - 2], "rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: "
                                 "Refusing the staged image '/tmp/.rest/fwupdate.bin': it does not exist");
  EXPECT_EQ(lastSummary(), "rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: FW update failed");
  EXPECT_EQ(result.err, "");  // the tool never ran
  EXPECT_FALSE(root_.exists(kRebootRequest));
}

TEST_F(FirmwareUpgrade, FileNoUploadStagedIsRefusedBeforeTheTool) {
  makeImage(root_, "planted.bin", "9.9.9");
  root_.write(kStagedImage, root_.read("/sim/planted.bin"));
  ASSERT_EQ(::chmod(root_.file(kStagedImage).c_str(), 0600), 0);
  CgiResult result = upgrade();
  EXPECT_EQ(result.out, kEmpty500);
  EXPECT_TRUE(logged("rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: Refusing the staged "
                     "image '/tmp/.rest/fwupdate.bin': it was not staged by an upload"));
  EXPECT_EQ(lastSummary(), "rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: FW update failed");
  EXPECT_FALSE(stagedImageExists(root_));
  Variant info = parsed(root_.read("/etc/orvo/camera_info.json"));
  EXPECT_EQ(text(info, "semVer"), "\"4.23.8\"");
  EXPECT_FALSE(root_.exists(kRebootRequest));
}

TEST_F(FirmwareUpgrade, TheToolRefusesADamagedImageItself) {
  root_.write("/sim/damaged.bin", "not an image");
  ProcessResult ran = runCommand({root_.file("/sbin/fwupdate"), "-m", root_.file("/sim/damaged.bin")},
                                 {"ORVO_ROOT=" + root_.path()});
  EXPECT_EQ(ran.exitCode, 1);
  EXPECT_NE(ran.err.find("is not a valid firmware image"), std::string::npos) << ran.err;
  Variant info = parsed(root_.read("/etc/orvo/camera_info.json"));
  EXPECT_EQ(text(info, "semVer"), "\"4.23.8\"");
}

TEST_F(FirmwareUpgrade, OnlyGetIsServed) {
  for (char const* method : {"POST", "PUT"}) {
    CgiResult result = upgrade(method);
    EXPECT_EQ(result.exitCode, 255) << method;
    EXPECT_EQ(result.out, kEmpty500) << method;
    EXPECT_EQ(lastSummary(), std::string("rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: "
                                         "Cannot process ") + method + " request");
  }
}

TEST_F(FirmwareUpgrade, WhileAnotherUpgradeHoldsTheLockAnswers429) {
  std::string const image = makeImage(root_, "maker.bin", kVersion);
  ASSERT_EQ(postMultipart(root_, "firmware", cookie_, fileBody(image)).exitCode, 0);
  HeldNamedLock upgrading(root_, "rest_upgrade");
  CgiResult refused = upgrade();
  upgrading.release();
  EXPECT_EQ(refused.exitCode, 0);
  EXPECT_EQ(refused.out, "Status: 429\r\nConnection: close\r\n\r\n");
  EXPECT_EQ(lastSummary(), "rest_upgrade warning orvo_cgi: src/orvo_cgi:lock: 'rest_upgrade' is already running");
  EXPECT_TRUE(stagedImageExists(root_));  // the tool never ran
  EXPECT_EQ(upgrade().out, "Status: 200\r\nConnection: close\r\n\r\n");
}

}  // namespace
}  // namespace test
}  // namespace orvo
