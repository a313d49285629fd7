// The simulated camera behind BusyBox's httpd (`camsim up --server busybox`,
// chosen for this program by CTest's environment). BusyBox takes the status
// only from the CGI's first line and writes no reason phrase, starts the
// program by its full path (rest.cgi is the interpreter of ".cgi") and sets
// CONTENT_LENGTH for POST only.
#include <gtest/gtest.h>

#include <string>

#include "support/camera.h"
#include "support/session.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

using BusyboxHttp = SharedCameraTest;

HttpResponse login(SimulatedCamera const& camera, std::string const& password) {
  return camera.request({"POST", "/cgi-bin/rest.cgi?id=1.2/login",
                         {"Content-Type: application/json"}, credentials("admin", password)});
}

TEST_F(BusyboxHttp, TheCameraRunsBehindBusybox) {
  ASSERT_EQ(testWebServer(), "busybox");
  if (onVirtualCamera()) {
    EXPECT_EQ(runInVirtualCamera("pidof httpd").exitCode, 0);
    return;
  }
  ProcessResult status = runCamsim("status", camera().root().path());
  EXPECT_NE(status.out.find("busybox: running (pid"), std::string::npos) << status.out;
}

TEST_F(BusyboxHttp, VersionArrivesWithItsStatusAndHeaders) {
  HttpResponse response = camera().get("/cgi-bin/rest.cgi?id=1.2/version");
  EXPECT_EQ(response.statusLine, "HTTP/1.1 200");
  EXPECT_EQ(response.header("Content-Type"), "application/json");
  EXPECT_FALSE(response.header("Status").has_value());
  EXPECT_EQ(response.body, "{\"version\":\"1.2\"}");
}

TEST_F(BusyboxHttp, RefusalsArriveAsSuch) {
  HttpResponse unauthorised = camera().get("/cgi-bin/rest.cgi?id=1.2/status");
  EXPECT_EQ(unauthorised.statusLine, "HTTP/1.1 401");
  EXPECT_EQ(unauthorised.body, "");
  HttpResponse unknown = camera().get("/cgi-bin/rest.cgi?id=1.2/foo");
  EXPECT_EQ(unknown.statusLine, "HTTP/1.1 500");
  EXPECT_FALSE(unknown.header("Status").has_value());
  EXPECT_TRUE(logged("orvo_cgi err orvo_cgi: src/rest:processRestRequest: "
                     "No RESTful service called 'foo' is registered"));
}

TEST_F(BusyboxHttp, LockdownArrivesAs423) {
  for (int i = 0; i < 5; ++i) EXPECT_EQ(login(camera(), "bad").statusLine, "HTTP/1.1 401");
  HttpResponse locked = login(camera(), "admin");
  EXPECT_EQ(locked.statusLine, "HTTP/1.1 423");
  EXPECT_EQ(locked.body, "");
  moveClock("+301");
  EXPECT_EQ(login(camera(), "admin").status, 200);
}

// A PUT's body reaches the program: its length comes from the client's header.
TEST_F(BusyboxHttp, SettingsWriteThroughPut) {
  HttpResponse opened = login(camera(), "admin");
  ASSERT_EQ(opened.status, 200) << opened.body;
  std::string const cookie = "Cookie: authId=" + cookieId(opened.header("Set-Cookie").value_or(""));
  HttpResponse written = camera().request({"PUT", "/api/1.2/settings",
                                           {cookie, "Content-Type: application/json"},
                                           std::string(R"({"isp":{"contrast":61}})")});
  ASSERT_EQ(written.status, 200) << written.body;
  HttpResponse read = camera().request({"GET", "/api/1.2/settings", {cookie}, {}});
  ASSERT_EQ(read.status, 200);
  EXPECT_NE(read.body.find("\"contrast\":61"), std::string::npos) << read.body;
}

TEST_F(BusyboxHttp, StaticFilesAndTheReferenceAreServed) {
  camera().root().write("/www/index.html", "<p>console</p>\n");
  keep({"/www/index.html"});
  HttpResponse page = camera().get("/");
  EXPECT_EQ(page.status, 200);
  EXPECT_EQ(page.body, "<p>console</p>\n");
  HttpResponse reference = camera().get("/docs/");
  EXPECT_EQ(reference.status, 200);
  EXPECT_NE(reference.body.find("<html"), std::string::npos);
}

}  // namespace
}  // namespace test
}  // namespace orvo
