// The services endpoint: run directly against a camera root whose service
// list the test writes (no control server: a start or stop cannot be
// delivered), and through lighttpd with the simulated control server.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "camera_support.h"
#include "harness/http.h"
#include "maintenance_calls.h"

namespace orvo {
namespace e2e {
namespace {

constexpr char kServices[] = "1.2/services";
constexpr char kList[] = "/var/run/services.json";
constexpr char kSendWarning[] =
    "rest_service warning orvo_cgi: src/rest_services:handle_put: Unable to send IPC request";

constexpr char kFourServices[] = R"({"services": [
    {"name": "http", "running": true}, {"name": "ssh", "running": false},
    {"name": "ntp", "running": true}, {"name": "rtsp", "running": "unknown"}]})";

TEST(ServicesCgi, GetListsEveryReadableServiceButHttp) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, kList, kFourServices);
  CgiAnswer answer = callWithSession(root, cookie, "GET", kServices);
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.headers["Content-Type"], "application/json");
  EXPECT_EQ(answer.body, R"({"ntp":true,"ssh":false})");
  EXPECT_EQ(summaries(root), std::vector<std::string>{
                                 "rest_service err orvo_cgi: src/rest_services:handle_get: "
                                 "Failed to get rtsp status"});
}

TEST(ServicesCgi, OnlyHttpListedAnswersEmptyObject) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, kList, R"({"services": [{"name": "http", "running": true}]})");
  CgiAnswer answer = callWithSession(root, cookie, "GET", kServices);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, "{}");
}

TEST(ServicesCgi, NoListAnswersEmptyObject) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  CgiAnswer answer = callWithSession(root, cookie, "GET", kServices);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, "{}");
}

// Nothing is sent for "http" nor for a value that is not a boolean: no
// delivery failure is logged although no control server runs.
TEST(ServicesCgi, PutLeavesHttpAndNonBooleansAlone) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, kList, kFourServices);
  for (char const* body : {R"({"http": false})", R"({"ssh": "true", "ntp": 0, "rtsp": null})",
                           R"({"unknown": true})", "{}"}) {
    CgiAnswer answer = callWithSession(root, cookie, "PUT", kServices, body);
    EXPECT_EQ(answer.exitCode, 0) << body;
    EXPECT_EQ(answer.status, "200") << body;
    EXPECT_EQ(answer.body, "") << body;
  }
  EXPECT_EQ(summaries(root), std::vector<std::string>{});
}

// Best effort: each undelivered request is a warning and the next one is
// still tried; the answer is 200.
TEST(ServicesCgi, PutWithoutControlServerWarnsPerServiceAndAnswers200) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, kList, kFourServices);
  CgiAnswer answer = callWithSession(root, cookie, "PUT", kServices,
                                     R"({"http": false, "ssh": true, "ntp": false})");
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, "");
  std::size_t warnings = 0;
  for (std::string const& line : summaries(root)) warnings += line == kSendWarning;
  EXPECT_EQ(warnings, 2u);
}

TEST(ServicesCgi, OtherMethodsAnswerThePreset500) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, kList, kFourServices);
  for (char const* method : {"POST", "DELETE"}) {
    CgiAnswer answer = callWithSession(root, cookie, method, kServices);
    EXPECT_EQ(answer.exitCode, 0) << method;
    EXPECT_EQ(answer.status, "500") << method;
    EXPECT_EQ(answer.body, "") << method;
    EXPECT_TRUE(hasLine(root, std::string("rest_service err orvo_cgi: src/rest_services:"
                                          "rest_services_main: Unsupported method '") +
                                  method + "'"));
  }
}

TEST(ServicesCgi, OnlyVersion12) {
  CameraRoot root;
  std::string const cookie = directSessionCookie(root);
  writeDeviceFile(root, kList, kFourServices);
  EXPECT_EQ(callWithSession(root, cookie, "GET", "1.1/services").status, "500");
}

// Starts and stops are not answered: the control server applies them
// shortly after the PUT. The GETs until the list reads `expected` (at most
// five seconds); the last answer's body.
std::string servicesOnceSettled(SimulatedCamera const& camera, std::string const& cookie,
                                std::string const& expected) {
  std::string body;
  for (int tries = 0; tries < 50; ++tries) {
    HttpResponse answer = camera.request({"GET", "/api/1.2/services", {cookie}, {}});
    EXPECT_EQ(answer.status, 200);
    body = answer.body;
    if (body == expected) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  return body;
}

HttpResponse putServices(SimulatedCamera const& camera, std::string const& cookie,
                         std::string const& body) {
  return camera.request(
      {"PUT", "/api/1.2/services", {cookie, "Content-Type: application/json"}, body});
}

TEST(ServicesHttp, StartAndStopShowInTheNextGet) {
  SimulatedCamera camera;
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
  orvo::variant::Variant state = daemonState(camera, "orvo_ctlserver");
  EXPECT_EQ(text(state, "services/http"), "true");
  EXPECT_EQ(text(state, "services/ssh"), "true");

  putServices(camera, cookie, R"({"ssh": false})");
  char const* const allOff = R"({"ntp":false,"rtsp":false,"ssh":false,"upnp":false})";
  EXPECT_EQ(servicesOnceSettled(camera, cookie, allOff), allOff);
}

TEST(ServicesHttp, ControlServerDownStill200AndNothingChanges) {
  SimulatedCamera camera;
  std::string const cookie = sessionCookie(camera);
  control(camera, {"orvo_ctlserver", "stop"});
  HttpResponse answer = putServices(camera, cookie, R"({"ssh": true})");
  EXPECT_EQ(answer.status, 200);
  EXPECT_TRUE(hasLine(camera.root(), kSendWarning));
  // The list stays as last published.
  answer = camera.request({"GET", "/api/1.2/services", {cookie}, {}});
  EXPECT_EQ(answer.body, R"({"ntp":true,"rtsp":false,"ssh":false,"upnp":false})");
}

}  // namespace
}  // namespace e2e
}  // namespace orvo
