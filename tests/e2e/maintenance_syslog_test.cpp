// The system log endpoint: run directly against a camera root, and through
// lighttpd with the simulated camera.
#include <gtest/gtest.h>
#include <unistd.h>

#include "camera_support.h"
#include "harness/http.h"
#include "maintenance_calls.h"

namespace orvo {
namespace e2e {
namespace {

constexpr char kSyslog[] = "1.2/syslog";

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

TEST(SyslogCgi, EveryLineInOrderWithTheEmptyPieceAfterTheLastNewline) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, "/var/log/messages", "first line\nsecond \"quoted\" line\n");
  CgiAnswer answer = callWithSession(root, cookie, "GET", kSyslog);
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.headers["Content-Type"], "application/json");
  EXPECT_EQ(answer.body, R"(["first line","second \"quoted\" line",""])");
}

TEST(SyslogCgi, RotatedPredecessorComesFirst) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, "/var/log/messages.0", "older\n");
  writeDeviceFile(root, "/var/log/messages", "newer\n");
  CgiAnswer answer = callWithSession(root, cookie, "GET", kSyslog);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, R"(["older","newer",""])");
}

TEST(SyslogCgi, EmptyLogIsTheSplitOfTheEmptyText) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, "/var/log/messages", "");
  CgiAnswer answer = callWithSession(root, cookie, "GET", kSyslog);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, R"([""])");
}

TEST(SyslogCgi, MissingLogAnswers500) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  ASSERT_EQ(unlink(root.file("/var/log/messages").c_str()), 0);
  CgiAnswer answer = callWithSession(root, cookie, "GET", kSyslog);
  EXPECT_EQ(answer.exitCode, 255);
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(answer.headers.count("Content-Type"), 0u);
  // The record itself creates the log anew.
  EXPECT_EQ(summaries(root), std::vector<std::string>{
                                 "rest_syslog err orvo_cgi: src/rest_syslog:rest_syslog_main: "
                                 "Failed to init log reader (errno 2: No such file or directory)"});
}

TEST(SyslogCgi, OnlyGet) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  for (char const* method : {"POST", "PUT", "DELETE"}) {
    CgiAnswer answer = callWithSession(root, cookie, method, kSyslog, "{}");
    EXPECT_EQ(answer.status, "500") << method;
    EXPECT_EQ(answer.body, "") << method;
    EXPECT_TRUE(hasLine(root, std::string("rest_syslog err orvo_cgi: src/rest_syslog:"
                                          "rest_syslog_main: Can not process ") +
                                  method + " request"))
        << method;
  }
}

TEST(SyslogCgi, WithoutSessionRefused) {
  CameraRoot root;
  writeDeviceFile(root, "/var/log/messages", "private\n");
  CgiAnswer answer = callCgi(root, {"GET", kSyslog, "", kMaintenanceAddr, ""});
  EXPECT_EQ(answer.status, "401");
  EXPECT_EQ(answer.body.find("private"), std::string::npos);
}

TEST(SyslogHttp, TheCameraLogAsLines) {
  SimulatedCamera camera;
  std::string const cookie = sessionCookie(camera);
  std::string const logPath = camera.root().file("/var/log/messages");
  writeDeviceFile(camera.root(), "/var/log/messages",
                  readFileText(logPath) + "marker line \xc3\xa9\n");
  HttpResponse answer = camera.request({"GET", "/api/1.2/syslog", {cookie}, {}});
  ASSERT_EQ(answer.status, 200);
  EXPECT_EQ(answer.header("Content-Type"), "application/json");
  // Nothing is logged by a successful read, so the file is what was sent.
  EXPECT_EQ(answer.body, linesJson(readFileText(logPath)));
  EXPECT_NE(answer.body.find("\"marker line \xc3\xa9\",\"\"]"), std::string::npos);
}

TEST(SyslogHttp, RefusedMethodIs500WithoutBody) {
  SimulatedCamera camera;
  HttpResponse answer = camera.request(
      {"PUT", "/api/1.2/syslog", {sessionCookie(camera), "Content-Type: application/json"},
       std::string("{}")});
  EXPECT_EQ(answer.status, 500);
  EXPECT_EQ(answer.body, "");
}

}  // namespace
}  // namespace e2e
}  // namespace orvo
