#include "cgilib_test_support.h"

#include <dirent.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace cgilib_test {

namespace {

std::string tempRoot() {
  char const* tmp = std::getenv("TMPDIR");
  return tmp != nullptr && tmp[0] != '\0' ? tmp : ORVO_BINARY_DIR;
}

}  // namespace

TempDir::TempDir() {
  std::string pattern = tempRoot() + "/cgilib-test-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() {
  for (auto const& name : entries()) unlink((path_ + "/" + name).c_str());
  rmdir(path_.c_str());
}

std::vector<std::string> TempDir::entries() const {
  std::vector<std::string> names;
  DIR* dir = opendir(path_.c_str());
  while (dirent* entry = dir ? readdir(dir) : nullptr) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  if (dir) closedir(dir);
  return names;
}

int bodyFd(std::string const& body) {
  int fd = memfd_create("cgilib-body", 0);
  if (fd < 0) throw std::runtime_error("memfd_create failed");
  if (write(fd, body.data(), body.size()) != static_cast<ssize_t>(body.size())) {
    throw std::runtime_error("memfd write failed");
  }
  lseek(fd, 0, SEEK_SET);
  return fd;
}

s_cgi* parse(std::string const& dir, char const* method, char const* contentType,
             char const* contentLength, std::string const& body, char const* query) {
  cgiSetTempDir(dir.c_str());
  int fd = bodyFd(body);
  s_cgi* cgi = cgiInitFrom(method, contentType, contentLength, query, fd);
  close(fd);
  return cgi;
}

s_cgi* parseBody(std::string const& dir, char const* method, char const* contentType,
                 std::string const& body) {
  std::string length = std::to_string(body.size());
  return parse(dir, method, contentType, length.c_str(), body);
}

std::string readFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

bool fileExists(std::string const& path) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0;
}

MultipartBody& MultipartBody::text(std::string const& name, std::string const& value) {
  body_ += "--" + boundary_ + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" +
           value + "\r\n";
  return *this;
}

MultipartBody& MultipartBody::file(std::string const& name, std::string const& filename,
                                   std::string const& type, std::string const& content) {
  body_ += "--" + boundary_ + "\r\nContent-Disposition: form-data; name=\"" + name +
           "\"; filename=\"" + filename + "\"\r\nContent-Type: " + type + "\r\n\r\n" + content + "\r\n";
  return *this;
}

}  // namespace cgilib_test
