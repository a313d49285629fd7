// The streaming multipart parser on its own: the same events whatever the
// chunking of the input, and the boundary rules.
#include <gtest/gtest.h>

#include <string>

#include "cgi_multipart.h"
#include "cgilib_test_support.h"

namespace {

// Records the parser's events as text: "[name|filename|type]" data... "/".
struct Recorder {
  std::string log;
  static cgi_error begin(void* ctx, cgi_mp_part const* part) {
    auto* self = static_cast<Recorder*>(ctx);
    self->log += "[" + std::string(part->name) + "|" + (part->filename ? part->filename : "-") + "|" +
                 part->content_type + "]";
    return CGI_OK;
  }
  static cgi_error data(void* ctx, char const* bytes, size_t len) {
    static_cast<Recorder*>(ctx)->log.append(bytes, len);
    return CGI_OK;
  }
  static cgi_error end(void* ctx) {
    static_cast<Recorder*>(ctx)->log += "/";
    return CGI_OK;
  }
};

constexpr cgi_mp_callbacks kRecord = {Recorder::begin, Recorder::data, Recorder::end};

// Feeds `body` in pieces of `chunk` bytes; returns the log and the result.
std::pair<std::string, cgi_error> run(std::string const& boundary, std::string const& body, size_t chunk) {
  Recorder recorder;
  cgi_mp_parser* parser = cgi_mp_new(boundary.c_str(), &kRecord, &recorder);
  cgi_error e = CGI_OK;
  for (size_t at = 0; at < body.size() && e == CGI_OK; at += chunk) {
    e = cgi_mp_feed(parser, body.data() + at, std::min(chunk, body.size() - at));
  }
  e = cgi_mp_finish(parser);
  cgi_mp_free(parser);
  return {recorder.log, e};
}

TEST(MultipartParser, EventsDoNotDependOnChunking) {
  std::string boundary = "xYz";
  std::string body = "preamble\r\n--xY\r\n" +
                     cgilib_test::MultipartBody(boundary)
                         .text("a", "1\r\n--xY\r")
                         .file("f", "b.bin", "x/y", "\r\n\r\n--xY\r\n-")
                         .close();
  auto whole = run(boundary, body, body.size());
  ASSERT_EQ(whole.second, CGI_OK);
  EXPECT_EQ(whole.first, "[a|-|]1\r\n--xY\r/[f|b.bin|x/y]\r\n\r\n--xY\r\n-/");
  for (size_t chunk = 1; chunk < body.size(); ++chunk) {
    SCOPED_TRACE(chunk);
    EXPECT_EQ(run(boundary, body, chunk), whole);
  }
}

TEST(MultipartParser, DelimiterFollowedByJunkIsRefused) {
  std::string body = cgilib_test::MultipartBody("xYz").file("f", "b", "t", "\r\n--xYz-not").close();
  EXPECT_EQ(run("xYz", body, body.size()).second, CGI_ERR_MALFORMED);
}

TEST(MultipartParser, LargeContentPassesThroughAFixedWindow) {
  std::string content(3 * CGI_MP_WINDOW + 17, 'c');
  std::string body = cgilib_test::MultipartBody("b").file("f", "n", "t", content).close();
  auto result = run("b", body, 4096);
  EXPECT_EQ(result.second, CGI_OK);
  EXPECT_EQ(result.first, "[f|n|t]" + content + "/");
}

TEST(MultipartParser, ErrorIsSticky) {
  Recorder recorder;
  cgi_mp_parser* parser = cgi_mp_new("b", &kRecord, &recorder);
  std::string bad = "--b\r\nbad header\r\n";
  std::string closing = "\r\n--b--\r\n";
  EXPECT_EQ(cgi_mp_feed(parser, bad.data(), bad.size()), CGI_ERR_MALFORMED);
  EXPECT_EQ(cgi_mp_feed(parser, closing.data(), closing.size()), CGI_ERR_MALFORMED);
  EXPECT_EQ(cgi_mp_finish(parser), CGI_ERR_MALFORMED);
  cgi_mp_free(parser);
}

TEST(MultipartParser, CallbackErrorStopsTheParse) {
  cgi_mp_callbacks refuse = kRecord;
  refuse.part_data = [](void*, char const*, size_t) { return CGI_ERR_UPLOAD; };
  Recorder recorder;
  cgi_mp_parser* parser = cgi_mp_new("b", &refuse, &recorder);
  std::string body = cgilib_test::MultipartBody("b").text("a", "1").close();
  EXPECT_EQ(cgi_mp_feed(parser, body.data(), body.size()), CGI_ERR_UPLOAD);
  EXPECT_EQ(recorder.log, "[a|-|]");
  cgi_mp_free(parser);
}

TEST(MultipartBoundary, TakesTokenOrQuotedValue) {
  char out[CGI_MAX_BOUNDARY + 1];
  ASSERT_EQ(cgi_mp_boundary("multipart/form-data; boundary=abc", out), CGI_OK);
  EXPECT_STREQ(out, "abc");
  ASSERT_EQ(cgi_mp_boundary("multipart/form-data;boundary=\"a b\" ; x=y", out), CGI_OK);
  EXPECT_STREQ(out, "a b");
  ASSERT_EQ(cgi_mp_boundary("multipart/form-data; xboundary=no; boundary=yes", out), CGI_OK);
  EXPECT_STREQ(out, "yes");
  ASSERT_EQ(cgi_mp_boundary("multipart/form-data; x=\"boundary=no\"; boundary=yes", out), CGI_OK);
  EXPECT_STREQ(out, "yes");
  EXPECT_EQ(cgi_mp_boundary(nullptr, out), CGI_ERR_BOUNDARY);
  EXPECT_EQ(cgi_mp_boundary("multipart/form-data; boundary=a\"b", out), CGI_ERR_BOUNDARY);
  EXPECT_EQ(cgi_mp_boundary("multipart/form-data; boundary=a\\b", out), CGI_ERR_BOUNDARY);
}

}  // namespace
