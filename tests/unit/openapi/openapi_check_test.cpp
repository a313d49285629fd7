// The answer check against docs/openapi.yaml: what it accepts and what it
// reports, on answers written here.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/openapi_check.h"

namespace orvo {
namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

ApiAnswer answer(std::string request, std::string method, int status, std::string type, std::string body) {
  return {std::move(request), std::move(method), status, std::move(type), std::move(body)};
}

TEST(OpenApiCheck, RequestStringsOfBothUrlForms) {
  EXPECT_EQ(requestOfQuery("id=1.2/status"), "1.2/status");
  EXPECT_EQ(requestOfQuery("x=1&uuid=2"), "2");
  EXPECT_EQ(requestOfQuery("x=1"), "");
  EXPECT_EQ(requestOfTarget("/api/1.2/status"), "1.2/status");
  EXPECT_EQ(requestOfTarget("/api/1.2/status?x=1"), "1.2/status&x=1");
  EXPECT_EQ(requestOfTarget("/cgi-bin/rest.cgi?id=1.1/ap"), "1.1/ap");
  EXPECT_EQ(requestOfTarget("/docs/"), "");
}

TEST(OpenApiCheck, AcceptsDocumentedAnswers) {
  EXPECT_THAT(apiAnswerProblems(answer("1.0/version", "GET", 200, "application/json", R"({"version":"1.2"})")),
              IsEmpty());
  EXPECT_THAT(apiAnswerProblems(answer("1.2/status", "GET", 401, "", "")), IsEmpty());
  EXPECT_THAT(apiAnswerProblems(answer("1.2/firmware", "POST", 200, "application/json",
                                       R"({"updateStatus":"badFwImage"})")),
              IsEmpty());
  EXPECT_THAT(apiAnswerProblems(answer("0.1/status", "GET", 200, "application/json",
                                       R"({"fwver":"4","mac":"74:83","model":"Bullet"})")),
              IsEmpty());
  // An empty picture carries no content type.
  EXPECT_THAT(apiAnswerProblems(answer("1.2/snapshot", "GET", 200, "", "")), IsEmpty());
}

TEST(OpenApiCheck, ReportsWhatDoesNotFit) {
  EXPECT_THAT(apiAnswerProblems(answer("1.2/version", "GET", 200, "application/json", R"({"version":1.2})")),
              ElementsAre(HasSubstr("does not fit its schema")));
  EXPECT_THAT(apiAnswerProblems(answer("1.2/firmware", "POST", 200, "application/json",
                                       R"({"updateStatus":"fine"})")),
              ElementsAre(HasSubstr("'enum'")));
  EXPECT_THAT(apiAnswerProblems(answer("1.2/status", "GET", 404, "", "")),
              ElementsAre(HasSubstr("status 404 is not documented")));
  EXPECT_THAT(apiAnswerProblems(answer("1.2/syslog", "GET", 200, "text/plain", "[]")),
              ElementsAre(HasSubstr("content type 'text/plain'")));
  EXPECT_THAT(apiAnswerProblems(answer("1.2/status", "GET", 401, "application/json", "{}")),
              ElementsAre(HasSubstr("a body where the document says there is none")));
  EXPECT_THAT(apiAnswerProblems(answer("1.2/syslog", "GET", 200, "application/json", "[1,")),
              ElementsAre(HasSubstr("not JSON")));
}

TEST(OpenApiCheck, UndescribedRequestsMayOnlyAnswerWithoutBody) {
  // An unknown endpoint, a version the endpoint refuses, a method not listed.
  EXPECT_THAT(apiAnswerProblems(answer("1.2/foo", "GET", 500, "", "")), IsEmpty());
  EXPECT_THAT(apiAnswerProblems(answer("1.1/manage", "POST", 500, "", "")), IsEmpty());
  EXPECT_THAT(apiAnswerProblems(answer("1.2/status", "POST", 500, "", "")), IsEmpty());
  EXPECT_THAT(apiAnswerProblems(answer("1.0/reset_image", "GET", 200, "application/json", "{}")),
              ElementsAre(HasSubstr("does not describe")));
}

TEST(OpenApiCheck, ListsEveryDocumentedAnswer) {
  std::vector<std::string> const documented = documentedAnswers();
  EXPECT_THAT(documented, ::testing::Contains("status get 200"));
  EXPECT_THAT(documented, ::testing::Contains("manage get 405"));
  EXPECT_THAT(documented, ::testing::Contains("reboot delete 200"));
  EXPECT_THAT(documented, ::testing::Contains("version options 200"));
  EXPECT_EQ(std::count_if(documented.begin(), documented.end(),
                          [](std::string const& a) { return a.find(" options ") != std::string::npos; }),
            19);
}

}  // namespace
}  // namespace test
}  // namespace orvo
