// Who can make rest.cgi store a request body: only a logged-in caller of
// the firmware or check endpoint, one upload at a time. rest.cgi runs with
// its body in a file on standard input, so the test sees how much of it
// the program read.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

#include "support/camera.h"
#include "support/firmware.h"
#include "support/session.h"
#include "support/stand_ins.h"

namespace orvo {
namespace test {
namespace {

namespace fs = std::filesystem;

constexpr char kVersion[] = "OV-B4.v4.24.3.68.abc1234.230601.1200";
constexpr char kType[] = "multipart/form-data; boundary=fwtest";

// Every entry under the root's /tmp, folders included.
std::set<std::string> tmpEntries(CameraRoot const& root) {
  std::set<std::string> names;
  for (auto const& entry : fs::recursive_directory_iterator(root.file("/tmp"))) {
    names.insert(entry.path().string());
  }
  return names;
}

struct BodyRun {
  CgiResult result;
  off_t consumed = 0;  // bytes of the body the program read
};

// rest.cgi with `body` in a file as its standard input: the offset the
// program leaves in the shared open file is what it read.
BodyRun runWithBodyFile(CameraRoot const& root, std::string const& endpoint,
                        std::string const& cookie, std::string const& body) {
  std::string const path = root.file("/sim/body.bin");
  root.write("/sim/body.bin", body);
  int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_GE(fd, 0);
  Environment env{{"REQUEST_METHOD", "POST"},
                  {"QUERY_STRING", "id=1.2/" + endpoint},
                  {"REMOTE_ADDR", "10.1.2.3"},
                  {"CONTENT_TYPE", kType},
                  {"CONTENT_LENGTH", std::to_string(body.size())}};
  if (!cookie.empty()) env["HTTP_COOKIE"] = cookie;
  std::string const program = restCgiPath();
  BodyRun run;
  run.result = runCgi(root, env, "", CgiProgram::inProcess([&] {
                        ::dup2(fd, STDIN_FILENO);
                        char* argv[] = {const_cast<char*>(program.c_str()), nullptr};
                        ::execv(program.c_str(), argv);
                        return 127;
                      }));
  run.consumed = ::lseek(fd, 0, SEEK_CUR);
  ::close(fd);
  return run;
}

class UploadLimits : public SharedRootTest {
 protected:
  void SetUp() override {
    keep({kStagedImage, kStagedRecord, "/sim/body.bin"});
    body_ = fileBody(
        makeImage(root_, "big.bin", kVersion, {"--payload-size", std::to_string(2 << 20)}));
  }
  CameraRoot const& root_ = sharedRoot_;
  std::string body_;
};

TEST_F(UploadLimits, UploadBeforeLoginIsRefusedUnread) {
  std::set<std::string> const before = tmpEntries(root_);
  for (char const* endpoint : {"firmware", "check"}) {
    BodyRun run = runWithBodyFile(root_, endpoint, "", body_);
    EXPECT_EQ(run.result.status, "401") << endpoint;
    EXPECT_EQ(run.consumed, 0) << endpoint << ": the body was read before the caller was known";
    EXPECT_EQ(tmpEntries(root_), before) << endpoint;
  }
  // With a session that is not one, the same.
  BodyRun forged =
      runWithBodyFile(root_, "firmware", "authId=NoSuchSessionNoSuchSession0000", body_);
  EXPECT_EQ(forged.result.status, "401");
  EXPECT_EQ(forged.consumed, 0);
  EXPECT_FALSE(stagedImageExists(root_));
}

TEST_F(UploadLimits, EndpointsThatTakeNoFileLeaveTheBodyUnread) {
  std::string const cookie = cgiSessionCookie(root_);
  std::set<std::string> const before = tmpEntries(root_);
  BodyRun version = runWithBodyFile(root_, "version", "", body_);
  EXPECT_EQ(version.result.status, "500");  // GET only, open to everybody
  EXPECT_EQ(version.result.body, "");
  EXPECT_EQ(version.consumed, 0);
  BodyRun upgrade = runWithBodyFile(root_, "upgrade", cookie, body_);  // GET only: 500
  EXPECT_EQ(upgrade.result.status, "500");
  EXPECT_EQ(upgrade.consumed, 0);
  EXPECT_EQ(tmpEntries(root_), before);
}

TEST_F(UploadLimits, LoggedInUploadIsReadWhole) {
  BodyRun run = runWithBodyFile(root_, "firmware", cgiSessionCookie(root_), body_);
  EXPECT_EQ(run.result.status, "200");
  EXPECT_EQ(run.consumed, static_cast<off_t>(body_.size()));
  EXPECT_TRUE(stagedImageExists(root_));
  EXPECT_TRUE(leftoverUploads(root_).empty());
}

TEST_F(UploadLimits, SecondUploadWhileOneRunsAnswers429Unread) {
  std::string const cookie = cgiSessionCookie(root_);
  ASSERT_EQ(postMultipart(root_, "firmware", cookie, body_).status, "200");
  std::string const staged = root_.read(kStagedImage);
  HeldNamedLock uploading(root_, "rest_upload");
  for (char const* endpoint : {"firmware", "check"}) {
    BodyRun run =
        runWithBodyFile(root_, endpoint, cookie, fileBody(makeImage(root_, "o.bin", "1.0.0")));
    EXPECT_EQ(run.result.status, "429") << endpoint;
    EXPECT_EQ(run.result.body, "");
    EXPECT_EQ(run.consumed, 0) << endpoint;
    EXPECT_TRUE(
        logged(std::string(endpoint == std::string("check") ? "rest_check" : "rest_firmware") +
               " warning orvo_cgi: src/orvo_cgi:lock: 'rest_upload' is already running"));
    // Through the usual runner too, whose answers the API description checks.
    EXPECT_EQ(postMultipart(root_, endpoint, cookie, body_).out,
              "Status: 429\r\nConnection: close\r\n\r\n");
  }
  EXPECT_EQ(root_.read(kStagedImage), staged);  // the running upload's image untouched
  uploading.release();
  EXPECT_EQ(postMultipart(root_, "check", cookie, body_).status, "200");
}

}  // namespace
}  // namespace test
}  // namespace orvo
