// The snapshot endpoint: run directly against a camera root with a planted
// /tmp/snap.jpeg, and through lighttpd while the simulated streamer keeps
// the picture fresh.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <set>

#include "jpeg_check.h"
#include "messages/daemons.h"
#include "support/camera.h"
#include "support/poll.h"
#include "support/session.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

constexpr char kSnapshot[] = "1.2/snapshot";
constexpr char kPicture[] = "/tmp/snap.jpeg";
constexpr char kMissingRecord[] =
    "rest_snapshot warning orvo_cgi: src/rest_snapshot:rest_snapshot_main: "
    "File /tmp/snap.jpeg does not exist or is not a file";

// Bytes a text-minded path would spoil: NUL, CR LF, high bytes.
std::string const kOddBytes("\xff\xd8\xff\xe0\x00\x10JFIF\x00\r\n\r\n\x80\xfe\x00\xff\xd9", 20);

void expectNotFound(CgiResult const& answer) {
  EXPECT_EQ(answer.exitCode, 255);
  EXPECT_EQ(answer.status, "404");
  EXPECT_EQ(answer.body, "");
  EXPECT_FALSE(answer.header("Content-Type").has_value());
  EXPECT_TRUE(hasSummary(answer.log, kMissingRecord));
}

// Direct runs in one shared root; whatever a test left at the picture's
// path (a folder, a link) goes with it.
class SnapshotCgi : public SharedRootTest {
 protected:
  void SetUp() override {
    if (onVirtualCamera()) GTEST_SKIP() << kDirectRun;
    keep({kPicture});
    cookie_ = cgiSessionCookie(root_);
  }
  CgiResult call(std::string const& method) {
    return callCgi(root_, {method, kSnapshot, "", "10.1.2.3", cookie_});
  }

  CameraRoot const& root_ = sharedRoot_;
  std::string cookie_;
};

// The daemons these need: the streamer, and the two a login asks (its
// answer holds the status).
class SnapshotHttp : public SharedCameraTest {
 protected:
  SnapshotHttp()
      : SharedCameraTest(
            {orvo::daemons::kStreamer, orvo::daemons::kNetworkd, orvo::daemons::kAvclient}) {}
  SimulatedCamera const& camera_ = camera();
};

TEST_F(SnapshotCgi, BytesExactlyAsOnDiskForGetAndPost) {
  root_.write(kPicture, kOddBytes);
  for (char const* method : {"GET", "POST"}) {
    CgiResult answer = call(method);
    EXPECT_EQ(answer.exitCode, 0) << method;
    EXPECT_EQ(answer.status, "200") << method;
    EXPECT_EQ(answer.header("Content-Type"), "image/jpeg") << method;
    EXPECT_EQ(answer.body, kOddBytes) << method;
  }
}

TEST_F(SnapshotCgi, MissingPictureIs404) {
  expectNotFound(call("GET"));
}

TEST_F(SnapshotCgi, DirectoryIsLikeAMissingPicture) {
  ASSERT_EQ(mkdir(root_.file(kPicture).c_str(), 0755), 0);
  expectNotFound(call("GET"));
}

// /tmp is shared: a link there is never followed, even to a real picture.
TEST_F(SnapshotCgi, LinkIsLikeAMissingPicture) {
  root_.write("/tmp/elsewhere.jpeg", kOddBytes);
  ASSERT_EQ(symlink(root_.file("/tmp/elsewhere.jpeg").c_str(), root_.file(kPicture).c_str()), 0);
  expectNotFound(call("GET"));
}

// An empty body carries no content type, whatever the handler set.
TEST_F(SnapshotCgi, EmptyPictureIs200WithEmptyBodyAndNoContentType) {
  root_.write(kPicture, "");
  CgiResult answer = call("GET");
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, "");
  EXPECT_FALSE(answer.header("Content-Type").has_value());
}

TEST_F(SnapshotCgi, OtherMethodsAre500) {
  root_.write(kPicture, kOddBytes);
  for (char const* method : {"PUT", "DELETE"}) {
    CgiResult answer = call(method);
    EXPECT_EQ(answer.status, "500") << method;
    EXPECT_EQ(answer.body, "") << method;
    EXPECT_TRUE(hasSummary(answer.log, std::string("rest_snapshot err orvo_cgi: src/rest_snapshot:"
                                          "rest_snapshot_main: Cannot process ") +
                                  method + " request"));
  }
}

// Waits until the streamer has written a picture.
std::string firstPicture(SimulatedCamera const& camera) {
  std::string bytes;
  if (!eventually([&] { return !(bytes = camera.root().read(kPicture)).empty(); },
                  std::chrono::seconds(5))) {
    ADD_FAILURE() << "the streamer wrote no picture in 5 s";
  }
  return bytes;
}

// One camera for the read-only checks of the streamer's picture.
TEST_F(SnapshotHttp, StreamerPictureIsAlwaysWholeAndFresh) {
  SimulatedCamera const& camera = camera_;
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
  for (std::string const& name : camera.root().list("/tmp")) {
    if (name.rfind("snap.jpeg.", 0) == 0) left.insert(name);
  }
  EXPECT_LE(left.size(), 1u);  // at most the one being written now
}

TEST_F(SnapshotHttp, StoppedStreamerLeavesTheLastPicture) {
  SimulatedCamera const& camera = camera_;
  std::string const cookie = sessionCookie(camera);
  firstPicture(camera);
  control(orvo::daemons::kStreamer, {"stop"});
  std::string const last = camera.root().read(kPicture);
  EXPECT_TRUE(holdsFor([&] { return camera.root().read(kPicture) == last; },
                       std::chrono::milliseconds(1500)));
  HttpResponse answer = camera.request({"GET", "/api/1.2/snapshot", {cookie}, {}});
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, last);

  ASSERT_TRUE(camera.root().exists(kPicture));
  camera.root().remove(kPicture);
  answer = camera.request({"GET", "/api/1.2/snapshot", {cookie}, {}});
  EXPECT_EQ(answer.status, 404);
  EXPECT_EQ(answer.body, "");
  EXPECT_TRUE(logged(kMissingRecord));

  camera.root().write(kPicture, "");
  answer = camera.request({"POST", "/api/1.2/snapshot", {cookie}, std::string()});
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "");
  EXPECT_FALSE(answer.header("Content-Type").has_value());

  control(orvo::daemons::kStreamer, {"start"});
  EXPECT_TRUE(orvotest::decodeJpeg(firstPicture(camera)).ok);
}

}  // namespace
}  // namespace test
}  // namespace orvo
