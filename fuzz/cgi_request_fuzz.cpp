// Fuzzes the whole request parse: method, content type, query string,
// cookies and body (form, multipart or JSON) come from the input, and
// CONTENT_LENGTH sometimes lies. Afterwards no upload may be left behind.
// The query line also goes through the request-string split, whose parts
// must put the string back together.
#include <dirent.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "cgi/orvo_cgi.h"
#include "entry/dispatch.h"

namespace {

std::string gRoot;

// Splits off the next line of the input (without its newline).
std::string nextLine(char const*& data, char const* end) {
  char const* newline = static_cast<char const*>(std::memchr(data, '\n', end - data));
  char const* stop = newline ? newline : end;
  std::string line(data, stop);
  data = newline ? newline + 1 : end;
  return line;
}

bool tmpIsEmpty() {
  DIR* dir = opendir((gRoot + "/tmp").c_str());
  if (!dir) return true;
  bool empty = true;
  while (dirent* entry = readdir(dir)) {
    if (entry->d_name[0] != '.') empty = false;
  }
  closedir(dir);
  return empty;
}

// The split never loses or invents text: version and endpoint hold no "/",
// and "<version>/<endpoint>[/<rest>]" starts (or is) the request string.
void checkSplit(std::string const& query) {
  std::size_t id = query.find("id=");
  if (id == std::string::npos) return;
  std::string const request = query.substr(id + 3);
  RestRequestPath path;
  bool accepted = splitRestRequest(request, path);
  if (path.version.find('/') != std::string::npos || path.endpoint.find('/') != std::string::npos) {
    abort();
  }
  if (!accepted || path.version.empty()) return;
  std::string const joined = path.version + "/" + path.endpoint;
  if (request.compare(0, joined.size(), joined) != 0) abort();
  if (!path.rest.empty() && request != joined + "/" + path.rest) abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // A camera root of our own, under $TMPDIR (the test runner points it into
  // the build folder) or the current folder.
  char const* base = getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : ".") + "/orvo-fuzz-request-XXXXXX";
  if (!mkdtemp(&pattern[0])) abort();
  gRoot = pattern;
  for (char const* sub : {"/tmp", "/var", "/var/log", "/run"}) {
    std::string path = gRoot + sub;
    mkdir(path.c_str(), 0755);
  }
  setenv("ORVO_ROOT", gRoot.c_str(), 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* bytes, size_t size) {
  if (gRoot.empty()) LLVMFuzzerInitialize(nullptr, nullptr);
  if (size < 1) return 0;
  int lie = bytes[0] % 4;  // 0: honest length, 1: longer, 2: shorter, 3: absent
  char const* data = reinterpret_cast<char const*>(bytes + 1);
  char const* end = reinterpret_cast<char const*>(bytes + size);
  std::string method = nextLine(data, end);
  std::string type = nextLine(data, end);
  std::string query = nextLine(data, end);
  std::string cookie = nextLine(data, end);
  checkSplit(query);
  size_t bodySize = static_cast<size_t>(end - data);

  int fd = memfd_create("body", 0);
  if (fd < 0) abort();
  if (bodySize && write(fd, data, bodySize) != static_cast<ssize_t>(bodySize)) abort();
  lseek(fd, 0, SEEK_SET);
  int savedStdin = dup(0);
  dup2(fd, 0);
  close(fd);

  setenv("REQUEST_METHOD", method.c_str(), 1);
  setenv("CONTENT_TYPE", type.c_str(), 1);
  setenv("QUERY_STRING", query.c_str(), 1);
  setenv("HTTP_COOKIE", cookie.c_str(), 1);
  size_t announced = lie == 1 ? bodySize + 17 : lie == 2 ? bodySize / 2 : bodySize;
  if (lie == 3) {
    unsetenv("CONTENT_LENGTH");
  } else {
    setenv("CONTENT_LENGTH", std::to_string(announced).c_str(), 1);
  }
  {
    orvo::cgi::CGIRequest request;
    std::string text;
    request.Json().ToJSON(text, false);
    (void)request.HasAuthToken();
    // The response releases the library handle (and with it any upload);
    // its output is not wanted here.
    FILE* quiet = freopen("/dev/null", "w", stdout);
    (void)quiet;
    orvo::cgi::CGIResponse response(request);
  }
  dup2(savedStdin, 0);
  close(savedStdin);
  if (!tmpIsEmpty()) {
    std::fprintf(stderr, "an upload was left behind in %s/tmp\n", gRoot.c_str());
    abort();
  }
  return 0;
}
