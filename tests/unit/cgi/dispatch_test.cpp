// The endpoint registry and the dispatcher's path through one request.
#include <gtest/gtest.h>

#include "cgi_test_support.h"
#include "handlers.h"
#include "rest.h"
#include "rest_auth.h"

using cgitest::Captured;
using cgitest::logged;
using cgitest::runAsCgi;

namespace {

Captured dispatch(std::string const& method, std::string const& request) {
  return runAsCgi({{"REQUEST_METHOD", method}, {"QUERY_STRING", "id=" + request}}, "",
                  [request] { return processRestRequest(request); });
}

uint32_t maskOf(std::vector<RestAuthenticator> const& list) {
  uint32_t mask = 0;
  for (RestAuthenticator a : list) {
    if (a == AuthenticateNone) mask |= kAuthNone;
    if (a == AuthenticateByPassword) mask |= kAuthPassword;
    if (a == AuthenticateByAuthToken) mask |= kAuthToken;
    if (a == AuthenticateBySession) mask |= kAuthSession;
  }
  return mask;
}

}  // namespace

TEST(Registry, HoldsNineteenEndpointsWhoseMasksMatchTheirAuthenticators) {
  RestRegistry registry;
  buildRestRegistry(registry);
  EXPECT_EQ(registry.size(), 19u);
  for (auto const& entry : registry) {
    EXPECT_EQ(entry.second.authMask, maskOf(entry.second.authenticators)) << entry.first;
    EXPECT_NE(entry.second.handler, nullptr) << entry.first;
  }
  std::vector<RestAuthenticator> const closedThree = {AuthenticateByPassword, AuthenticateBySession,
                                                      AuthenticateByAuthToken};
  for (char const* name : {"connect", "manage", "snapshot"}) {
    EXPECT_EQ(registry[name].authenticators, closedThree) << name;
    EXPECT_EQ(registry[name].authMask, 28u) << name;
  }
  EXPECT_EQ(registry["login"].handler, registry["logout"].handler);
  EXPECT_EQ(registry["services"].versions, std::vector<std::string>{"1.2"});
  EXPECT_EQ(registry["manage"].versions, std::vector<std::string>{"1.2"});
  EXPECT_EQ(registry["reset_image"].versions, (std::vector<std::string>{"1.2", "1.1"}));
  EXPECT_EQ(registry["status"].versions, (std::vector<std::string>{"1.2", "1.1", "1.0", "0.1"}));
  EXPECT_EQ(registry["version"].versions, (std::vector<std::string>{"1.2", "1.1", "1.0"}));
  EXPECT_EQ(registry["logout"].versions, (std::vector<std::string>{"1.2", "1.1", "1.0"}));
  EXPECT_EQ(registry["version"].authMask, 1u);
  EXPECT_EQ(registry["status"].authMask, 16u);
}

TEST(Dispatch, VersionAnswersOnlyGet) {
  Captured ok = dispatch("GET", "1.2/version");
  EXPECT_EQ(ok.result, 0);
  EXPECT_EQ(ok.out,
            "Content-Type: application/json\r\nStatus: 200\r\nConnection: close\r\n\r\n"
            "{\"version\":\"1.2\"}");
  Captured post = dispatch("POST", "1.2/version");
  EXPECT_EQ(post.result, -1);
  EXPECT_EQ(post.out, "Status: 500\r\nConnection: close\r\n\r\n");
  EXPECT_TRUE(logged(post, "Cannot process POST request"));
}

TEST(Dispatch, RestPathKeepsFurtherSlashes) {
  // settings is closed: the path still splits, and the request ends at 401.
  Captured run = dispatch("GET", "1.2/settings/extra/part");
  EXPECT_EQ(run.out, "Status: 401\r\nConnection: close\r\n\r\n");
  EXPECT_TRUE(logged(run, "Not yet authenticated to process 'settings' request"));
}

TEST(Dispatch, EmptyRequestString) {
  Captured run = dispatch("GET", "");
  EXPECT_EQ(run.out, "Status: 500\r\nConnection: close\r\n\r\n");
  EXPECT_TRUE(logged(run, "Empty request string from restful request"));
}

TEST(Dispatch, UnversionedVersionFailsTheVersionCheck) {
  for (char const* request : {"version", "version/"}) {
    Captured run = dispatch("GET", request);
    EXPECT_EQ(run.out, "Status: 500\r\nConnection: close\r\n\r\n") << request;
    EXPECT_TRUE(logged(run, "Endpoint 'version' doesn't support version ''")) << request;
  }
}

TEST(Dispatch, OptionsAnswersAtOnce) {
  Captured run = dispatch("OPTIONS", "anything/at/all");
  EXPECT_EQ(run.result, 0);
  EXPECT_EQ(run.out, "Status: 200\r\nConnection: close\r\n\r\n");
}
