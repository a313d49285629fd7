// multipart/form-data requests through cgiInitFrom: variables, uploads on
// disk, and refusals that leave no file behind.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include <string>

#include "cgilib_test_support.h"

using namespace cgilib_test;

namespace {

constexpr char kBoundary[] = "----formBoundary7MA4YWxk";
constexpr char kType[] = "multipart/form-data; boundary=----formBoundary7MA4YWxk";

class MultipartTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_TRUE(dir.entries().empty()) << dir.entries().front(); }

  // Asserts a refusal with `expected` and that no upload file is left.
  void expectRefused(std::string const& body, cgi_error expected, char const* type = kType) {
    s_cgi* cgi = parseBody(dir.path(), "POST", type, body);
    EXPECT_EQ(cgi, nullptr);
    EXPECT_EQ(cgiLastError(), expected) << cgiErrorText(cgiLastError());
    EXPECT_TRUE(dir.entries().empty());
    cgiFree(cgi);
  }

  TempDir dir;
};

std::string binaryContent() {
  std::string bytes;
  for (int i = 0; i < 3000; ++i) bytes += static_cast<char>(i * 7 % 256);
  bytes += "\r\n--" + std::string(kBoundary, 10) + "\r\n\r\n-";  // near-delimiters stay content
  return bytes;
}

TEST_F(MultipartTest, TextAndFilePartsAreDelivered) {
  std::string content = binaryContent();
  std::string body = MultipartBody(kBoundary)
                         .text("user", "admin")
                         .file("image", "fw.bin", "application/octet-stream", content)
                         .text("note", "line1\r\nline2")
                         .close();
  s_cgi* cgi = parseBody(dir.path(), "POST", kType, body);
  ASSERT_NE(cgi, nullptr) << cgiErrorText(cgiLastError());
  EXPECT_STREQ(cgiGetValue(cgi, "user"), "admin");
  EXPECT_STREQ(cgiGetValue(cgi, "note"), "line1\r\nline2");
  EXPECT_EQ(cgiGetText(cgi), nullptr);

  char** files = cgiGetFiles(cgi);
  ASSERT_NE(files, nullptr);
  EXPECT_STREQ(files[0], "image");
  EXPECT_EQ(files[1], nullptr);
  cgiFreeList(files);

  s_file* file = cgiGetFile(cgi, "image");
  ASSERT_NE(file, nullptr);
  EXPECT_STREQ(file->name, "image");
  EXPECT_STREQ(file->filename, "fw.bin");
  EXPECT_STREQ(file->type, "application/octet-stream");
  std::string tmpfile = file->tmpfile;
  EXPECT_EQ(tmpfile.rfind(dir.path() + "/cgi-upload-", 0), 0u) << tmpfile;
  EXPECT_EQ(readFile(tmpfile), content);
  EXPECT_EQ(cgiGetFile(cgi, "user"), nullptr);

  cgiFree(cgi);
  EXPECT_FALSE(fileExists(tmpfile));
}

TEST_F(MultipartTest, CgiFreeLeavesARenamedUploadAlone) {
  std::string body = MultipartBody(kBoundary).file("f", "a.txt", "text/plain", "keep me").close();
  s_cgi* cgi = parseBody(dir.path(), "POST", kType, body);
  ASSERT_NE(cgi, nullptr);
  std::string kept = dir.path() + "/kept";
  ASSERT_EQ(rename(cgiGetFile(cgi, "f")->tmpfile, kept.c_str()), 0);
  cgiFree(cgi);
  EXPECT_EQ(readFile(kept), "keep me");
  unlink(kept.c_str());
}

TEST_F(MultipartTest, SeveralUploadsEachGetTheirOwnFile) {
  std::string body = MultipartBody(kBoundary)
                         .file("a", "1.txt", "text/plain", "first")
                         .file("b", "", "", "")
                         .file("a", "2.txt", "text/plain", "second")
                         .close();
  s_cgi* cgi = parseBody(dir.path(), "POST", kType, body);
  ASSERT_NE(cgi, nullptr) << cgiErrorText(cgiLastError());
  EXPECT_EQ(dir.entries().size(), 3u);
  char** files = cgiGetFiles(cgi);
  ASSERT_NE(files, nullptr);
  EXPECT_STREQ(files[0], "a");
  EXPECT_STREQ(files[1], "b");
  EXPECT_EQ(files[2], nullptr);
  cgiFreeList(files);
  EXPECT_EQ(readFile(cgiGetFile(cgi, "a")->tmpfile), "first");  // the first of a name
  EXPECT_EQ(readFile(cgiGetFile(cgi, "b")->tmpfile), "");
  EXPECT_STREQ(cgiGetFile(cgi, "b")->filename, "");
  cgiFree(cgi);
  EXPECT_TRUE(dir.entries().empty());
}

TEST_F(MultipartTest, QuotedBoundaryWithBlanksAndPreambleEpilogue) {
  std::string boundary = "simple boundary:'()+_,-./=?";
  std::string type = "Multipart/Form-Data; charset=\"a;b\"; BOUNDARY=\"" + boundary + "\"";
  std::string body = "preamble text\r\n" +
                     MultipartBody(boundary).text("a", "1").close() + "epilogue\r\n--junk";
  s_cgi* cgi = parseBody(dir.path(), "POST", type.c_str(), body);
  ASSERT_NE(cgi, nullptr) << cgiErrorText(cgiLastError());
  EXPECT_STREQ(cgiGetValue(cgi, "a"), "1");
  cgiFree(cgi);
}

TEST_F(MultipartTest, HeaderParametersAreParsedCarefully) {
  std::string body = std::string("--") + kBoundary +
                     "\r\ncontent-disposition:  form-data ;filename=\"a\\\"b;c.txt\" ; name=up\r\n"
                     "X-Other: ignored\r\ncontent-type: image/png\r\n\r\nPNG\r\n--" +
                     kBoundary + "  \t\r\nContent-Disposition: form-data; name=\"filename\"\r\n\r\nv\r\n--" +
                     kBoundary + "--";
  s_cgi* cgi = parseBody(dir.path(), "POST", kType, body);
  ASSERT_NE(cgi, nullptr) << cgiErrorText(cgiLastError());
  s_file* file = cgiGetFile(cgi, "up");
  ASSERT_NE(file, nullptr);
  EXPECT_STREQ(file->filename, "a\"b;c.txt");
  EXPECT_STREQ(file->type, "image/png");
  EXPECT_EQ(readFile(file->tmpfile), "PNG");
  EXPECT_STREQ(cgiGetValue(cgi, "filename"), "v");
  cgiFree(cgi);
}

TEST_F(MultipartTest, BareLfIsNotALineBreak) {
  // Only CRLF ends lines and opens delimiters; LF-only input never closes.
  std::string body = std::string("--") + kBoundary +
                     "\nContent-Disposition: form-data; name=\"a\"\n\n1\n--" + kBoundary + "--\n";
  expectRefused(body, CGI_ERR_MALFORMED);
  std::string lfContent = MultipartBody(kBoundary).text("a", "x\n--").close();
  s_cgi* cgi = parseBody(dir.path(), "POST", kType, lfContent);
  ASSERT_NE(cgi, nullptr);
  EXPECT_STREQ(cgiGetValue(cgi, "a"), "x\n--");
  cgiFree(cgi);
}

TEST_F(MultipartTest, TruncatedBodiesAreRefused) {
  std::string full = MultipartBody(kBoundary).file("f", "x.bin", "a/b", std::string(5000, 'z')).close();
  for (size_t cut : {size_t{0}, size_t{10}, size_t{120}, size_t{3000}, full.size() - 3}) {
    SCOPED_TRACE(cut);
    expectRefused(full.substr(0, cut), cut == 0 ? CGI_ERR_NOTHING : CGI_ERR_TRUNCATED);
  }
}

TEST_F(MultipartTest, BodyShorterThanAnnouncedIsRefused) {
  std::string full = MultipartBody(kBoundary).file("f", "x.bin", "a/b", "data").close();
  std::string length = std::to_string(full.size() + 100);
  EXPECT_EQ(parse(dir.path(), "POST", kType, length.c_str(), full), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_SHORT_BODY);
  EXPECT_TRUE(dir.entries().empty());
}

TEST_F(MultipartTest, BoundaryMustBeValid) {
  std::string body = MultipartBody("b").text("a", "1").close();
  for (char const* type : {"multipart/form-data", "multipart/form-data; boundary=",
                           "multipart/form-data; boundary=\"\"", "multipart/form-data; boundary=\"ab",
                           "multipart/form-data; boundary=\"a\x01\"", "multipart/form-data; boundary=\"b \"",
                           "multipart/form-data; boundary=a{b"}) {
    SCOPED_TRACE(type);
    expectRefused(body, CGI_ERR_BOUNDARY, type);
  }
  std::string longest(CGI_MAX_BOUNDARY, 'b');
  std::string type = "multipart/form-data; boundary=" + longest;
  s_cgi* cgi = parseBody(dir.path(), "POST", type.c_str(), MultipartBody(longest).text("a", "1").close());
  ASSERT_NE(cgi, nullptr);
  cgiFree(cgi);
  std::string tooLong = type + "b";
  expectRefused(MultipartBody(longest + "b").text("a", "1").close(), CGI_ERR_BOUNDARY, tooLong.c_str());
}

TEST_F(MultipartTest, MalformedPartsAreRefused) {
  std::string head = std::string("--") + kBoundary + "\r\n";
  std::string tail = std::string("\r\nx\r\n--") + kBoundary + "--\r\n";
  expectRefused(head + "Content-Type: text/plain\r\n" + tail, CGI_ERR_MALFORMED);   // no disposition
  expectRefused(head + "Content-Disposition: attachment; name=a\r\n" + tail, CGI_ERR_MALFORMED);
  expectRefused(head + "Content-Disposition: form-data\r\n" + tail, CGI_ERR_MALFORMED);  // no name
  expectRefused(head + "Content-Disposition: form-data; name=\"\"\r\n" + tail, CGI_ERR_MALFORMED);
  expectRefused(head + "Content-Disposition: form-data; name=\"a\r\n" + tail, CGI_ERR_MALFORMED);
  expectRefused(head + "Content-Disposition: form-data; name=a\r\n folded\r\n" + tail, CGI_ERR_MALFORMED);
  expectRefused(head + "no colon\r\n" + tail, CGI_ERR_MALFORMED);
  // a delimiter followed by neither "--" nor a line end
  expectRefused(head + "Content-Disposition: form-data; name=a\r\n\r\nx\r\n--" + kBoundary + "zz\r\n",
                CGI_ERR_MALFORMED);
}

TEST_F(MultipartTest, NulBytesAreRefused) {
  std::string head = std::string("--") + kBoundary + "\r\n";
  std::string tail = std::string("\r\n--") + kBoundary + "--\r\n";
  using namespace std::string_literals;
  expectRefused(head + "Content-Disposition: form-data; name=\"a\0b\"\r\n\r\nv"s + tail, CGI_ERR_NUL_BYTE);
  expectRefused(head + "X-A: \0\r\nContent-Disposition: form-data; name=a\r\n\r\nv"s + tail, CGI_ERR_NUL_BYTE);
  expectRefused(head + "Content-Disposition: form-data; name=a\r\n\r\nv\0w"s + tail, CGI_ERR_NUL_BYTE);
  // in a file's content a NUL byte is just data
  std::string body = MultipartBody(kBoundary).file("f", "n", "x/y", "a\0b"s).close();
  s_cgi* cgi = parseBody(dir.path(), "POST", kType, body);
  ASSERT_NE(cgi, nullptr);
  EXPECT_EQ(readFile(cgiGetFile(cgi, "f")->tmpfile), "a\0b"s);
  cgiFree(cgi);
}

TEST_F(MultipartTest, HeaderSizeIsBounded) {
  std::string head = std::string("--") + kBoundary + "\r\nContent-Disposition: form-data; name=f; filename=x\r\n";
  std::string tail = std::string("\r\ndata\r\n--") + kBoundary + "--\r\n";
  std::string bigHeader = "X-Big: " + std::string(CGI_MAX_PART_HEADER, 'h') + "\r\n";
  expectRefused(head + bigHeader + tail, CGI_ERR_HEADER_TOO_LARGE);
  std::string manyLines;
  for (int i = 0; i < 2000; ++i) manyLines += "X-" + std::to_string(i) + ": v\r\n";
  expectRefused(head + manyLines + tail, CGI_ERR_HEADER_TOO_LARGE);
  // an enormous header without any line end stops at the limit too
  expectRefused(head + std::string(1 << 20, 'h'), CGI_ERR_HEADER_TOO_LARGE);
}

TEST_F(MultipartTest, PartAndVariableLimits) {
  MultipartBody many(kBoundary);
  for (int i = 0; i <= CGI_MAX_PARTS; ++i) many.file("f" + std::to_string(i), "x", "a/b", "data");
  expectRefused(many.close(), CGI_ERR_TOO_MANY_PARTS);

  MultipartBody manyVars(kBoundary);
  for (int i = 0; i <= CGI_MAX_VARIABLES; ++i) manyVars.text("v" + std::to_string(i), "1");
  expectRefused(manyVars.close(), CGI_MAX_VARIABLES < CGI_MAX_PARTS ? CGI_ERR_TOO_MANY_VARIABLES
                                                                     : CGI_ERR_TOO_MANY_PARTS);

  expectRefused(MultipartBody(kBoundary).text("v", std::string(CGI_MAX_VALUE_LEN + 1, 'x')).close(),
                CGI_ERR_VALUE_TOO_LARGE);
  expectRefused(MultipartBody(kBoundary).text(std::string(CGI_MAX_NAME_LEN + 1, 'n'), "1").close(),
                CGI_ERR_NAME_TOO_LONG);
  std::string length = std::to_string(CGI_MAX_MULTIPART_BODY + 1);
  EXPECT_EQ(parse(dir.path(), "POST", kType, length.c_str(), "--"), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_TOO_LARGE);
}

TEST_F(MultipartTest, UnwritableTempDirIsRefusedCleanly) {
  std::string body = MultipartBody(kBoundary).file("f", "x", "a/b", "data").close();
  std::string missing = dir.path() + "/missing";
  cgiSetTempDir(missing.c_str());
  int fd = bodyFd(body);
  std::string length = std::to_string(body.size());
  EXPECT_EQ(cgiInitFrom("POST", kType, length.c_str(), nullptr, fd), nullptr);
  EXPECT_EQ(cgiLastError(), CGI_ERR_UPLOAD);
  close(fd);
}

TEST_F(MultipartTest, FailureAfterAnUploadRemovesIt) {
  std::string body = MultipartBody(kBoundary).file("f", "x", "a/b", std::string(100000, 'd')).open() +
                     "--" + kBoundary + "\r\nContent-Disposition: form-data\r\n\r\n";
  expectRefused(body, CGI_ERR_MALFORMED);
}

// A full disk part way through an upload (a file size limit in a child):
// the request is refused and the part written so far is gone.
TEST_F(MultipartTest, UploadThatFillsTheDiskIsRefusedAndRemoved) {
  std::string body =
      MultipartBody(kBoundary).file("f", "fw.bin", "a/b", std::string(256 * 1024, 'd')).close();
  int fd = bodyFd(body);  // the body itself is not limited
  std::string length = std::to_string(body.size());
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{64 * 1024, 64 * 1024};
    setrlimit(RLIMIT_FSIZE, &limit);
    cgiSetTempDir(dir.path().c_str());
    s_cgi* cgi = cgiInitFrom("POST", kType, length.c_str(), nullptr, fd);
    _exit(cgi == nullptr && cgiLastError() == CGI_ERR_UPLOAD ? 0 : 1);
  }
  close(fd);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0) << "the upload should have been refused";
  EXPECT_TRUE(dir.entries().empty());
}

}  // namespace
