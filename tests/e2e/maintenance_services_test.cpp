// The services endpoint: run directly against a camera root whose service
// list the test writes (no control server: a start or stop cannot be
// delivered), and through lighttpd with the simulated control server.
#include <gtest/gtest.h>

#include <chrono>

#include "messages/daemons.h"
#include "support/camera.h"
#include "support/json.h"
#include "support/poll.h"
#include "support/session.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

constexpr char kServices[] = "1.2/services";
constexpr char kList[] = "/var/run/services.json";
constexpr char kSendWarning[] =
    "rest_service warning orvo_cgi: src/rest_services:handle_put: Unable to send IPC request";

constexpr char kFourServices[] = R"({"services": [
    {"name": "http", "running": true}, {"name": "ssh", "running": false},
    {"name": "ntp", "running": true}, {"name": "rtsp", "running": "unknown"}]})";

// Direct runs in one shared root without a control server; each test's
// service list is put back, and its log starts after its login.
class ServicesCgi : public SharedRootTest {
 protected:
  void SetUp() override {
    if (onVirtualCamera()) GTEST_SKIP() << kDirectRun;
    keep({kList});
    cookie_ = cgiSessionCookie(root_);
    markLog();
  }
  CgiResult call(std::string const& method, std::string const& id = kServices,
                 std::string const& body = "") {
    return callCgi(root_, {method, id, body, "10.1.2.3", cookie_});
  }

  CameraRoot const& root_ = sharedRoot_;
  std::string cookie_;
};

// The daemons these need: the control server, and the two a login asks
// (its answer holds the status). The list the control server publishes is
// put back with its state.
class ServicesHttp : public SharedCameraTest {
 protected:
  ServicesHttp()
      : SharedCameraTest(
            {orvo::daemons::kCtlServer, orvo::daemons::kNetworkd, orvo::daemons::kAvclient}) {}
  void SetUp() override { keep({kList}); }
  SimulatedCamera const& camera_ = camera();
};

TEST_F(ServicesCgi, GetListsEveryReadableServiceButHttp) {
  root_.write(kList, kFourServices);
  CgiResult answer = call("GET");
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.header("Content-Type"), "application/json");
  EXPECT_EQ(answer.body, R"({"ntp":true,"ssh":false})");
  EXPECT_EQ(logSummaries(), std::vector<std::string>{
                                 "rest_service err orvo_cgi: src/rest_services:handle_get: "
                                 "Failed to get rtsp status"});
}

TEST_F(ServicesCgi, OnlyHttpListedAnswersEmptyObject) {
  root_.write(kList, R"({"services": [{"name": "http", "running": true}]})");
  CgiResult answer = call("GET");
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, "{}");
}

TEST_F(ServicesCgi, NoListAnswersEmptyObject) {
  CgiResult answer = call("GET");
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, "{}");
}

// Nothing is sent for "http" nor for a value that is not a boolean: no
// delivery failure is logged although no control server runs.
TEST_F(ServicesCgi, PutLeavesHttpAndNonBooleansAlone) {
  root_.write(kList, kFourServices);
  for (char const* body : {R"({"http": false})", R"({"ssh": "true", "ntp": 0, "rtsp": null})",
                           R"({"unknown": true})", "{}"}) {
    CgiResult answer = call("PUT", kServices, body);
    EXPECT_EQ(answer.exitCode, 0) << body;
    EXPECT_EQ(answer.status, "200") << body;
    EXPECT_EQ(answer.body, "") << body;
  }
  EXPECT_EQ(logSummaries(), std::vector<std::string>{});
}

// Best effort: each undelivered request is a warning and the next one is
// still tried; the answer is 200.
TEST_F(ServicesCgi, PutWithoutControlServerWarnsPerServiceAndAnswers200) {
  root_.write(kList, kFourServices);
  CgiResult answer = call("PUT", kServices, R"({"http": false, "ssh": true, "ntp": false})");
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, "");
  std::size_t warnings = 0;
  for (std::string const& line : logSummaries()) warnings += line == kSendWarning;
  EXPECT_EQ(warnings, 2u);
}

TEST_F(ServicesCgi, OtherMethodsAnswerThePreset500) {
  root_.write(kList, kFourServices);
  for (char const* method : {"POST", "DELETE"}) {
    CgiResult answer = call(method);
    EXPECT_EQ(answer.exitCode, 0) << method;
    EXPECT_EQ(answer.status, "500") << method;
    EXPECT_EQ(answer.body, "") << method;
    EXPECT_TRUE(logged(std::string("rest_service err orvo_cgi: src/rest_services:"
                                          "rest_services_main: Unsupported method '") +
                                  method + "'"));
  }
}

TEST_F(ServicesCgi, OnlyVersion12) {
  root_.write(kList, kFourServices);
  EXPECT_EQ(call("GET", "1.1/services").status, "500");
}

// Starts and stops are not answered: the control server applies them
// shortly after the PUT. The GETs until the list reads `expected` (at most
// five seconds); the last answer's body.
std::string servicesOnceSettled(SimulatedCamera const& camera, std::string const& cookie,
                                std::string const& expected) {
  std::string body;
  eventually(
      [&] {
        HttpResponse answer = camera.request({"GET", "/api/1.2/services", {cookie}, {}});
        EXPECT_EQ(answer.status, 200);
        body = answer.body;
        return body == expected;
      },
      std::chrono::seconds(5), std::chrono::milliseconds(100));
  return body;
}

HttpResponse putServices(SimulatedCamera const& camera, std::string const& cookie,
                         std::string const& body) {
  return camera.request(
      {"PUT", "/api/1.2/services", {cookie, "Content-Type: application/json"}, body});
}

TEST_F(ServicesHttp, StartAndStopShowInTheNextGet) {
  SimulatedCamera const& camera = camera_;
  std::string const cookie = sessionCookie(camera);
  HttpResponse answer = camera.request({"GET", "/api/1.2/services", {cookie}, {}});
  ASSERT_EQ(answer.status, 200);
  EXPECT_EQ(answer.header("Content-Type"), "application/json");
  EXPECT_EQ(answer.body, R"({"ntp":true,"rtsp":false,"ssh":false,"upnp":false})");

  answer = putServices(camera, cookie,
                       R"({"ssh": true, "ntp": false, "http": false, "rtsp": "true"})");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "");
  char const* const sshOnNtpOff = R"({"ntp":false,"rtsp":false,"ssh":true,"upnp":false})";
  EXPECT_EQ(servicesOnceSettled(camera, cookie, sshOnNtpOff), sshOnNtpOff);
  // The web server's own service was left running.
  orvo::variant::Variant state = daemonState(camera.root(), "orvo_ctlserver");
  EXPECT_EQ(text(state, "services/http"), "true");
  EXPECT_EQ(text(state, "services/ssh"), "true");

  putServices(camera, cookie, R"({"ssh": false})");
  char const* const allOff = R"({"ntp":false,"rtsp":false,"ssh":false,"upnp":false})";
  EXPECT_EQ(servicesOnceSettled(camera, cookie, allOff), allOff);
}

TEST_F(ServicesHttp, ControlServerDownStill200AndNothingChanges) {
  SimulatedCamera const& camera = camera_;
  std::string const cookie = sessionCookie(camera);
  control(orvo::daemons::kCtlServer, {"stop"});
  HttpResponse answer = putServices(camera, cookie, R"({"ssh": true})");
  EXPECT_EQ(answer.status, 200);
  EXPECT_TRUE(logged(kSendWarning));
  // The list stays as last published.
  answer = camera.request({"GET", "/api/1.2/services", {cookie}, {}});
  EXPECT_EQ(answer.body, R"({"ntp":true,"rtsp":false,"ssh":false,"upnp":false})");
}

}  // namespace
}  // namespace test
}  // namespace orvo
