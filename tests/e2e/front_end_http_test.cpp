// The request front end through the simulated camera's web server: lighttpd
// (or BusyBox's httpd) runs rest.cgi as a CGI program, turns its Status header
// into the HTTP status line and hands ORVO_ROOT to it, so records land in the
// camera's log.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/camera.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kVersionBody[] = "{\"version\":\"1.2\"}";

std::string dispatcherRecord(std::string const& level, std::string const& text) {
  return "orvo_cgi " + level + " orvo_cgi: src/rest:processRestRequest: " + text;
}

using FrontEndHttp = SharedCameraTest;

// The CGI's own headers arrive; its Status header became the status line.
void expectVersionAnswer(HttpResponse const& response) {
  EXPECT_EQ(response.statusLine, statusLineOf(200));
  EXPECT_EQ(response.header("Content-Type"), "application/json");
  // lighttpd counts the body; BusyBox's httpd sends it as it comes and closes.
  if (testWebServer() == "lighttpd") {
    EXPECT_EQ(response.header("Content-Length"), std::to_string(sizeof kVersionBody - 1));
  }
  EXPECT_FALSE(response.header("Status").has_value());
  EXPECT_EQ(response.body, kVersionBody);
}

void expectEmpty500(HttpResponse const& response) {
  EXPECT_EQ(response.statusLine, statusLineOf(500));
  EXPECT_FALSE(response.header("Content-Type").has_value());
  EXPECT_FALSE(response.header("Status").has_value());
  EXPECT_EQ(response.body, "");
}

TEST_F(FrontEndHttp, VersionThroughTheCgiPath) {
  expectVersionAnswer(camera().get("/cgi-bin/rest.cgi?id=1.2/version"));
  EXPECT_THAT(logSummaries(), IsEmpty());
}

TEST_F(FrontEndHttp, VersionThroughTheApiPath) {
  expectVersionAnswer(camera().get("/api/1.2/version"));
  EXPECT_THAT(logSummaries(), IsEmpty());
}

TEST_F(FrontEndHttp, ApiPathKeepsAFurtherQuery) {
  // /api/1.2/version?a=b is ?id=1.2/version&a=b: the request string runs to the end.
  expectEmpty500(camera().get("/api/1.2/version?a=b"));
  EXPECT_THAT(logSummaries(),
              ElementsAre(dispatcherRecord("err", "No RESTful service called 'version&a=b' is registered")));
}

TEST_F(FrontEndHttp, UnknownEndpointAnswers500AndIsLoggedInTheRoot) {
  expectEmpty500(camera().get("/cgi-bin/rest.cgi?id=1.2/foo"));
  EXPECT_THAT(logSummaries(),
              ElementsAre(dispatcherRecord("err", "No RESTful service called 'foo' is registered")));
}

TEST_F(FrontEndHttp, PostToVersionAnswers500) {
  expectEmpty500(camera().request({"POST", "/api/1.2/version", {"Content-Type: text/plain"}, "x=1"}));
  EXPECT_THAT(logSummaries(),
              ElementsAre("rest_version err orvo_cgi: src/rest_version:rest_version_main: "
                          "Cannot process POST request"));
}

TEST_F(FrontEndHttp, OptionsAnswers200WithoutBody) {
  HttpResponse response = camera().request({"OPTIONS", "/api/1.2/status", {}, {}});
  EXPECT_EQ(response.statusLine, statusLineOf(200));
  EXPECT_FALSE(response.header("Content-Type").has_value());
  EXPECT_EQ(response.body, "");
  EXPECT_THAT(logSummaries(),
              ElementsAre("orvo_cgi warning orvo_cgi: src/orvo_cgi:Parse: Unsupported method 'OPTIONS'"));
}

TEST_F(FrontEndHttp, UnauthenticatedRequestAnswers401WithTheClientAddress) {
  HttpResponse response = camera().get("/api/1.2/status");
  EXPECT_EQ(response.statusLine, statusLineOf(401));
  EXPECT_EQ(response.body, "");
  EXPECT_THAT(logSummaries(),
              ElementsAre("orvo_cgi info orvo_cgi: src/rest:authenticate: No way to authenticate the "
                          "request: Method 'GET', remote addr '" +
                              clientAddress() + "'",
                          dispatcherRecord("err", "Not yet authenticated to process 'status' request")));
}

}  // namespace
}  // namespace test
}  // namespace orvo
