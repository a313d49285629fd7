// The system log endpoint: run directly against a camera root, and through
// lighttpd with the simulated camera.
#include <gtest/gtest.h>
#include <unistd.h>

#include "messages/daemons.h"
#include "orvo/variant/variant.h"
#include "support/camera.h"
#include "support/session.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

constexpr char kSyslog[] = "1.2/syslog";
constexpr char kAddr[] = "10.1.2.3";

// Direct runs in one shared root, whose log each test empties after its
// login: the log is what the test reads.
class SyslogCgi : public SharedRootTest {
 protected:
  void SetUp() override {
    if (onVirtualCamera()) GTEST_SKIP() << kDirectRun;
    keep({"/var/log/messages.0"});
    cookie_ = cgiSessionCookie(root_);
    root_.write("/var/log/messages", "");
  }
  void TearDown() override {
    if (!root_.exists("/var/log/messages")) root_.write("/var/log/messages", "");
    SharedRootTest::TearDown();
  }
  CgiResult call(std::string const& method, std::string const& body = "") {
    return callCgi(root_, {method, kSyslog, body, kAddr, cookie_});
  }

  CameraRoot const& root_ = sharedRoot_;
  std::string cookie_;
};

// The log endpoint asks no daemon; a login asks these two (its answer
// holds the status).
class SyslogHttp : public SharedCameraTest {
 protected:
  SyslogHttp() : SharedCameraTest({orvo::daemons::kNetworkd, orvo::daemons::kAvclient}) {}
  SimulatedCamera const& camera_ = camera();
};

// The log's lines as the endpoint cuts them: at every "\n", the piece after
// the last one included.
std::string linesJson(std::string const& text) {
  orvo::variant::Variant lines;
  lines.IsArray(true);
  std::string::size_type start = 0;
  for (;;) {
    std::string::size_type const end = text.find('\n', start);
    lines.PushBack(text.substr(start, end == std::string::npos ? end : end - start));
    if (end == std::string::npos) break;
    start = end + 1;
  }
  std::string json;
  lines.ToJSON(json, false);
  return json;
}

TEST_F(SyslogCgi, EveryLineInOrderWithTheEmptyPieceAfterTheLastNewline) {
  root_.write("/var/log/messages", "first line\nsecond \"quoted\" line\n");
  CgiResult answer = call("GET");
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.header("Content-Type"), "application/json");
  EXPECT_EQ(answer.body, R"(["first line","second \"quoted\" line",""])");
}

TEST_F(SyslogCgi, RotatedPredecessorComesFirst) {
  root_.write("/var/log/messages.0", "older\n");
  root_.write("/var/log/messages", "newer\n");
  CgiResult answer = call("GET");
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, R"(["older","newer",""])");
}

TEST_F(SyslogCgi, EmptyLogIsTheSplitOfTheEmptyText) {
  root_.write("/var/log/messages", "");
  CgiResult answer = call("GET");
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, R"([""])");
}

TEST_F(SyslogCgi, MissingLogAnswers500) {
  ASSERT_EQ(unlink(root_.file("/var/log/messages").c_str()), 0);
  CgiResult answer = call("GET");
  EXPECT_EQ(answer.exitCode, 255);
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  EXPECT_FALSE(answer.header("Content-Type").has_value());
  // The record itself creates the log anew.
  EXPECT_EQ(orvo::test::logSummaries(root_), std::vector<std::string>{
                                 "rest_syslog err orvo_cgi: src/rest_syslog:rest_syslog_main: "
                                 "Failed to init log reader (errno 2: No such file or directory)"});
}

TEST_F(SyslogCgi, OnlyGet) {
  for (char const* method : {"POST", "PUT", "DELETE"}) {
    CgiResult answer = call(method, "{}");
    EXPECT_EQ(answer.status, "500") << method;
    EXPECT_EQ(answer.body, "") << method;
    EXPECT_TRUE(hasSummary(answer.log, std::string("rest_syslog err orvo_cgi: src/rest_syslog:"
                                          "rest_syslog_main: Can not process ") +
                                  method + " request"))
        << method;
  }
}

TEST_F(SyslogCgi, WithoutSessionRefused) {
  root_.write("/var/log/messages", "private\n");
  CgiResult answer = callCgi(root_, {"GET", kSyslog, "", kAddr, ""});
  EXPECT_EQ(answer.status, "401");
  EXPECT_EQ(answer.body.find("private"), std::string::npos);
}

TEST_F(SyslogHttp, TheCameraLogAsLines) {
  std::string const cookie = sessionCookie(camera_);
  CameraRoot const& root = camera_.root();
  root.write("/var/log/messages", root.read("/var/log/messages") + "marker line \xc3\xa9\n");
  HttpResponse answer = camera_.request({"GET", "/api/1.2/syslog", {cookie}, {}});
  ASSERT_EQ(answer.status, 200);
  EXPECT_EQ(answer.header("Content-Type"), "application/json");
  // Nothing is logged by a successful read, so the file is what was sent.
  EXPECT_EQ(answer.body, linesJson(root.read("/var/log/messages")));
  EXPECT_NE(answer.body.find("\"marker line \xc3\xa9\",\"\"]"), std::string::npos);
}

TEST_F(SyslogHttp, RefusedMethodIs500WithoutBody) {
  HttpResponse answer = camera_.request(
      {"PUT", "/api/1.2/syslog", {sessionCookie(camera_), "Content-Type: application/json"},
       std::string("{}")});
  EXPECT_EQ(answer.status, 500);
  EXPECT_EQ(answer.body, "");
}

}  // namespace
}  // namespace test
}  // namespace orvo
