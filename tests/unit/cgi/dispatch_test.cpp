// The endpoint registry and the dispatcher's path through one request.
#include <gtest/gtest.h>

#include "access/authenticators.h"
#include "cgi_test_support.h"
#include "entry/dispatch.h"
#include "entry/handlers.h"

using cgitest::CgiResult;
using cgitest::logged;
using cgitest::runAsCgi;

namespace {

CgiResult dispatch(std::string const& method, std::string const& request) {
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

// The registry row by row: handler, versions in order, authenticators in
// order, the mask beside them, and whether the endpoint can change the camera.
TEST(Registry, EveryRowAsTabled) {
  struct Row {
    char const* endpoint;
    RestHandler handler;
    std::vector<std::string> versions;
    std::vector<RestAuthenticator> authenticators;
    uint32_t mask;
    StateChange stateChange;
  };
  StateChange const changes = StateChange::kChanges;
  StateChange const readOnly = StateChange::kReadOnly;
  std::vector<std::string> const all = {"1.2", "1.1", "1.0", "0.1"};
  std::vector<std::string> const since10 = {"1.2", "1.1", "1.0"};
  std::vector<RestAuthenticator> const session = {AuthenticateBySession};
  std::vector<RestAuthenticator> const open = {AuthenticateNone};
  std::vector<RestAuthenticator> const closedThree = {AuthenticateByPassword, AuthenticateBySession,
                                                      AuthenticateByAuthToken};
  std::vector<Row> const table = {
      {"ap", rest_ap_main, all, session, 16, changes},
      {"connect", rest_connect_main, since10, closedThree, 28, changes},
      {"check", rest_check_main, since10, session, 16, changes},
      {"firmware", rest_firmware_main, since10, session, 16, changes},
      {"login", rest_login_main, all, open, 1, changes},
      {"logout", rest_login_main, since10, open, 1, changes},
      {"reboot", rest_reboot_main, since10, session, 16, changes},
      {"reset", rest_reset_main, since10, session, 16, changes},
      {"reset_image", rest_reset_image_main, {"1.2", "1.1"}, session, 16, changes},
      {"manage", rest_manage_main, {"1.2"}, closedThree, 28, changes},
      {"services", rest_services_main, {"1.2"}, session, 16, changes},
      {"settings", rest_settings_main, since10, session, 16, changes},
      {"setup", rest_setup_main, all, session, 16, changes},
      {"snapshot", rest_snapshot_main, since10, closedThree, 28, readOnly},
      {"status", rest_status_main, all, session, 16, readOnly},
      {"support", rest_support_main, since10, session, 16, readOnly},
      {"syslog", rest_syslog_main, since10, session, 16, readOnly},
      {"upgrade", rest_upgrade_main, since10, session, 16, changes},
      {"version", rest_version_main, since10, open, 1, readOnly},
  };
  RestRegistry registry;
  buildRestRegistry(registry);
  ASSERT_EQ(registry.size(), table.size());
  for (Row const& row : table) {
    SCOPED_TRACE(row.endpoint);
    auto found = registry.find(row.endpoint);
    ASSERT_NE(found, registry.end());
    EXPECT_EQ(found->second.handler, row.handler);
    EXPECT_EQ(found->second.versions, row.versions);
    EXPECT_EQ(found->second.authenticators, row.authenticators);
    EXPECT_EQ(found->second.authMask, row.mask);
    EXPECT_EQ(found->second.stateChange, row.stateChange);
  }
}

RestRequestPath split(std::string const& request, bool expectAccepted) {
  RestRequestPath path;
  EXPECT_EQ(splitRestRequest(request, path), expectAccepted) << request;
  return path;
}

TEST(SplitRestRequest, VersionEndpointAndRest) {
  RestRequestPath path = split("1.2/settings/extra/part", true);
  EXPECT_EQ(path.version, "1.2");
  EXPECT_EQ(path.endpoint, "settings");
  EXPECT_EQ(path.rest, "extra/part");
  path = split("1.2/status", true);
  EXPECT_EQ(path.version, "1.2");
  EXPECT_EQ(path.endpoint, "status");
  EXPECT_EQ(path.rest, "");
  // A second "/" that ends the string leaves the rest empty.
  path = split("1.1/services/", true);
  EXPECT_EQ(path.endpoint, "services");
  EXPECT_EQ(path.rest, "");
  path = split("1.2//x", true);
  EXPECT_EQ(path.endpoint, "");
  EXPECT_EQ(path.rest, "x");
  path = split("/status", true);
  EXPECT_EQ(path.version, "");
  EXPECT_EQ(path.endpoint, "status");
  // Not percent-decoded, and "&" is no separator.
  path = split("1.2/status&y=2", true);
  EXPECT_EQ(path.endpoint, "status&y=2");
}

TEST(SplitRestRequest, WithoutVersionOnlyVersionPasses) {
  RestRequestPath path = split("version", true);
  EXPECT_EQ(path.version, "");
  EXPECT_EQ(path.endpoint, "version");
  path = split("version/", true);
  EXPECT_EQ(path.version, "");
  EXPECT_EQ(path.endpoint, "version");
  EXPECT_EQ(path.rest, "");
  EXPECT_EQ(split("status", false).endpoint, "status");
  EXPECT_EQ(split("1.2/", false).endpoint, "1.2");
  EXPECT_EQ(split("Version", false).endpoint, "Version");
}

TEST(Dispatch, VersionAnswersOnlyGet) {
  CgiResult ok = dispatch("GET", "1.2/version");
  EXPECT_EQ(ok.returned(), 0);
  EXPECT_EQ(ok.out,
            "Status: 200\r\nContent-Type: application/json\r\nConnection: close\r\n\r\n"
            "{\"version\":\"1.2\"}");
  CgiResult post = dispatch("POST", "1.2/version");
  EXPECT_EQ(post.returned(), -1);
  EXPECT_EQ(post.out, "Status: 500\r\nConnection: close\r\n\r\n");
  EXPECT_TRUE(logged(post, "Cannot process POST request"));
}

TEST(Dispatch, RestPathKeepsFurtherSlashes) {
  // settings is closed: the path still splits, and the request ends at 401.
  CgiResult run = dispatch("GET", "1.2/settings/extra/part");
  EXPECT_EQ(run.out, "Status: 401\r\nConnection: close\r\n\r\n");
  EXPECT_TRUE(logged(run, "Not yet authenticated to process 'settings' request"));
}

TEST(Dispatch, EmptyRequestString) {
  CgiResult run = dispatch("GET", "");
  EXPECT_EQ(run.out, "Status: 500\r\nConnection: close\r\n\r\n");
  EXPECT_TRUE(logged(run, "Empty request string from restful request"));
}

TEST(Dispatch, UnversionedVersionFailsTheVersionCheck) {
  for (char const* request : {"version", "version/"}) {
    CgiResult run = dispatch("GET", request);
    EXPECT_EQ(run.out, "Status: 500\r\nConnection: close\r\n\r\n") << request;
    EXPECT_TRUE(logged(run, "Endpoint 'version' doesn't support version ''")) << request;
  }
}

TEST(Dispatch, OptionsAnswersAtOnce) {
  CgiResult run = dispatch("OPTIONS", "anything/at/all");
  EXPECT_EQ(run.returned(), 0);
  EXPECT_EQ(run.out, "Status: 200\r\nConnection: close\r\n\r\n");
}
