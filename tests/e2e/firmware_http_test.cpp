// Firmware upload, check and upgrade as a browser does them: curl multipart
// uploads through lighttpd to the simulated camera.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include "support/camera.h"
#include "support/firmware.h"
#include "support/json.h"
#include "support/poll.h"
#include "support/session.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

using orvo::variant::Variant;

constexpr char kVersion[] = "OV-B4.v4.25.0.68.def5678.230901.0900";
constexpr char kLockFile[] = "/run/lock/orvo/rest_upgrade.lock";
constexpr char kUploadLockFile[] = "/run/lock/orvo/rest_upload.lock";
// Where request bodies can land: the camera's /tmp and lighttpd's buffer.
constexpr char const* kSpoolFolders[] = {"/tmp", "/sim/lighttpd/upload"};

bool lockHeld(CameraRoot const& root, char const* lockFile = kLockFile) {
  if (root.isVirtualCamera()) return virtualCameraLockHeld(lockFile);
  int fd = open(root.file(lockFile).c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) return false;
  bool held = flock(fd, LOCK_EX | LOCK_NB) != 0;
  close(fd);
  return held;
}

// Bytes on disk in the folders where request bodies can land.
long long spooledBytes(CameraRoot const& root) {
  // The virtual camera's /tmp is RAM; its web server buffers nothing.
  if (root.isVirtualCamera()) return std::stoll(inVirtualCamera("du -sk /tmp | cut -f1")) * 1024;
  namespace fs = std::filesystem;
  long long total = 0;
  std::error_code ignored;
  for (char const* folder : kSpoolFolders) {
    for (auto it = fs::recursive_directory_iterator(root.file(folder), ignored);
         it != fs::recursive_directory_iterator(); it.increment(ignored)) {
      struct stat info {};
      if (lstat(it->path().c_str(), &info) == 0 && S_ISREG(info.st_mode)) total += info.st_blocks * 512LL;
    }
  }
  return total;
}

// One camera for the program; the staged image, the camera's description
// and the update tool's controls are put back after each test.
class FirmwareHttp : public SharedCameraTest {
 protected:
  void SetUp() override { keep({"/sim/reboot-requested"}); }
  SimulatedCamera const& camera_ = camera();
};

TEST_F(FirmwareHttp, UploadsAndChecksOfEveryKind) {
  SimulatedCamera const& camera = camera_;
  CameraRoot const& root = camera.root();
  std::string const cookie = sessionCookie(camera);

  HttpResponse maker = curlUpload(camera, "firmware", cookie, makeImage(root, "maker.bin", kVersion));
  EXPECT_EQ(maker.status, 200);
  EXPECT_EQ(maker.body, std::string("{\"updateStatus\":\"ok\",\"updatedFwVersion\":\"") + kVersion + "\"}");
  EXPECT_TRUE(stagedImageExists(root));

  HttpResponse foreign = curlUpload(camera, "firmware", cookie, makeImage(root, "u.bin", "x-1", {"--unsigned"}));
  EXPECT_EQ(foreign.body, "{\"updateStatus\":\"thirdPartyFw\",\"updatedFwVersion\":\"x-1\"}");
  EXPECT_TRUE(stagedImageExists(root));

  for (char const* part : {"header", "payload", "signature"}) {
    HttpResponse bad = curlUpload(camera, "firmware", cookie,
                                  makeImage(root, std::string(part) + ".bin", kVersion, {"--corrupt", part}));
    EXPECT_EQ(bad.status, 200) << part;
    EXPECT_EQ(bad.body, "{\"updateStatus\":\"badFwImage\"}") << part;
    EXPECT_FALSE(stagedImageExists(root)) << part;
  }

  HttpResponse noField = curlUpload(camera, "firmware", cookie, makeImage(root, "m.bin", kVersion), "image");
  EXPECT_EQ(noField.status, 400);
  EXPECT_EQ(noField.body, "");

  HttpResponse goodHeader = curlUpload(camera, "check", cookie, makeImage(root, "c.bin", kVersion));
  EXPECT_EQ(goodHeader.status, 200);
  EXPECT_EQ(goodHeader.body, "");
  EXPECT_FALSE(goodHeader.header("Content-Type").has_value());
  EXPECT_FALSE(stagedImageExists(root));

  HttpResponse badHeader =
      curlUpload(camera, "check", cookie, makeImage(root, "h.bin", kVersion, {"--corrupt", "header"}));
  EXPECT_EQ(badHeader.status, 400);
  EXPECT_EQ(badHeader.body, "");

  // A multipart body without its closing delimiter.
  HttpResponse cut = camera.request({"POST", "/api/1.2/firmware",
                                     {cookie, "Content-Type: multipart/form-data; boundary=fwtest"},
                                     std::string("--fwtest\r\nContent-Disposition: form-data; name=\"fwfile\"; "
                                                 "filename=\"a.bin\"\r\n\r\nORVOFW\r\n")});
  EXPECT_EQ(cut.status, 400);
  EXPECT_TRUE(leftoverUploads(root).empty());
  EXPECT_FALSE(stagedImageExists(root));
}

TEST_F(FirmwareHttp, UpgradeShowsTheNewVersionInTheStatusDocument) {
  SimulatedCamera const& camera = camera_;
  CameraRoot const& root = camera.root();
  std::string const cookie = sessionCookie(camera);
  camsim(root, "ctl", {"fwupdate", "duration", "100"});

  HttpResponse nothing = camera.request({"GET", "/api/1.2/upgrade", {cookie}, {}});
  EXPECT_EQ(nothing.status, 500);
  EXPECT_EQ(nothing.body, "");
  EXPECT_TRUE(logged("rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: FW update failed"));

  HttpResponse posted = camera.request({"POST", "/api/1.2/upgrade", {cookie}, std::string("")});
  EXPECT_EQ(posted.status, 500);
  EXPECT_TRUE(logged("rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: "
                            "Cannot process POST request"));

  std::string const image = makeImage(root, "maker.bin", kVersion, {"--payload-size", std::to_string(16 << 20)});
  HttpResponse uploaded = curlUpload(camera, "firmware", cookie, image);
  ASSERT_EQ(uploaded.status, 200);
  EXPECT_EQ(uploaded.body, std::string("{\"updateStatus\":\"ok\",\"updatedFwVersion\":\"") + kVersion + "\"}");
  HttpResponse upgraded = camera.request({"GET", "/api/1.2/upgrade", {cookie}, {}});
  EXPECT_EQ(upgraded.status, 200);
  EXPECT_EQ(upgraded.body, "");

  HttpResponse status = camera.request({"GET", "/api/1.2/status", {cookie}, {}});
  ASSERT_EQ(status.status, 200);
  Variant doc = parsed(status.body);
  EXPECT_EQ(text(doc, "fw/version"), std::string("\"") + kVersion + "\"");
  EXPECT_EQ(text(doc, "fw/semver"), "\"4.25.0\"");
  EXPECT_FALSE(stagedImageExists(root));
}

TEST_F(FirmwareHttp, TwoUpgradesAtOnceOneAnswers429) {
  SimulatedCamera const& camera = camera_;
  CameraRoot const& root = camera.root();
  std::string const cookie = sessionCookie(camera);
  camsim(root, "ctl", {"fwupdate", "duration", "3000"});
  ASSERT_EQ(curlUpload(camera, "firmware", cookie, makeImage(root, "maker.bin", kVersion)).status, 200);

  auto first = std::async(std::launch::async, [&] {
    return camera.request({"GET", "/api/1.2/upgrade", {cookie}, {}});
  });
  ASSERT_TRUE(eventually([&] { return lockHeld(root); }, std::chrono::seconds(10),
                         std::chrono::milliseconds(20)));
  HttpResponse second = camera.request({"GET", "/api/1.2/upgrade", {cookie}, {}});
  EXPECT_EQ(second.status, 429);
  EXPECT_EQ(second.body, "");
  EXPECT_EQ(first.get().status, 200);
  EXPECT_TRUE(logged("rest_upgrade warning orvo_cgi: src/orvo_cgi:lock: 'rest_upgrade' is already running"));
}

TEST_F(FirmwareHttp, UploadBeforeLoginAnswers401AndStoresNothing) {
  SimulatedCamera const& camera = camera_;
  CameraRoot const& root = camera.root();
  long long const before = spooledBytes(root);
  HttpResponse refused = curlUpload(camera, "firmware", "X-No-Cookie: 1",
                                    makeImage(root, "anon.bin", kVersion, {"--payload-size", "4000000"}));
  EXPECT_EQ(refused.status, 401);
  EXPECT_EQ(refused.body, "");
  EXPECT_FALSE(stagedImageExists(root));
  EXPECT_TRUE(leftoverUploads(root).empty());
  EXPECT_EQ(spooledBytes(root), before);
}

// Three clients send large bodies to an open endpoint at once. Neither
// lighttpd nor rest.cgi may store them: rest.cgi reads no body it has no
// use for, and lighttpd passes bodies on instead of spooling them first.
// (bench/upload-spool: the same with three 250 MiB bodies.)
TEST_F(FirmwareHttp, ThreeLargeBodiesAtOnceAreNotStored) {
  if (onVirtualCamera()) {
    GTEST_SKIP() << "96 MiB through the emulated network take minutes; behind BusyBox's httpd "
                    "it runs on this machine (e2e_firmware_http_busybox)";
  }
  SimulatedCamera const& camera = camera_;
  CameraRoot const& root = camera.root();
  constexpr long long kBody = 32LL << 20;
  std::string const big = root.file("/sim/big.bin");
  { std::ofstream create(big); }
  std::filesystem::resize_file(big, kBody);  // sparse: costs no disk here
  std::vector<std::future<ProcessResult>> clients;
  for (int i = 0; i < 3; ++i) {
    clients.push_back(std::async(std::launch::async, [&] { return curlUploadStatus(camera, "version", big); }));
  }
  long long const before = spooledBytes(root);
  long long peak = before;
  auto const running = [&] {
    return std::any_of(clients.begin(), clients.end(), [](auto const& client) {
      return client.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
    });
  };
  while (running()) {
    peak = std::max(peak, spooledBytes(root));
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  for (auto& client : clients) {
    std::string const status = client.get().out;
    EXPECT_TRUE(status == "500" || status == "000") << status;  // a POST to version: 500
  }
  std::filesystem::remove(big);
  EXPECT_LT(peak - before, 4LL << 20) << "bytes stored at the peak";
  EXPECT_EQ(camera.get("/api/1.2/version").status, 200);  // still serving
}

TEST_F(FirmwareHttp, SecondUploadWhileOneRunsAnswers429) {
  SimulatedCamera const& camera = camera_;
  CameraRoot const& root = camera.root();
  std::string const cookie = sessionCookie(camera);
  std::string const image = makeImage(root, "slow.bin", kVersion, {"--payload-size", std::to_string(6 << 20)});
  std::string const quick = makeImage(root, "quick.bin", "1.0.0");
  // The first upload lasts 3 s (6 s on the virtual camera, where every
  // look at its lock is a command of its shell).
  std::string const rate = onVirtualCamera() ? "1M" : "2M";
  auto first = std::async(std::launch::async, [&] {
    return curlUploadStatus(camera, "firmware", image, {"-H", cookie, "--limit-rate", rate});
  });
  ASSERT_TRUE(eventually([&] { return lockHeld(root, kUploadLockFile); }, std::chrono::seconds(10),
                         std::chrono::milliseconds(10)));
  for (char const* endpoint : {"firmware", "check"}) {
    HttpResponse second = curlUpload(camera, endpoint, cookie, quick);
    EXPECT_EQ(second.status, 429) << endpoint;
    EXPECT_EQ(second.body, "");
  }
  EXPECT_EQ(first.get().out, "200");
  EXPECT_TRUE(logged("rest_firmware warning orvo_cgi: src/orvo_cgi:lock: 'rest_upload' is already running"));
  EXPECT_TRUE(logged("rest_check warning orvo_cgi: src/orvo_cgi:lock: 'rest_upload' is already running"));
}

}  // namespace
}  // namespace test
}  // namespace orvo
