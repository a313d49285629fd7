// The support bundle endpoint: through lighttpd with the simulated camera
// and its /bin/support, and directly for the failures.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <future>

#include "support/camera.h"
#include "support/session.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

constexpr char kSupport[] = "1.2/support";
constexpr char kBundleName[] = "support-OV-B4-7483C2A1B2C3.sup";

// The scratch folders the handler left in the root's /tmp.
std::vector<std::string> scratchFolders(CameraRoot const& root) {
  std::vector<std::string> left;
  for (std::string const& name : root.list("/tmp")) {
    if (name.rfind("support-cgi-", 0) == 0) left.push_back(name);
  }
  return left;
}

// GNU tar's view of a bundle: its member list, and all members' text.
struct Bundle {
  std::string members;
  std::string content;
};

std::string runShell(std::string const& command) {
  ProcessResult result = runCommand({"/bin/sh", "-c", command}, inheritedEnvironment());
  return result.exitCode == 0 ? result.out : "(failed: " + result.err + ")";
}

Bundle readBundle(CameraRoot const& root, std::string const& bytes) {
  std::string const path = root.path() + "/downloaded.sup";
  std::ofstream(path, std::ios::binary) << bytes;
  return {runShell("tar -tzf '" + path + "'"), runShell("tar -xzOf '" + path + "'")};
}

void setCameraIdentity(CameraRoot const& root, std::string const& version,
                       std::string const& hwaddr) {
  std::string info = root.read("/etc/orvo/camera_info.json");
  auto replaceValue = [&info](std::string const& key, std::string const& value) {
    std::string::size_type at = info.find("\"" + key + "\": \"");
    ASSERT_NE(at, std::string::npos) << key;
    at += key.size() + 5;
    info.replace(at, info.find('"', at) - at, value);
  };
  replaceValue("version", version);
  replaceValue("hwaddr", hwaddr);
  root.write("/etc/orvo/camera_info.json", info);
}

std::string passwordHash(CameraRoot const& root) {
  std::string const account = root.read("/etc/orvo/account");
  return account.substr(account.find(':') + 1, account.find('\n') - account.find(':') - 1);
}

// Direct runs in one shared root (the camera's description, changed by a
// test, is put back).
class SupportCgi : public SharedRootTest {
 protected:
  void SetUp() override {
    if (onVirtualCamera()) GTEST_SKIP() << kDirectRun;
    cookie_ = cgiSessionCookie(root_);
  }
  CgiResult call(std::string const& method, std::string const& body = "") {
    return callCgi(root_, {method, kSupport, body, "10.1.2.3", cookie_});
  }

  CameraRoot const& root_ = sharedRoot_;
  std::string cookie_;
};

class SupportHttp : public SharedCameraTest {
 protected:
  SimulatedCamera const& camera_ = camera();
};

TEST_F(SupportHttp, BundleIsAGzipTarOfTheCameraWithoutSecrets) {
  SimulatedCamera const& camera = camera_;
  std::string const cookie = sessionCookie(camera);
  std::string const sessionId = cookie.substr(cookie.find('=') + 1);
  ASSERT_GE(sessionId.size(), 16u);
  // A secret that reached the log must not leave with it.
  camera.root().write("/var/log/messages",
                      camera.root().read("/var/log/messages") + "session " + sessionId + " seen\n");

  HttpResponse answer = camera.request({"GET", "/api/1.2/support", {cookie}, {}});
  ASSERT_EQ(answer.status, 200);
  EXPECT_EQ(answer.header("Content-Type"), "application/force-download");
  EXPECT_EQ(answer.header("Content-Disposition"),
            std::string("attachment; filename=") + kBundleName);
  Bundle bundle = readBundle(camera.root(), answer.body);
  for (char const* member :
       {"support/camera_info.json", "support/system.cfg", "support/messages",
        "support/services.json", "support/state/orvo_ctlserver.json",
        "support/state/orvo_networkd.json", "support/state/orvo_avclient.json"}) {
    EXPECT_NE(bundle.members.find(std::string(member) + "\n"), std::string::npos)
        << member << " not in\n" << bundle.members;
  }
  EXPECT_NE(bundle.content.find("7483C2A1B2C3"), std::string::npos);
  EXPECT_NE(bundle.content.find("device.firstTimeUse"), std::string::npos);
  EXPECT_NE(bundle.content.find("seen"), std::string::npos);
  std::string const hash = passwordHash(camera.root());
  ASSERT_GT(hash.size(), 20u);
  EXPECT_EQ(bundle.content.find(hash), std::string::npos);
  EXPECT_EQ(bundle.content.find(sessionId), std::string::npos);
  EXPECT_EQ(scratchFolders(camera.root()), std::vector<std::string>{});
}

TEST_F(SupportHttp, TwoDownloadsAtOnceEachGetAWholeBundle) {
  SimulatedCamera const& camera = camera_;
  std::string const cookie = sessionCookie(camera);
  auto download = [&camera, &cookie] {
    return camera.request({"GET", "/api/1.2/support", {cookie}, {}});
  };
  auto first = std::async(std::launch::async, download);
  auto second = std::async(std::launch::async, download);
  HttpResponse const answers[] = {first.get(), second.get()};
  std::string members[2];
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(answers[i].status, 200);
    members[i] = readBundle(camera.root(), answers[i].body).members;
    // Each member once: neither tool wrote into the other's bundle.
    EXPECT_EQ(members[i].find("support/camera_info.json"),
              members[i].rfind("support/camera_info.json"));
  }
  EXPECT_EQ(members[0], members[1]);
  EXPECT_NE(members[0].find("support/messages\n"), std::string::npos) << members[0];
  EXPECT_EQ(scratchFolders(camera.root()), std::vector<std::string>{});
}

TEST_F(SupportCgi, NameFromMajorVersionAndHardwareAddress) {
  setCameraIdentity(root_, "4.8.40", "AABBCCDDEEFF");
  CgiResult answer = call("GET");
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.header("Content-Disposition"),
            "attachment; filename=support-4-AABBCCDDEEFF.sup");
}

TEST_F(SupportCgi, VersionWithoutDotIsUsedWhole) {
  setCameraIdentity(root_, "nightly", "AABBCCDDEEFF");
  CgiResult answer = call("GET");
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.header("Content-Disposition"),
            "attachment; filename=support-nightly-AABBCCDDEEFF.sup");
  EXPECT_EQ(answer.header("Content-Type"), "application/force-download");
  EXPECT_EQ(answer.body.substr(0, 2), "\x1f\x8b");  // gzip
}

// The tool is a link `camsim init` made: a root of its own.
TEST(SupportCgiOwnRoot, ToolMissingIs500AndLeavesNoFolder) {
  if (onVirtualCamera()) GTEST_SKIP() << kDirectRun;
  CameraRoot root(CameraRoot::Layout::kCamsim);
  std::string const cookie = cgiSessionCookie(root);
  ASSERT_EQ(unlink(root.file("/bin/support").c_str()), 0);
  CgiResult answer = callCgi(root, {"GET", kSupport, "", "10.1.2.3", cookie});
  EXPECT_EQ(answer.exitCode, 255);
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  bool logged = false;
  std::string const prefix =
      "rest_support err orvo_cgi: src/rest_support:rest_support_main: "
      "Failed to execute '/bin/support " + root.file("/tmp/support-cgi-");
  for (std::string const& line : summariesOf(answer.log)) {
    logged = logged || (line.rfind(prefix, 0) == 0 &&
                        line.size() > prefix.size() + 6 &&
                        line.compare(line.size() - 32, 32, "/support-OV-B4-7483C2A1B2C3.sup'") == 0);
  }
  EXPECT_TRUE(logged);
  EXPECT_EQ(scratchFolders(root), std::vector<std::string>{});
}

TEST_F(SupportCgi, WithoutCameraDescriptionIs500) {
  ASSERT_EQ(unlink(root_.file("/etc/orvo/camera_info.json").c_str()), 0);
  CgiResult answer = call("GET");
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  EXPECT_TRUE(hasSummary(answer.log, "rest_support err orvo_cgi: src/rest_support:rest_support_main: "
                            "Failed to initialize camera info manager"));
  EXPECT_EQ(scratchFolders(root_), std::vector<std::string>{});
}

TEST_F(SupportCgi, OnlyGet) {
  CgiResult answer = call("POST", "{}");
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  EXPECT_TRUE(hasSummary(answer.log, "rest_support err orvo_cgi: src/rest_support:rest_support_main: "
                            "Can not process POST request"));
}

}  // namespace
}  // namespace test
}  // namespace orvo
