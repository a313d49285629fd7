// The handlers' one recipe (endpoints/recipe.h) with rows of its own: the
// method check and its refusal, the lock, and the two kinds of reply.
#include <gtest/gtest.h>

#include "cgi_test_support.h"
#include "endpoints/recipe.h"
#include "orvo/utils/mutex.h"

namespace {

using orvo::cgi::CGIRequest;
using orvo::cgi::CGIResponse;
using orvo::rest::Call;
using orvo::rest::Endpoint;
using orvo::rest::kReply;
using orvo::rest::Outcome;
using orvo::variant::Variant;

constexpr char kLock[] = "recipe_test";

Outcome fillDocument(Call const& call, Variant& document) {
  document["method"] = call.request.Method();
  document["endpoint"] = call.endpoint;
  return kReply;
}

Outcome writeBody(Call const& call, Variant&) {
  call.response.body << "written";
  return kReply;
}

Outcome answerItself(Call const& call, Variant&) {
  call.response.SetStatus(orvo::cgi::kHttpNotFound);
  return 7;
}

constexpr Endpoint kRow = {"recipe_identity", "src/recipe_test", "recipe_test_main",
                           {orvo::rest::documentRow("GET", fillDocument),
                            orvo::rest::okRow("PUT", writeBody, kLock)},
                           orvo::rest::loggedRefusal("Cannot process %s request")};
constexpr Endpoint kQuietRow = {"recipe_identity", "src/recipe_test", "recipe_test_main",
                                {orvo::rest::okRow("POST", writeBody)},
                                {nullptr, orvo::cgi::kHttpMethodNotAllowed, 0}};
constexpr Endpoint kAnyRow = {"recipe_identity", "src/recipe_test", "recipe_test_main",
                              {orvo::rest::okRow(orvo::rest::kAnyMethod, answerItself)},
                              orvo::rest::loggedRefusal(nullptr)};

cgitest::CgiResult serve(Endpoint const& row, char const* method, bool lockHeld = false) {
  return cgitest::runAsCgi({{"REQUEST_METHOD", method}, {"REMOTE_ADDR", "10.0.0.1"}}, "",
                           [&row, lockHeld] {
                             InterProcessMutex other(kLock, false);
                             if (lockHeld && other.acquire() != 0) return 99;
                             CGIRequest request;
                             CGIResponse response(request, "application/json");
                             response.SetStatus(orvo::cgi::kHttpInternalError);
                             std::string const version = "1.2", endpoint = "thing", rest;
                             return orvo::rest::serveEndpoint(
                                 row, {request, response, version, endpoint, rest});
                           });
}

TEST(Recipe, ARefusedMethodIsLoggedUnderTheRowsNamesAndAnswered500) {
  cgitest::CgiResult run = serve(kRow, "DELETE");
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(run.status, "500");
  EXPECT_EQ(run.body, "");
  auto const records = orvo::test::withText(run.log, "Cannot process DELETE request");
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].identity, "recipe_identity");
  EXPECT_EQ(records[0].file, "src/recipe_test");
  EXPECT_EQ(records[0].function, "recipe_test_main");
}

TEST(Recipe, AQuietRefusalLogsNothingAndAnswersItsStatus) {
  cgitest::CgiResult run = serve(kQuietRow, "GET");
  EXPECT_EQ(run.returned(), 0);
  EXPECT_EQ(run.status, "405");
  EXPECT_TRUE(run.log.empty());
}

TEST(Recipe, ADocumentIsAnswered200AsJson) {
  cgitest::CgiResult run = serve(kRow, "GET");
  EXPECT_EQ(run.returned(), 0);
  EXPECT_EQ(run.status, "200");
  EXPECT_EQ(run.body, R"({"endpoint":"thing","method":"GET"})");
}

TEST(Recipe, AnOkRowAnswers200WithWhatTheFunctionWrote) {
  cgitest::CgiResult run = serve(kRow, "PUT");
  EXPECT_EQ(run.status, "200");
  EXPECT_EQ(run.body, "written");
}

TEST(Recipe, AHeldLockAnswers429WithoutRunningTheFunction) {
  cgitest::CgiResult run = serve(kRow, "PUT", true);
  EXPECT_EQ(run.status, "429");
  EXPECT_EQ(run.body, "");
  EXPECT_TRUE(cgitest::logged(run, "'recipe_test' is already running"));
}

TEST(Recipe, AFunctionThatAnswersItselfKeepsItsStatusAndResult) {
  for (char const* method : {"GET", "PATCH"}) {
    cgitest::CgiResult run = serve(kAnyRow, method);
    EXPECT_EQ(run.returned(), 7) << method;
    EXPECT_EQ(run.status, "404") << method;
  }
}

}  // namespace
