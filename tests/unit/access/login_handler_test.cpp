// The login handler called directly, for what the registry never lets
// through (an endpoint other than login or logout).
#include <gtest/gtest.h>

#include "../cgi/cgi_test_support.h"
#include "entry/handlers.h"

namespace {

int callLoginHandler(std::string const& endpoint) {
  CGIRequest request;
  CGIResponse response(request, "application/json");
  response.SetHttpHeader("Status", "500");
  return rest_login_main(request, response, "1.2", endpoint, "");
}

TEST(LoginHandler, RefusesAnEndpointOtherThanLoginOrLogout) {
  cgitest::CgiResult run = cgitest::runAsCgi(
      {{"REQUEST_METHOD", "POST"}, {"REMOTE_ADDR", "10.0.0.1"}, {"QUERY_STRING", "id=1.2/x"}}, "",
      [] { return callLoginHandler("session"); });
  EXPECT_EQ(run.returned(), -1);
  auto const records =
      orvo::test::withText(run.log, "Unknown service 'session' passed to login/logout handler");
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].identity, "rest_login");
  EXPECT_EQ(records[0].file, "src/rest_login");
  EXPECT_EQ(records[0].function, "rest_login_main");
  EXPECT_EQ(run.out, "Status: 500\r\nConnection: close\r\n\r\n");
}

TEST(LoginHandler, RefusesPutBeforeLookingAtTheEndpoint) {
  cgitest::CgiResult run = cgitest::runAsCgi(
      {{"REQUEST_METHOD", "PUT"}, {"REMOTE_ADDR", "10.0.0.1"}}, "",
      [] { return callLoginHandler("login"); });
  EXPECT_EQ(run.returned(), -1);
  EXPECT_TRUE(cgitest::logged(run, "Cannot process 'PUT' request"));
  EXPECT_FALSE(cgitest::logged(run, "Authenticate failed"));
}

}  // namespace
