// The request front end seen from outside: rest.cgi started as a CGI program
// in a camera root shared by the tests (none of them logs in or changes the
// camera), each answer compared byte for byte, each record a test logged
// compared exactly (identity, level, tag, module, step and text).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/camera.h"
#include "support/cgi_run.h"

namespace orvo {
namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kClientAddress[] = "192.0.2.10";

constexpr char kVersionAnswer[] =
    "Status: 200\r\nContent-Type: application/json\r\nConnection: close\r\n\r\n"
    "{\"version\":\"1.2\"}";
constexpr char kEmpty200[] = "Status: 200\r\nConnection: close\r\n\r\n";
constexpr char kEmpty401[] = "Status: 401\r\nConnection: close\r\n\r\n";
constexpr char kEmpty500[] = "Status: 500\r\nConnection: close\r\n\r\n";
constexpr int kFailureExit = 255;  // the program's -1

// The dispatcher's records, before any handler renamed the log identity.
std::string dispatcherRecord(std::string const& level, std::string const& text) {
  return "orvo_cgi " + level + " orvo_cgi: src/rest:processRestRequest: " + text;
}
std::string mainRecord(std::string const& level, std::string const& text) {
  return "orvo_cgi " + level + " orvo_cgi: src/main:main: " + text;
}
std::string refusedAuthenticationRecord(std::string const& method) {
  return "orvo_cgi info orvo_cgi: src/rest:authenticate: No way to authenticate the request: "
         "Method '" +
         method + "', remote addr '" + kClientAddress + "'";
}

class FrontEndCgi : public SharedRootTest {
 protected:
  CgiResult call(std::string const& method, std::string const& query,
                 CgiProgram const& program = CgiProgram::restCgi()) {
    return runCgi(root(),
                  {{"REQUEST_METHOD", method},
                   {"QUERY_STRING", query},
                   {"REMOTE_ADDR", kClientAddress},
                   {"CONTENT_LENGTH", "0"}},
                  "", program);
  }
  CgiResult get(std::string const& query) { return call("GET", query); }

  // Every record the test logged was written by the process under test.
  std::vector<std::string> records(CgiResult const& result) {
    for (auto const& record : log()) EXPECT_EQ(record.pid, result.pid);
    return logSummaries();
  }
};

void expectAnswer(CgiResult const& result, int exitCode, std::string const& out) {
  EXPECT_TRUE(result.exited) << "signal " << result.signal << (result.timedOut ? " (timeout)" : "");
  EXPECT_EQ(result.exitCode, exitCode);
  EXPECT_EQ(result.out, out);
}

TEST_F(FrontEndCgi, VersionAnswersWithTheCurrentApiVersion) {
  auto result = get("id=1.2/version");
  expectAnswer(result, 0, kVersionAnswer);
  EXPECT_THAT(records(result), IsEmpty());
}

TEST_F(FrontEndCgi, VersionAnswersTheSameForEveryAcceptedVersion) {
  expectAnswer(get("id=1.1/version"), 0, kVersionAnswer);
  expectAnswer(get("id=1.0/version"), 0, kVersionAnswer);
}

TEST_F(FrontEndCgi, VersionIgnoresARestPath) {
  expectAnswer(get("id=1.2/version/"), 0, kVersionAnswer);
  expectAnswer(get("id=1.2/version/extra/part"), 0, kVersionAnswer);
}

TEST_F(FrontEndCgi, VersionRefusesPost) {
  auto result = call("POST", "id=1.2/version");
  expectAnswer(result, kFailureExit, kEmpty500);
  EXPECT_THAT(records(result),
              ElementsAre("rest_version err orvo_cgi: src/rest_version:rest_version_main: "
                          "Cannot process POST request"));
}

TEST_F(FrontEndCgi, VersionWithoutApiVersionFailsTheVersionCheck) {
  expectAnswer(get("id=version"), kFailureExit, kEmpty500);
  expectAnswer(get("id=version/"), kFailureExit, kEmpty500);
  std::string const refused = dispatcherRecord("err", "Endpoint 'version' doesn't support version ''");
  EXPECT_THAT(logSummaries(), ElementsAre(refused, refused));
}

TEST_F(FrontEndCgi, EndpointWithoutVersionIsMalformed) {
  auto result = get("id=status");
  expectAnswer(result, kFailureExit, kEmpty500);
  EXPECT_THAT(records(result), ElementsAre(dispatcherRecord("err", "Invalid REST request : status")));
}

TEST_F(FrontEndCgi, TrailingSlashAfterVersionIsMalformed) {
  auto result = get("id=1.2/");
  expectAnswer(result, kFailureExit, kEmpty500);
  EXPECT_THAT(records(result), ElementsAre(dispatcherRecord("err", "Invalid REST request : 1.2")));
}

TEST_F(FrontEndCgi, UnknownEndpointIsNamedInTheLog) {
  auto result = get("id=1.2/foo");
  expectAnswer(result, kFailureExit, kEmpty500);
  EXPECT_THAT(records(result),
              ElementsAre(dispatcherRecord("err", "No RESTful service called 'foo' is registered")));
}

TEST_F(FrontEndCgi, EndpointNamesAreCaseSensitive) {
  auto result = get("id=1.2/Version");
  expectAnswer(result, kFailureExit, kEmpty500);
  EXPECT_THAT(records(result), ElementsAre(dispatcherRecord(
                                   "err", "No RESTful service called 'Version' is registered")));
}

TEST_F(FrontEndCgi, EndpointsRefuseVersionsTheyDoNotList) {
  expectAnswer(get("id=1.1/manage"), kFailureExit, kEmpty500);
  expectAnswer(get("id=1.1/services"), kFailureExit, kEmpty500);
  expectAnswer(get("id=1.0/reset_image"), kFailureExit, kEmpty500);
  EXPECT_THAT(logSummaries(),
              ElementsAre(dispatcherRecord("err", "Endpoint 'manage' doesn't support version '1.1'"),
                          dispatcherRecord("err", "Endpoint 'services' doesn't support version '1.1'"),
                          dispatcherRecord("err",
                                           "Endpoint 'reset_image' doesn't support version '1.0'")));
}

TEST_F(FrontEndCgi, AcceptedVersionGoesOnToAuthentication) {
  auto result = get("id=1.1/reset_image");
  expectAnswer(result, kFailureExit, kEmpty401);
  EXPECT_THAT(records(result),
              ElementsAre(refusedAuthenticationRecord("GET"),
                          dispatcherRecord("err", "Not yet authenticated to process 'reset_image' request")));
}

TEST_F(FrontEndCgi, UnauthenticatedRequestAnswers401) {
  auto result = get("id=1.2/status");
  expectAnswer(result, kFailureExit, kEmpty401);
  EXPECT_THAT(records(result),
              ElementsAre(refusedAuthenticationRecord("GET"),
                          dispatcherRecord("err", "Not yet authenticated to process 'status' request")));
}

TEST_F(FrontEndCgi, EndpointRefusedByAllThreeAuthenticatorsAnswers401) {
  // Password (no user name), session (no database, silent) and token (none
  // sent, silent) all refuse.
  auto result = get("id=1.2/snapshot");
  expectAnswer(result, kFailureExit, kEmpty401);
  EXPECT_THAT(records(result),
              ElementsAre("orvo_cgi err orvo_cgi: src/rest:PasswordAuthentication: "
                          "'username' parameter is missing",
                          refusedAuthenticationRecord("GET"),
                          dispatcherRecord("err", "Not yet authenticated to process 'snapshot' request")));
}

TEST_F(FrontEndCgi, TokenWithoutReachableAvclientEndsWith401) {
  std::string const body = "{\"authToken\":\"t\"}";
  auto result = runCgi(root(), {{"REQUEST_METHOD", "POST"},
                               {"QUERY_STRING", "id=1.2/manage"},
                               {"REMOTE_ADDR", kClientAddress},
                               {"CONTENT_TYPE", "application/json"},
                               {"CONTENT_LENGTH", std::to_string(body.size())}},
                       body);
  expectAnswer(result, kFailureExit, kEmpty401);
  // The bus and the IPC wrapper add lines of their own; these are ours.
  std::vector<std::string> ours;
  for (auto const& record : log()) {
    if (record.file == "src/rest") ours.push_back(record.summary());
  }
  EXPECT_THAT(ours,
              ElementsAre("orvo_cgi err orvo_cgi: src/rest:PasswordAuthentication: "
                          "'username' parameter is missing",
                          "orvo_cgi err orvo_cgi: src/rest:isAdopted: "
                          "Unable to send IPC to orvo_avclient",
                          refusedAuthenticationRecord("POST"),
                          dispatcherRecord("err", "Not yet authenticated to process 'manage' request")));
}

TEST_F(FrontEndCgi, MalformedCookieIsLoggedAndSkipped) {
  auto result = runCgi(root(), {{"REQUEST_METHOD", "GET"},
                               {"QUERY_STRING", "id=1.2/version"},
                               {"REMOTE_ADDR", kClientAddress},
                               {"HTTP_COOKIE", "authId=a=b; theme=dark; lonely"}});
  expectAnswer(result, 0, kVersionAnswer);
  EXPECT_THAT(records(result),
              ElementsAre("orvo_cgi warning orvo_cgi: src/orvo_cgi:Parse: Invalid cookie 'authId=a=b'",
                          "orvo_cgi warning orvo_cgi: src/orvo_cgi:Parse: Invalid cookie ' lonely'"));
}

TEST_F(FrontEndCgi, BadJsonBodyIsLoggedPerMethodAndTheRequestGoesOn) {
  std::string const body = "{bad";
  Environment env = {{"QUERY_STRING", "id=1.2/version"},
                     {"REMOTE_ADDR", kClientAddress},
                     {"CONTENT_TYPE", "application/json; charset=utf-8"},
                     {"CONTENT_LENGTH", std::to_string(body.size())}};
  env["REQUEST_METHOD"] = "POST";
  expectAnswer(runCgi(root(), env, body), kFailureExit, kEmpty500);
  env["REQUEST_METHOD"] = "PUT";
  expectAnswer(runCgi(root(), env, body), kFailureExit, kEmpty500);
  std::string const version = "rest_version err orvo_cgi: src/rest_version:rest_version_main: ";
  EXPECT_THAT(logSummaries(),
              ElementsAre("orvo_cgi warning orvo_cgi: src/orvo_cgi:Parse: Failed to parse JSON string",
                          version + "Cannot process POST request",
                          "orvo_cgi err orvo_cgi: src/orvo_cgi:Parse: Failed to parse JSON string",
                          version + "Cannot process PUT request"));
}

TEST_F(FrontEndCgi, SessionCookieWithoutSessionDatabaseAnswers401) {
  auto result = runCgi(root(), {{"REQUEST_METHOD", "GET"},
                               {"QUERY_STRING", "id=1.2/status"},
                               {"REMOTE_ADDR", kClientAddress},
                               {"HTTP_COOKIE", "authId=0b7c5c1e-8a48-4f0c-9d4c-2f1b6a0e9d11"}});
  expectAnswer(result, kFailureExit, kEmpty401);
  EXPECT_THAT(records(result),
              ElementsAre(refusedAuthenticationRecord("GET"),
                          dispatcherRecord("err", "Not yet authenticated to process 'status' request")));
}

TEST_F(FrontEndCgi, DeprecatedVersionIsLoggedAndGoesOn) {
  auto result = get("id=0.1/status");
  expectAnswer(result, kFailureExit, kEmpty401);
  EXPECT_THAT(records(result),
              ElementsAre(dispatcherRecord("err", "Version 0.1 is deprecated."),
                          refusedAuthenticationRecord("GET"),
                          dispatcherRecord("err", "Not yet authenticated to process 'status' request")));
}

TEST_F(FrontEndCgi, DeprecatedVersionIsRefusedByVersion) {
  auto result = get("id=0.1/version");
  expectAnswer(result, kFailureExit, kEmpty500);
  EXPECT_THAT(records(result),
              ElementsAre(dispatcherRecord("err", "Version 0.1 is deprecated."),
                          dispatcherRecord("err", "Endpoint 'version' doesn't support version '0.1'")));
}

TEST_F(FrontEndCgi, RequestStringRunsToTheEndOfTheQuery) {
  auto result = get("x=1&id=1.2/status&y=2");
  expectAnswer(result, kFailureExit, kEmpty500);
  EXPECT_THAT(records(result), ElementsAre(dispatcherRecord(
                                   "err", "No RESTful service called 'status&y=2' is registered")));
}

TEST_F(FrontEndCgi, IdIsFoundInsideALongerParameterName) {
  expectAnswer(get("uuid=1.2/version"), 0, kVersionAnswer);
}

TEST_F(FrontEndCgi, OptionsAnswers200WithoutBodyWhateverTheRequest) {
  for (std::string query : {"id=1.2/version", "id=1.2/foo", "id=1.1/manage", "id=1.2/status"}) {
    SCOPED_TRACE(query);
    expectAnswer(call("OPTIONS", query), 0, kEmpty200);
  }
  // The request parser notes the method; the dispatcher logs nothing.
  std::string const noted = "orvo_cgi warning orvo_cgi: src/orvo_cgi:Parse: Unsupported method 'OPTIONS'";
  EXPECT_THAT(logSummaries(), ElementsAre(noted, noted, noted, noted));
}

TEST_F(FrontEndCgi, MissingOrEmptyQueryWritesNothing) {
  expectAnswer(runCgi(root(), {{"REQUEST_METHOD", "GET"}}), kFailureExit, "");
  expectAnswer(get(""), kFailureExit, "");
  std::string const invalid = mainRecord("warning", "Invalid rest request");
  EXPECT_THAT(logSummaries(), ElementsAre(invalid, invalid));
}

TEST_F(FrontEndCgi, QueryWithoutRequestStringWritesNothing) {
  expectAnswer(get("a=1&b=2"), kFailureExit, "");
  expectAnswer(get("id="), kFailureExit, "");
  expectAnswer(call("OPTIONS", "x=id="), kFailureExit, "");
  std::string const invalid = mainRecord("warning", "Invalid rest request");
  EXPECT_THAT(logSummaries(), ElementsAre(invalid, invalid, invalid));
}

TEST_F(FrontEndCgi, BareProgramNameIsRefusedWithoutOutput) {
  CgiProgram const bare = CgiProgram::restCgiAs("rest.cgi");
  auto result = call("GET", "id=1.2/version", bare);
  expectAnswer(result, kFailureExit, "");
  EXPECT_THAT(records(result), ElementsAre(mainRecord("err", "Invalid CGI request: ")));
}

TEST_F(FrontEndCgi, OtherProgramNameIsRefusedWithoutOutput) {
  CgiProgram const other = CgiProgram::restCgiAs("/x/other.cgi");
  auto result = call("GET", "id=1.2/version", other);
  expectAnswer(result, kFailureExit, "");
  EXPECT_THAT(records(result), ElementsAre(mainRecord("err", "Invalid CGI request: other.cgi")));
}

TEST_F(FrontEndCgi, ProgramNameEndingInASlashIsRefused) {
  CgiProgram const slash = CgiProgram::restCgiAs("/x/rest.cgi/");
  auto result = call("GET", "id=1.2/version", slash);
  expectAnswer(result, kFailureExit, "");
  EXPECT_THAT(records(result), ElementsAre(mainRecord("err", "Invalid CGI request: ")));
}

TEST_F(FrontEndCgi, AnyFolderOfTheProgramIsAccepted) {
  CgiProgram const elsewhere = CgiProgram::restCgiAs("/somewhere/else/rest.cgi");
  expectAnswer(call("GET", "id=1.2/version", elsewhere), 0, kVersionAnswer);
}

}  // namespace
}  // namespace test
}  // namespace orvo
