// Parsing of the CGI environment and body into a request.
#include <gtest/gtest.h>

#include <cstdio>
#include <list>

#include "cgi/orvo_cgi.h"
#include "cgi_test_support.h"

using cgitest::CgiResult;
using cgitest::logged;
using cgitest::runAsCgi;
using orvo::cgi::CGIRequest;
using orvo::cgi::HtmlDecode;

namespace {

// Prints what the request holds, one "key=value" per line, so the parent
// process can compare it.
int dumpRequest() {
  CGIRequest request;
  std::multimap<std::string, std::string> pairs;
  request.QueryKVP(pairs);
  for (auto const& p : pairs) std::printf("query %s=%s\n", p.first.c_str(), p.second.c_str());
  request.FormKVP(pairs);
  for (auto const& p : pairs) std::printf("form %s=%s\n", p.first.c_str(), p.second.c_str());
  std::map<std::string, std::string> cookies;
  request.CookiesKVP(cookies);
  for (auto const& c : cookies) std::printf("cookie [%s]=[%s]\n", c.first.c_str(), c.second.c_str());
  std::string json;
  request.Json().ToJSON(json, false);
  std::printf("json %s\n", json.c_str());
  std::printf("qs [%s] ct [%s] token %d\n", request.QueryString().c_str(),
              request.ContentType().c_str(), request.HasAuthToken() ? 1 : 0);
  return 0;
}

CgiResult get(std::string const& query, std::string const& cookie = "") {
  std::map<std::string, std::string> env = {{"REQUEST_METHOD", "GET"}, {"QUERY_STRING", query}};
  if (!cookie.empty()) env["HTTP_COOKIE"] = cookie;
  return runAsCgi(env, "", dumpRequest);
}

CgiResult send(std::string const& method, std::string const& type, std::string const& body,
              std::string const& query = "") {
  return runAsCgi({{"REQUEST_METHOD", method},
                   {"CONTENT_TYPE", type},
                   {"CONTENT_LENGTH", std::to_string(body.size())},
                   {"QUERY_STRING", query}},
                  body, dumpRequest);
}

}  // namespace

TEST(HtmlDecode, DecodesPercentEscapesOnly) {
  EXPECT_EQ(HtmlDecode("%41%zz%4"), "A%zz%4");
  EXPECT_EQ(HtmlDecode("a+b"), "a+b");
  EXPECT_EQ(HtmlDecode("%6a%6A"), "jj");
  EXPECT_EQ(HtmlDecode("%"), "%");
  EXPECT_EQ(HtmlDecode("%4"), "%4");
  EXPECT_EQ(HtmlDecode("x%41"), "xA");
  EXPECT_EQ(HtmlDecode("%%41"), "%A");
  EXPECT_EQ(std::string(HtmlDecode("%00").c_str(), 1), std::string("\0", 1));
}

TEST(CGIRequest, QueryKeepsDuplicatesAndSkipsKeylessTokens) {
  CgiResult run = get("a=1&a=2&b&=x");
  EXPECT_EQ(run.out,
            "query a=1\nquery a=2\njson null\nqs [a=1&a=2&b&=x] ct [] token 0\n");
}

TEST(CGIRequest, QueryValuesArePercentDecodedButPlusIsKept) {
  EXPECT_NE(get("k=%41%zz%4").out.find("query k=A%zz%4\n"), std::string::npos);
  EXPECT_NE(get("k=a+b").out.find("query k=a+b\n"), std::string::npos);
  EXPECT_NE(get("k=").out.find("query k=\n"), std::string::npos);
}

TEST(CGIRequest, JsonContentTypeIsCutAtSemicolon) {
  CgiResult run = send("POST", "application/json; charset=utf-8", R"({"a":1})");
  EXPECT_NE(run.out.find("json {\"a\":1}\n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("ct [application/json]"), std::string::npos);
}

// BusyBox's httpd passes a PUT's length only as the client's header.
TEST(CGIRequest, PutLengthFromTheHeaderWhenTheServerSetsNone) {
  std::string const body = R"({"a":2})";
  CgiResult run = runAsCgi({{"REQUEST_METHOD", "PUT"},
                            {"CONTENT_TYPE", "application/json"},
                            {"HTTP_CONTENT_LENGTH", std::to_string(body.size())}},
                           body, dumpRequest);
  EXPECT_NE(run.out.find("json {\"a\":2}\n"), std::string::npos) << run.out;
  // The server's own length wins over the header.
  CgiResult both = runAsCgi({{"REQUEST_METHOD", "PUT"},
                             {"CONTENT_TYPE", "application/json"},
                             {"CONTENT_LENGTH", std::to_string(body.size())},
                             {"HTTP_CONTENT_LENGTH", "x"}},
                            body, dumpRequest);
  EXPECT_NE(both.out.find("json {\"a\":2}\n"), std::string::npos) << both.out;
}

TEST(CGIRequest, ContentTypeIsNotTrimmed) {
  CgiResult run = send("POST", "application/json ; charset=utf-8", R"({"a":1})");
  EXPECT_NE(run.out.find("json null\n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("ct [application/json ]"), std::string::npos);
}

TEST(CGIRequest, PlainTextPostIsReadAsFormVariables) {
  CgiResult run = send("POST", "text/plain", "x=1&y=two");
  EXPECT_NE(run.out.find("form x=1\nform y=two\n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("json null\n"), std::string::npos);
}

TEST(CGIRequest, QueryStringOfPostAndPutIsNotParsed) {
  for (char const* method : {"POST", "PUT"}) {
    CgiResult run = send(method, "application/json", "{}", "a=1");
    EXPECT_EQ(run.out.find("query "), std::string::npos) << method;
    EXPECT_NE(run.out.find("qs [] "), std::string::npos) << method;
  }
}

TEST(CGIRequest, BadJsonLogsAtMethodSpecificLevel) {
  CgiResult post = send("POST", "application/json", "{bad");
  EXPECT_NE(post.out.find("json null\n"), std::string::npos);
  EXPECT_EQ(cgitest::loggedAt(post, "Failed to parse JSON string"), "warning src/orvo_cgi:Parse");
  CgiResult put = send("PUT", "application/json", "{bad");
  EXPECT_EQ(cgitest::loggedAt(put, "Failed to parse JSON string"), "err src/orvo_cgi:Parse");
}

TEST(CGIRequest, UnsupportedMethodIsLoggedAndBodyIgnored) {
  CgiResult run = send("DELETE", "application/json", R"({"a":1})");
  EXPECT_NE(run.out.find("json null\n"), std::string::npos);
  EXPECT_TRUE(logged(run, "Unsupported method 'DELETE'"));
}

TEST(CGIRequest, CookiesAreSplitTrimmedAndDecoded) {
  CgiResult run = get("id=x", "authId=abc; theme=dark");
  EXPECT_NE(run.out.find("cookie [authId]=[abc]\ncookie [theme]=[dark]\n"), std::string::npos);
  run = get("id=x", " authId = abc ");
  EXPECT_NE(run.out.find("cookie [authId]=[abc]\n"), std::string::npos) << run.out;
  run = get("id=x", "a=%41;;b=1");
  EXPECT_NE(run.out.find("cookie [a]=[A]\ncookie [b]=[1]\n"), std::string::npos) << run.out;
}

TEST(CGIRequest, CookieWithEqualsInValueIsRejected) {
  CgiResult run = get("id=x", "authId=a=b; ok=1");
  EXPECT_EQ(run.out.find("cookie [authId]"), std::string::npos);
  EXPECT_NE(run.out.find("cookie [ok]=[1]\n"), std::string::npos);
  EXPECT_TRUE(logged(run, "Invalid cookie 'authId=a=b'"));
  run = get("id=x", "lonely");
  EXPECT_TRUE(logged(run, "Invalid cookie 'lonely'"));
}

TEST(CGIRequest, AuthTokenMustBeAString) {
  EXPECT_NE(send("POST", "application/json", R"({"authToken":"t"})").out.find("token 1"),
            std::string::npos);
  EXPECT_NE(send("POST", "application/json", R"({"authToken":5})").out.find("token 0"),
            std::string::npos);
  EXPECT_NE(get("authToken=t").out.find("token 0"), std::string::npos);
}

TEST(CGIRequest, AbsentCookieIsASharedEmptyString) {
  CgiResult run = runAsCgi({{"REQUEST_METHOD", "GET"}}, "", [] {
    CGIRequest request;
    std::string const& first = request.CookieValueByName("none");
    std::string const& second = request.CookieValueByName("other");
    std::printf("%d %d", first.empty() ? 1 : 0, &first == &second ? 1 : 0);
    return 0;
  });
  EXPECT_EQ(run.out, "1 1");
}

TEST(CGIRequest, ListAccessorsAppendToWhatTheCallerHolds) {
  CgiResult lists = runAsCgi({{"REQUEST_METHOD", "GET"}, {"QUERY_STRING", "b=2&a=1&a=3&a=1"}}, "", [] {
    CGIRequest request;
    std::list<std::string> values = {"keep"};
    request.QueryValues(values);
    for (auto const& v : values) std::printf("%s,", v.c_str());
    std::set<std::string> set;
    request.QueryValuesByKey("a", set);
    std::printf("|%zu|%s", set.size(), request.QueryValueByKey("a").c_str());
    std::set<std::string> keys;
    request.QueryKeys(keys);
    std::printf("|%zu", keys.size());
    return 0;
  });
  EXPECT_EQ(lists.out, "keep,1,3,1,2,|2|1|2");
}
