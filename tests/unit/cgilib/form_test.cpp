// Non-multipart requests: query strings, urlencoded and raw bodies, and the
// refusals of bad lengths and oversized input.
#include <gtest/gtest.h>
#include <unistd.h>

#include <set>
#include <string>

#include "cgilib_test_support.h"

using namespace cgilib_test;

namespace {

constexpr char kForm[] = "application/x-www-form-urlencoded";

std::string valueOf(s_cgi* cgi, char const* name) {
  char const* value = cgiGetValue(cgi, name);
  return value ? value : "<null>";
}

std::vector<std::string> variables(s_cgi* cgi) {
  std::vector<std::string> names;
  char** list = cgiGetVariables(cgi);
  for (char** p = list; p && *p; ++p) names.push_back(*p);
  cgiFreeList(list);
  return names;
}

class FormTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_TRUE(dir.entries().empty()); }
  TempDir dir;
};

TEST_F(FormTest, UrlencodedBodyDecodesPlusAndPercent) {
  std::string body = "user=ad+min&pass=a%26b%3D%7e&empty=&flag";
  s_cgi* cgi = parseBody(dir.path(), "POST", kForm, body);
  ASSERT_NE(cgi, nullptr) << cgiErrorText(cgiLastError());
  EXPECT_EQ(valueOf(cgi, "user"), "ad min");
  EXPECT_EQ(valueOf(cgi, "pass"), "a&b=~");
  EXPECT_EQ(valueOf(cgi, "empty"), "");
  EXPECT_EQ(valueOf(cgi, "flag"), "");
  EXPECT_EQ(valueOf(cgi, "missing"), "<null>");
  EXPECT_EQ(variables(cgi), (std::vector<std::string>{"user", "pass", "empty", "flag"}));
  EXPECT_STREQ(cgiGetText(cgi), body.c_str());  // raw, undecoded
  EXPECT_EQ(cgiGetFiles(cgi), nullptr);
  cgiFree(cgi);
}

TEST_F(FormTest, BadPercentSequencesStayAsTheyAre) {
  s_cgi* cgi = parseBody(dir.path(), "POST", kForm, "k=%41%zz%4&j=%");
  ASSERT_NE(cgi, nullptr);
  EXPECT_EQ(valueOf(cgi, "k"), "A%zz%4");
  EXPECT_EQ(valueOf(cgi, "j"), "%");
  cgiFree(cgi);
}

TEST_F(FormTest, NamelessPiecesAreSkippedAndRepeatedNamesJoined) {
  s_cgi* cgi = parseBody(dir.path(), "POST", kForm, "=x&&a=1&a=2&b=3");
  ASSERT_NE(cgi, nullptr);
  EXPECT_EQ(variables(cgi), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(valueOf(cgi, "a"), "1\n2");
  cgiFree(cgi);
}

TEST_F(FormTest, TextPlainBodyIsKeptAndReadAsForm) {
  s_cgi* cgi = parseBody(dir.path(), "POST", "text/plain; charset=utf-8", "a=b+c");
  ASSERT_NE(cgi, nullptr);
  EXPECT_STREQ(cgiGetText(cgi), "a=b+c");
  EXPECT_EQ(valueOf(cgi, "a"), "b c");
  cgiFree(cgi);
}

TEST_F(FormTest, JsonBodyIsKeptRawWithoutVariables) {
  std::string json = R"({"a":"x+y%20","b=":1})";
  s_cgi* cgi = parseBody(dir.path(), "PUT", "Application/JSON; charset=utf-8", json);
  ASSERT_NE(cgi, nullptr);
  EXPECT_STREQ(cgiGetText(cgi), json.c_str());
  EXPECT_EQ(cgiGetVariables(cgi), nullptr);
  cgiFree(cgi);
}

TEST_F(FormTest, GetDecodesTheQueryString) {
  s_cgi* cgi = parse(dir.path(), "GET", nullptr, nullptr, "", "id=1.2%2Fstatus&x=a+b");
  ASSERT_NE(cgi, nullptr);
  EXPECT_EQ(valueOf(cgi, "id"), "1.2/status");
  EXPECT_EQ(valueOf(cgi, "x"), "a b");
  EXPECT_EQ(cgiGetText(cgi), nullptr);
  cgiFree(cgi);
}

TEST_F(FormTest, PostIgnoresTheQueryString) {
  s_cgi* cgi = parse(dir.path(), "POST", kForm, "3", "a=1", "q=2");
  ASSERT_NE(cgi, nullptr);
  EXPECT_EQ(valueOf(cgi, "a"), "1");
  EXPECT_EQ(valueOf(cgi, "q"), "<null>");
  cgiFree(cgi);
}

TEST_F(FormTest, NothingToParseGivesNull) {
  EXPECT_EQ(parse(dir.path(), "GET", nullptr, nullptr, "", nullptr), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_NOTHING);
  EXPECT_EQ(parse(dir.path(), "GET", nullptr, nullptr, "", ""), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_NOTHING);
  EXPECT_EQ(parse(dir.path(), "POST", kForm, "0", ""), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_NOTHING);
  EXPECT_EQ(parse(dir.path(), nullptr, kForm, "3", "a=1"), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_NO_METHOD);
}

struct LengthCase {
  char const* length;
  cgi_error expected;
};

class ContentLengthTest : public FormTest, public ::testing::WithParamInterface<LengthCase> {};

TEST_P(ContentLengthTest, IsRefused) {
  s_cgi* cgi = parse(dir.path(), "POST", kForm, GetParam().length, "a=1");
  EXPECT_EQ(cgi, nullptr);
  EXPECT_EQ(cgiLastError(), GetParam().expected);
  cgiFree(cgi);
}

INSTANTIATE_TEST_SUITE_P(
    Refusals, ContentLengthTest,
    ::testing::Values(LengthCase{nullptr, CGI_ERR_LENGTH_MISSING}, LengthCase{"", CGI_ERR_LENGTH_MISSING},
                      LengthCase{"-3", CGI_ERR_LENGTH_INVALID}, LengthCase{"+3", CGI_ERR_LENGTH_INVALID},
                      LengthCase{"3x", CGI_ERR_LENGTH_INVALID}, LengthCase{" 3", CGI_ERR_LENGTH_INVALID},
                      LengthCase{"abc", CGI_ERR_LENGTH_INVALID},
                      LengthCase{"1048577", CGI_ERR_TOO_LARGE},
                      LengthCase{"99999999999999999999999999", CGI_ERR_TOO_LARGE},
                      LengthCase{"4", CGI_ERR_SHORT_BODY}));

TEST_F(FormTest, BodyAtTheLimitIsAccepted) {
  std::string body = "a=" + std::string(CGI_MAX_VALUE_LEN, 'v');
  body += "&pad=" + std::string(CGI_MAX_BODY_IN_MEMORY - body.size() - 5, 'p');
  ASSERT_EQ(body.size(), static_cast<size_t>(CGI_MAX_BODY_IN_MEMORY));
  // pad's value is above the value limit, so only the raw text is usable:
  // a JSON body of the same size shows the body limit itself.
  s_cgi* cgi = parseBody(dir.path(), "POST", "application/json", body);
  ASSERT_NE(cgi, nullptr) << cgiErrorText(cgiLastError());
  EXPECT_EQ(std::string(cgiGetText(cgi)).size(), body.size());
  cgiFree(cgi);
  EXPECT_EQ(parseBody(dir.path(), "POST", kForm, body), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_VALUE_TOO_LARGE);
}

TEST_F(FormTest, LongerBodyIsReadOnlyUpToContentLength) {
  cgiSetTempDir(dir.path().c_str());
  int fd = bodyFd("a=1&b=2");
  s_cgi* cgi = cgiInitFrom("POST", kForm, "3", nullptr, fd);
  ASSERT_NE(cgi, nullptr);
  EXPECT_STREQ(cgiGetText(cgi), "a=1");
  EXPECT_EQ(valueOf(cgi, "b"), "<null>");
  EXPECT_EQ(lseek(fd, 0, SEEK_CUR), 3);
  close(fd);
  cgiFree(cgi);
}

TEST_F(FormTest, NulBytesInNamesOrValuesAreRefused) {
  EXPECT_EQ(parseBody(dir.path(), "POST", kForm, "a%00b=1"), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_NUL_BYTE);
  EXPECT_EQ(parseBody(dir.path(), "POST", kForm, "a=1%002"), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_NUL_BYTE);
}

TEST_F(FormTest, VariableLimitsAreEnforced) {
  std::string many;
  for (int i = 0; i <= CGI_MAX_VARIABLES; ++i) many += "v" + std::to_string(i) + "=1&";
  EXPECT_EQ(parseBody(dir.path(), "POST", kForm, many), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_TOO_MANY_VARIABLES);

  std::string longName(CGI_MAX_NAME_LEN + 1, 'n');
  EXPECT_EQ(parseBody(dir.path(), "POST", kForm, longName + "=1"), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_NAME_TOO_LONG);

  std::string halfValue(CGI_MAX_VALUE_LEN / 2, 'x');
  EXPECT_EQ(parseBody(dir.path(), "POST", kForm, "r=" + halfValue + "&r=" + halfValue), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_VALUE_TOO_LARGE);

  std::string query(CGI_MAX_QUERY_STRING + 1, 'q');
  EXPECT_EQ(parse(dir.path(), "GET", nullptr, nullptr, "", query.c_str()), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_TOO_LARGE);
}

TEST_F(FormTest, DebugLinesGoToStderrOnlyWhenEnabled) {
  ::testing::internal::CaptureStderr();
  cgiDebug(1, 0);
  EXPECT_EQ(parse(dir.path(), "POST", kForm, "x", "a=1"), nullptr);
  cgiDebug(0, 0);
  EXPECT_EQ(parse(dir.path(), "POST", kForm, "y", "a=1"), nullptr);
  std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(err, "cgilib: request refused: CONTENT_LENGTH is not a number\n");
}

TEST(CgiAccessors, AcceptNullHandles) {
  EXPECT_EQ(cgiGetVariables(nullptr), nullptr);
  EXPECT_EQ(cgiGetValue(nullptr, "a"), nullptr);
  EXPECT_EQ(cgiGetFiles(nullptr), nullptr);
  EXPECT_EQ(cgiGetFile(nullptr, "a"), nullptr);
  EXPECT_EQ(cgiGetText(nullptr), nullptr);
  cgiFreeList(nullptr);
  cgiFree(nullptr);
}

TEST(CgiErrors, EveryErrorHasItsOwnText) {
  std::set<std::string> texts;
  for (int e = CGI_OK; e < CGI_ERR_COUNT; ++e) {
    ASSERT_NE(cgiErrorText(static_cast<cgi_error>(e)), nullptr) << e;
    texts.insert(cgiErrorText(static_cast<cgi_error>(e)));
  }
  EXPECT_EQ(texts.size(), static_cast<size_t>(CGI_ERR_COUNT));
  EXPECT_STREQ(cgiErrorText(CGI_ERR_COUNT), "unknown error");
}

}  // namespace
