// The reboot, reset, picture-reset and wireless-scan endpoints run directly
// as CGI programs in one shared root: methods, refusals and failing daemons.
// No daemon runs unless a test starts a stand-in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "support/camera.h"
#include "support/session.h"
#include "support/stand_ins.h"

namespace orvo {
namespace test {
namespace {

using ::testing::ElementsAre;
using Headers = std::vector<std::pair<std::string, std::string>>;

constexpr int kFailureExit = 255;  // the program's -1
Headers const kEmpty500{{"Status", "500"}, {"Connection", "close"}};
Headers const kEmpty200{{"Status", "200"}, {"Connection", "close"}};

class MaintenanceCgi : public SharedRootTest {
 protected:
  void SetUp() override {
    cookie_ = cgiSessionCookie(root_);
    markLog();
  }
  CgiResult call(std::string const& method, std::string const& id) {
    return callCgi(root_, {method, id, "", "10.1.2.3", cookie_});
  }
  // The program's own records ("orvo_cgi") logged under `identity`.
  std::vector<std::string> recordsOf(std::string const& identity) const {
    std::vector<std::string> out;
    for (std::string const& line : logSummaries()) {
      if (line.rfind(identity + " ", 0) == 0 && line.find(" orvo_cgi: ") != std::string::npos) {
        out.push_back(line);
      }
    }
    return out;
  }

  CameraRoot const& root_ = sharedRoot_;
  std::string cookie_;
};

// A reboot starts the camera's restart tool, which acts a moment after the
// answer: these get a root of their own, so that no restart reaches the
// daemons another test starts in the shared one.
class MaintenanceCgiReboot : public ::testing::Test {
 protected:
  CgiResult call(std::string const& method, std::string const& id, std::string const& cookie) {
    return callCgi(root_, {method, id, "", "10.1.2.3", cookie});
  }

  CameraRoot root_{CameraRoot::Layout::kCamsim};
  std::string cookie_ = cgiSessionCookie(root_);
  LogMark log_{root_};
};

TEST_F(MaintenanceCgiReboot, RebootAnswers200ToEveryMethod) {
  for (char const* method : {"GET", "PUT", "DELETE", "POST", "PATCH"}) {
    CgiResult answer = call(method, "1.2/reboot", cookie_);
    EXPECT_EQ(answer.exitCode, 0) << method;
    EXPECT_EQ(answer.headers, kEmpty200) << method;
    EXPECT_EQ(answer.body, "") << method;
  }
  for (std::string const& line : log_.summaries()) EXPECT_NE(line.rfind("rest_reboot ", 0), 0u) << line;
}

TEST_F(MaintenanceCgiReboot, RebootNeedsASession) {
  CgiResult answer = call("GET", "1.2/reboot", "authId=unknown");
  EXPECT_EQ(answer.status, "401");
  EXPECT_EQ(call("GET", "1.1/reboot", cookie_).status, "200");
}

TEST_F(MaintenanceCgi, ResetRefusesOtherMethods) {
  CgiResult answer = call("POST", "1.2/reset");
  EXPECT_EQ(answer.exitCode, kFailureExit);
  EXPECT_EQ(answer.headers, kEmpty500);
  EXPECT_EQ(answer.body, "");
  EXPECT_THAT(recordsOf("rest_reset"),
              ElementsAre("rest_reset err orvo_cgi: src/rest_reset:rest_reset_main: "
                          "Can not process POST request"));
}

// Nothing listens as the control server: the one delivery attempt fails.
TEST_F(MaintenanceCgi, ResetNotQueuedAnswers500) {
  auto const start = std::chrono::steady_clock::now();
  CgiResult answer = call("GET", "1.2/reset");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  EXPECT_EQ(answer.exitCode, kFailureExit);
  EXPECT_EQ(answer.headers, kEmpty500);
  EXPECT_THAT(recordsOf("rest_reset"),
              ElementsAre("rest_reset err orvo_cgi: src/utils:sendIpcBlockingWrapper: "
                          "Unable to send IPC to orvo_ctlserver",
                          "rest_reset err orvo_cgi: src/rest_reset:rest_reset_main: "
                          "Failed to enqueue reset to defaults"));
}

TEST_F(MaintenanceCgi, ResetImageRefusesOtherMethods) {
  CgiResult answer = call("PUT", "1.2/reset_image");
  EXPECT_EQ(answer.exitCode, kFailureExit);
  EXPECT_EQ(answer.headers, kEmpty500);
  EXPECT_THAT(recordsOf("rest_reset_image"),
              ElementsAre("rest_reset_image err orvo_cgi: src/rest_reset_image:"
                          "rest_reset_image_main: Can not process PUT request"));
}

// The picture daemon breaks the connection instead of answering: no answer
// within the waits, still 200 with an empty "isp".
TEST_F(MaintenanceCgi, ResetImageWithoutAnAnswerIsEmpty) {
  BrokenDaemon isp(root_, "orvo_ispserver");
  CgiResult answer = call("GET", "1.1/reset_image");
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.headers, (Headers{{"Status", "200"},
                                     {"Content-Type", "application/json"},
                                     {"Connection", "close"}}));
  EXPECT_EQ(answer.body, R"({"isp":null})");
  EXPECT_TRUE(recordsOf("rest_reset_image").empty());
}

// The waits are 10 s each: a silent picture daemon holds the answer ~10 s
// (longer than the HTTP client's limit, so the program is called directly).
TEST_F(MaintenanceCgi, ResetImageWhoseDaemonStaysSilentAnswersEmpty) {
  StartedDaemon isp(root_, "orvo_ispserver");
  isp.control("silent", "on");
  auto const start = std::chrono::steady_clock::now();
  CgiResult answer = call("GET", "1.2/reset_image");
  auto const took = std::chrono::steady_clock::now() - start;
  EXPECT_GE(took, std::chrono::milliseconds(9900));
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, R"({"isp":null})");
}

TEST_F(MaintenanceCgi, ScanRefusesOtherMethods) {
  CgiResult answer = call("DELETE", "1.2/ap");
  EXPECT_EQ(answer.exitCode, kFailureExit);
  EXPECT_EQ(answer.headers, kEmpty500);
  EXPECT_THAT(recordsOf("rest_ap"),
              ElementsAre("rest_ap err orvo_cgi: src/rest_ap:rest_ap_main: "
                          "Cannot process DELETE request"));
}

TEST_F(MaintenanceCgi, FailedScanAnswers500) {
  BrokenDaemon network(root_, "orvo_networkd");
  CgiResult answer = call("GET", "1.0/ap");
  EXPECT_EQ(answer.exitCode, kFailureExit);
  EXPECT_EQ(answer.headers, kEmpty500);
  EXPECT_EQ(answer.body, "");
  EXPECT_THAT(recordsOf("rest_ap"),
              ElementsAre("rest_ap err orvo_cgi: src/utils:sendIpcBlockingWrapper: "
                          "Unable to send IPC to orvo_networkd",
                          "rest_ap err orvo_cgi: src/rest_ap:GetScanResults: "
                          "Failed to query ScanAP",
                          "rest_ap err orvo_cgi: src/rest_ap:rest_ap_main: Scanning failed"));
}

// Another process holds the scan's lock, as a scan under way does: 429 at
// once, and no scan is asked for (no daemon runs to be asked).
TEST_F(MaintenanceCgi, ScanWhileAnotherRunsAnswers429) {
  HeldNamedLock scan(root_, "rest_ap");
  auto const start = std::chrono::steady_clock::now();
  CgiResult answer = call("GET", "1.2/ap");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  scan.release();
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.headers, (Headers{{"Status", "429"}, {"Connection", "close"}}));
  EXPECT_EQ(answer.body, "");
  EXPECT_THAT(recordsOf("rest_ap"),
              ElementsAre("rest_ap warning orvo_cgi: src/orvo_cgi:lock: 'rest_ap' is already running"));
}

}  // namespace
}  // namespace test
}  // namespace orvo
