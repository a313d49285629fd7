// The reboot, reset, picture-reset and wireless-scan endpoints run directly
// as CGI programs: methods, refusals and failing daemons. No daemon runs
// unless a test starts a stand-in.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>

#include "maintenance_support.h"

namespace orvo {
namespace e2e {
namespace {

using ::testing::ElementsAre;
using Headers = std::map<std::string, std::string>;

constexpr int kFailureExit = 255;  // the program's -1
Headers const kEmpty500{{"Status", "500"}, {"Connection", "close"}};
Headers const kEmpty200{{"Status", "200"}, {"Connection", "close"}};

// The program's own records ("orvo_cgi") logged under `identity`.
std::vector<std::string> recordsOf(CameraRoot const& root, std::string const& identity) {
  std::vector<std::string> out;
  for (std::string const& line : summaries(root)) {
    if (line.rfind(identity + " ", 0) == 0 && line.find(" orvo_cgi: ") != std::string::npos) {
      out.push_back(line);
    }
  }
  return out;
}

class MaintenanceCgi : public ::testing::Test {
 protected:
  CgiAnswer call(std::string const& method, std::string const& id) {
    return callWithCookie(root_, method, id, cookie_);
  }

  CameraRoot root_;
  std::string cookie_ = loggedInCookie(root_);
};

TEST_F(MaintenanceCgi, RebootAnswers200ToEveryMethod) {
  for (char const* method : {"GET", "PUT", "DELETE", "POST", "PATCH"}) {
    CgiAnswer answer = call(method, "1.2/reboot");
    EXPECT_EQ(answer.exitCode, 0) << method;
    EXPECT_EQ(answer.headers, kEmpty200) << method;
    EXPECT_EQ(answer.body, "") << method;
  }
  EXPECT_TRUE(recordsOf(root_, "rest_reboot").empty());
}

TEST_F(MaintenanceCgi, RebootNeedsASession) {
  CgiAnswer answer = callWithCookie(root_, "GET", "1.2/reboot", "authId=unknown");
  EXPECT_EQ(answer.status, "401");
  EXPECT_EQ(callWithCookie(root_, "GET", "1.1/reboot", cookie_).status, "200");
}

TEST_F(MaintenanceCgi, ResetRefusesOtherMethods) {
  CgiAnswer answer = call("POST", "1.2/reset");
  EXPECT_EQ(answer.exitCode, kFailureExit);
  EXPECT_EQ(answer.headers, kEmpty500);
  EXPECT_EQ(answer.body, "");
  EXPECT_THAT(recordsOf(root_, "rest_reset"),
              ElementsAre("rest_reset err orvo_cgi: src/rest_reset:rest_reset_main: "
                          "Can not process POST request"));
}

// Nothing listens as the control server: the one delivery attempt fails.
TEST_F(MaintenanceCgi, ResetNotQueuedAnswers500) {
  auto const start = std::chrono::steady_clock::now();
  CgiAnswer answer = call("GET", "1.2/reset");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  EXPECT_EQ(answer.exitCode, kFailureExit);
  EXPECT_EQ(answer.headers, kEmpty500);
  EXPECT_THAT(recordsOf(root_, "rest_reset"),
              ElementsAre("rest_reset err orvo_cgi: src/utils:sendIpcBlockingWrapper: "
                          "Unable to send IPC to orvo_ctlserver",
                          "rest_reset err orvo_cgi: src/rest_reset:rest_reset_main: "
                          "Failed to enqueue reset to defaults"));
}

TEST_F(MaintenanceCgi, ResetImageRefusesOtherMethods) {
  CgiAnswer answer = call("PUT", "1.2/reset_image");
  EXPECT_EQ(answer.exitCode, kFailureExit);
  EXPECT_EQ(answer.headers, kEmpty500);
  EXPECT_THAT(recordsOf(root_, "rest_reset_image"),
              ElementsAre("rest_reset_image err orvo_cgi: src/rest_reset_image:"
                          "rest_reset_image_main: Can not process PUT request"));
}

// The picture daemon breaks the connection instead of answering: no answer
// within the waits, still 200 with an empty "isp".
TEST_F(MaintenanceCgi, ResetImageWithoutAnAnswerIsEmpty) {
  BrokenDaemon isp(root_, "orvo_ispserver");
  CgiAnswer answer = call("GET", "1.1/reset_image");
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.headers, (Headers{{"Content-Type", "application/json"},
                                     {"Status", "200"},
                                     {"Connection", "close"}}));
  EXPECT_EQ(answer.body, R"({"isp":null})");
  EXPECT_TRUE(recordsOf(root_, "rest_reset_image").empty());
}

// The waits are 10 s each: a silent picture daemon holds the answer ~10 s
// (longer than the HTTP client's limit, so the program is called directly).
TEST_F(MaintenanceCgi, ResetImageWhoseDaemonStaysSilentAnswersEmpty) {
  StartedDaemon isp(root_, "orvo_ispserver");
  isp.control("silent", "on");
  auto const start = std::chrono::steady_clock::now();
  CgiAnswer answer = call("GET", "1.2/reset_image");
  auto const took = std::chrono::steady_clock::now() - start;
  EXPECT_GE(took, std::chrono::milliseconds(9900));
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, R"({"isp":null})");
}

TEST_F(MaintenanceCgi, ScanRefusesOtherMethods) {
  CgiAnswer answer = call("DELETE", "1.2/ap");
  EXPECT_EQ(answer.exitCode, kFailureExit);
  EXPECT_EQ(answer.headers, kEmpty500);
  EXPECT_THAT(recordsOf(root_, "rest_ap"),
              ElementsAre("rest_ap err orvo_cgi: src/rest_ap:rest_ap_main: "
                          "Cannot process DELETE request"));
}

TEST_F(MaintenanceCgi, FailedScanAnswers500) {
  BrokenDaemon network(root_, "orvo_networkd");
  CgiAnswer answer = call("GET", "1.0/ap");
  EXPECT_EQ(answer.exitCode, kFailureExit);
  EXPECT_EQ(answer.headers, kEmpty500);
  EXPECT_EQ(answer.body, "");
  EXPECT_THAT(recordsOf(root_, "rest_ap"),
              ElementsAre("rest_ap err orvo_cgi: src/utils:sendIpcBlockingWrapper: "
                          "Unable to send IPC to orvo_networkd",
                          "rest_ap err orvo_cgi: src/rest_ap:GetScanResults: "
                          "Failed to query ScanAP",
                          "rest_ap err orvo_cgi: src/rest_ap:rest_ap_main: Scanning failed"));
}

// Another process holds the scan's lock, as a scan under way does: 429 at
// once, and no scan is asked for (no daemon runs to be asked).
TEST_F(MaintenanceCgi, ScanWhileAnotherRunsAnswers429) {
  int fd = open(root_.file("/run/lock/orvo/rest_ap.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC,
                0644);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(flock(fd, LOCK_EX | LOCK_NB), 0);
  auto const start = std::chrono::steady_clock::now();
  CgiAnswer answer = call("GET", "1.2/ap");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  close(fd);
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.headers, (Headers{{"Status", "429"}, {"Connection", "close"}}));
  EXPECT_EQ(answer.body, "");
  EXPECT_THAT(recordsOf(root_, "rest_ap"),
              ElementsAre("rest_ap warning orvo_cgi: src/orvo_cgi:lock: 'rest_ap' is already running"));
}

}  // namespace
}  // namespace e2e
}  // namespace orvo
