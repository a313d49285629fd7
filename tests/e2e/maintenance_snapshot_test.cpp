// The snapshot endpoint: run directly against a camera root with a planted
// /tmp/snap.jpeg, and through lighttpd while the simulated streamer keeps
// the picture fresh.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <thread>

#include "camera_support.h"
#include "harness/http.h"
#include "jpeg_check.h"
#include "maintenance_calls.h"

namespace orvo {
namespace e2e {
namespace {

constexpr char kSnapshot[] = "1.2/snapshot";
constexpr char kPicture[] = "/tmp/snap.jpeg";
constexpr char kMissingRecord[] =
    "rest_snapshot warning orvo_cgi: src/rest_snapshot:rest_snapshot_main: "
    "File /tmp/snap.jpeg does not exist or is not a file";

// Bytes a text-minded path would spoil: NUL, CR LF, high bytes.
std::string const kOddBytes("\xff\xd8\xff\xe0\x00\x10JFIF\x00\r\n\r\n\x80\xfe\x00\xff\xd9", 20);

void expectNotFound(CgiAnswer const& answer, CameraRoot const& root) {
  EXPECT_EQ(answer.exitCode, 255);
  EXPECT_EQ(answer.status, "404");
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(answer.headers.count("Content-Type"), 0u);
  EXPECT_TRUE(hasLine(root, kMissingRecord));
}

TEST(SnapshotCgi, BytesExactlyAsOnDiskForGetAndPost) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, kPicture, kOddBytes);
  for (char const* method : {"GET", "POST"}) {
    CgiAnswer answer = callWithSession(root, cookie, method, kSnapshot);
    EXPECT_EQ(answer.exitCode, 0) << method;
    EXPECT_EQ(answer.status, "200") << method;
    EXPECT_EQ(answer.headers["Content-Type"], "image/jpeg") << method;
    EXPECT_EQ(answer.body, kOddBytes) << method;
  }
}

TEST(SnapshotCgi, MissingPictureIs404) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  expectNotFound(callWithSession(root, cookie, "GET", kSnapshot), root);
}

TEST(SnapshotCgi, DirectoryIsLikeAMissingPicture) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  ASSERT_EQ(mkdir(root.file(kPicture).c_str(), 0755), 0);
  expectNotFound(callWithSession(root, cookie, "GET", kSnapshot), root);
}

// /tmp is shared: a link there is never followed, even to a real picture.
TEST(SnapshotCgi, LinkIsLikeAMissingPicture) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, "/tmp/elsewhere.jpeg", kOddBytes);
  ASSERT_EQ(symlink(root.file("/tmp/elsewhere.jpeg").c_str(), root.file(kPicture).c_str()), 0);
  expectNotFound(callWithSession(root, cookie, "GET", kSnapshot), root);
}

// An empty body carries no content type, whatever the handler set.
TEST(SnapshotCgi, EmptyPictureIs200WithEmptyBodyAndNoContentType) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, kPicture, "");
  CgiAnswer answer = callWithSession(root, cookie, "GET", kSnapshot);
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(answer.headers.count("Content-Type"), 0u);
}

TEST(SnapshotCgi, OtherMethodsAre500) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, kPicture, kOddBytes);
  for (char const* method : {"PUT", "DELETE"}) {
    CgiAnswer answer = callWithSession(root, cookie, method, kSnapshot);
    EXPECT_EQ(answer.status, "500") << method;
    EXPECT_EQ(answer.body, "") << method;
    EXPECT_TRUE(hasLine(root, std::string("rest_snapshot err orvo_cgi: src/rest_snapshot:"
                                          "rest_snapshot_main: Cannot process ") +
                                  method + " request"));
  }
}

// Waits until the streamer has written its first picture.
std::string firstPicture(SimulatedCamera const& camera) {
  for (int tries = 0; tries < 100; ++tries) {
    std::string const bytes = readFileText(camera.root().file(kPicture));
    if (!bytes.empty()) return bytes;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  ADD_FAILURE() << "the streamer wrote no picture in 5 s";
  return "";
}

// One camera for the read-only checks of the streamer's picture.
TEST(SnapshotHttp, StreamerPictureIsAlwaysWholeAndFresh) {
  SimulatedCamera camera;
  std::string const cookie = sessionCookie(camera);
  firstPicture(camera);
  std::set<std::string> seen;
  auto const start = std::chrono::steady_clock::now();
  // Bounded: about three seconds of reads, several refreshes.
  for (int i = 0; i < 60 && std::chrono::steady_clock::now() - start < std::chrono::seconds(3);
       ++i) {
    HttpResponse answer = camera.request({"GET", "/api/1.2/snapshot", {cookie}, {}});
    ASSERT_EQ(answer.status, 200);
    EXPECT_EQ(answer.header("Content-Type"), "image/jpeg");
    orvotest::DecodedJpeg picture = orvotest::decodeJpeg(answer.body);
    ASSERT_TRUE(picture.ok) << "read " << i << ": " << answer.body.size() << " bytes";
    EXPECT_EQ(picture.width, 320u);
    EXPECT_EQ(picture.height, 240u);
    seen.insert(answer.body);
  }
  EXPECT_GE(seen.size(), 2u) << "the picture did not change in three seconds";
  // No temporary file of the refreshes stays behind.
  std::set<std::string> left;
  for (auto const& entry : std::filesystem::directory_iterator(camera.root().file("/tmp"))) {
    std::string const name = entry.path().filename().string();
    if (name.rfind("snap.jpeg.", 0) == 0) left.insert(name);
  }
  EXPECT_LE(left.size(), 1u);  // at most the one being written now
}

TEST(SnapshotHttp, StoppedStreamerLeavesTheLastPicture) {
  SimulatedCamera camera;
  std::string const cookie = sessionCookie(camera);
  firstPicture(camera);
  control(camera, {"orvo_streamer", "stop"});
  std::string const last = readFileText(camera.root().file(kPicture));
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  EXPECT_EQ(readFileText(camera.root().file(kPicture)), last);
  HttpResponse answer = camera.request({"GET", "/api/1.2/snapshot", {cookie}, {}});
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, last);

  ASSERT_EQ(unlink(camera.root().file(kPicture).c_str()), 0);
  answer = camera.request({"GET", "/api/1.2/snapshot", {cookie}, {}});
  EXPECT_EQ(answer.status, 404);
  EXPECT_EQ(answer.body, "");
  EXPECT_TRUE(hasLine(camera.root(), kMissingRecord));

  writeDeviceFile(camera.root(), kPicture, "");
  answer = camera.request({"POST", "/api/1.2/snapshot", {cookie}, std::string()});
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "");
  EXPECT_FALSE(answer.header("Content-Type").has_value());

  control(camera, {"orvo_streamer", "start"});
  EXPECT_TRUE(orvotest::decodeJpeg(firstPicture(camera)).ok);
}

}  // namespace
}  // namespace e2e
}  // namespace orvo
