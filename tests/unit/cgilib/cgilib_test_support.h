// Helpers for the CGI library tests: a private upload folder, request bodies
// as file descriptors, and a one-call request parse.
#pragma once

#include <string>
#include <vector>

#include "cgi.h"

namespace cgilib_test {

// A fresh folder under the build tree (or $TMPDIR), removed with its files.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(TempDir const&) = delete;
  TempDir& operator=(TempDir const&) = delete;
  std::string const& path() const { return path_; }
  std::vector<std::string> entries() const;

 private:
  std::string path_;
};

// A readable descriptor holding exactly `body` (memfd); the caller closes it.
int bodyFd(std::string const& body);

// Parses a request with `body` on its input; the upload folder is `dir`.
s_cgi* parse(std::string const& dir, char const* method, char const* contentType,
             char const* contentLength, std::string const& body, char const* query = nullptr);

// Same, with CONTENT_LENGTH = body size.
s_cgi* parseBody(std::string const& dir, char const* method, char const* contentType,
                 std::string const& body);

std::string readFile(std::string const& path);
bool fileExists(std::string const& path);

// A multipart/form-data body assembled part by part.
class MultipartBody {
 public:
  explicit MultipartBody(std::string boundary) : boundary_(std::move(boundary)) {}
  MultipartBody& text(std::string const& name, std::string const& value);
  MultipartBody& file(std::string const& name, std::string const& filename, std::string const& type,
                      std::string const& content);
  std::string close() const { return body_ + "--" + boundary_ + "--\r\n"; }
  std::string open() const { return body_; }

 private:
  std::string boundary_;
  std::string body_;
};

}  // namespace cgilib_test
