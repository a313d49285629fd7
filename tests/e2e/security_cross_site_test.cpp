// Requests a browser marks as coming from another site or origin: every
// endpoint that can change the camera refuses them with 403 before it looks
// at any credential, whatever the method; reading endpoints and clients
// that say nothing (curl, a controller) are served as before.
#include <gtest/gtest.h>

#include "support/camera.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

using SecurityCrossSite = SharedRootTest;

struct Operation {
  char const* method;
  char const* id;
};

constexpr Operation kChangingOperations[] = {
    {"POST", "1.2/login"},    {"POST", "1.2/logout"},     {"GET", "1.2/settings"},
    {"PUT", "1.2/settings"},  {"GET", "1.2/setup"},       {"PUT", "1.2/setup"},
    {"POST", "1.2/manage"},   {"GET", "1.2/manage"},      {"GET", "1.2/connect"},
    {"POST", "1.2/connect"},  {"POST", "1.2/firmware"},   {"POST", "1.2/check"},
    {"GET", "1.2/upgrade"},   {"GET", "1.2/services"},    {"PUT", "1.2/services"},
    {"GET", "1.2/reboot"},    {"POST", "1.2/reboot"},     {"PUT", "1.2/reboot"},
    {"DELETE", "1.2/reboot"}, {"GET", "1.2/reset"},       {"GET", "1.2/reset_image"},
    {"GET", "1.2/ap"},
};

// A logged-in browser's request, marked as the browser marks it.
CgiResult fromBrowser(CameraRoot const& root, Operation const& op, std::string const& cookie,
                      Environment const& marks) {
  Environment env{{"REQUEST_METHOD", op.method},
                  {"QUERY_STRING", std::string("id=") + op.id},
                  {"REMOTE_ADDR", "10.1.2.3"},
                  {"HTTP_COOKIE", cookie}};
  env.insert(marks.begin(), marks.end());
  std::string body;
  if (std::string(op.method) == "POST" || std::string(op.method) == "PUT") {
    body = credentials("admin", "admin");
    env["CONTENT_TYPE"] = "application/json";
    env["CONTENT_LENGTH"] = std::to_string(body.size());
  }
  return runCgi(root, env, body);
}

std::string endpointOf(char const* id) { return std::string(id).substr(4); }

TEST_F(SecurityCrossSite, EveryChangingOperationRefusesAnotherSiteWith403) {
  std::string const cookie = cgiSessionCookie(sharedRoot_);
  Environment const marks{{"HTTP_SEC_FETCH_SITE", "cross-site"},
                          {"HTTP_ORIGIN", "http://evil.example"},
                          {"HTTP_HOST", "10.0.0.1"}};
  for (Operation const& op : kChangingOperations) {
    SCOPED_TRACE(std::string(op.method) + " " + op.id);
    LogMark const mark(sharedRoot_);
    CgiResult answer = fromBrowser(sharedRoot_, op, cookie, marks);
    EXPECT_EQ(answer.out, "Status: 403\r\nConnection: close\r\n\r\n");
    EXPECT_EQ(answer.returned(), -1);
    std::vector<std::string> expected;
    if (std::string(op.method) == "DELETE") {
      expected.push_back("orvo_cgi warning orvo_cgi: src/orvo_cgi:Parse: Unsupported method 'DELETE'");
    }
    expected.push_back(
        "orvo_cgi warning orvo_cgi: src/rest:processRestRequest: Cross-site request to '" +
        endpointOf(op.id) +
        "' refused (Sec-Fetch-Site 'cross-site', Origin 'http://evil.example', Host '10.0.0.1')");
    EXPECT_EQ(mark.summaries(), expected);
  }
  // No password was checked, so none counted towards the lockdown.
  EXPECT_TRUE(readBtmp(sharedRoot_).empty());
}

TEST_F(SecurityCrossSite, AnotherPortOfTheSameAddressIsRefused) {
  std::string const cookie = cgiSessionCookie(sharedRoot_);
  // Same site (the port is not part of it), another origin.
  for (Environment const& marks :
       {Environment{{"HTTP_SEC_FETCH_SITE", "same-site"}},
        Environment{{"HTTP_ORIGIN", "http://10.0.0.1:8081"}, {"HTTP_HOST", "10.0.0.1:8080"}},
        Environment{{"HTTP_ORIGIN", "null"}, {"HTTP_HOST", "10.0.0.1"}}}) {
    CgiResult answer = fromBrowser(sharedRoot_, {"GET", "1.2/reset"}, cookie, marks);
    EXPECT_EQ(answer.status, "403");
    EXPECT_EQ(answer.body, "");
  }
}

TEST_F(SecurityCrossSite, SameOriginAndSilentClientsGoOn) {
  std::string const cookie = cgiSessionCookie(sharedRoot_);
  for (Environment const& marks :
       {Environment{},
        Environment{{"HTTP_SEC_FETCH_SITE", "same-origin"},
                    {"HTTP_ORIGIN", "http://10.0.0.1:8080"},
                    {"HTTP_HOST", "10.0.0.1:8080"}},
        Environment{{"HTTP_SEC_FETCH_SITE", "none"}}}) {
    // Past the check and the session: the daemons are not running here.
    CgiResult answer = fromBrowser(sharedRoot_, {"GET", "1.2/services"}, cookie, marks);
    EXPECT_EQ(answer.status, "200") << answer.out;
  }
}

TEST_F(SecurityCrossSite, ReadingEndpointsServeAnotherSite) {
  std::string const cookie = cgiSessionCookie(sharedRoot_);
  Environment const marks{{"HTTP_SEC_FETCH_SITE", "cross-site"}};
  EXPECT_EQ(fromBrowser(sharedRoot_, {"GET", "1.2/version"}, cookie, marks).status, "200");
  EXPECT_EQ(fromBrowser(sharedRoot_, {"GET", "0.1/status"}, cookie, marks).status, "200");
  EXPECT_EQ(fromBrowser(sharedRoot_, {"GET", "1.2/syslog"}, cookie, marks).status, "200");
}

}  // namespace
}  // namespace test
}  // namespace orvo
