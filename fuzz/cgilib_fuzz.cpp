// Fuzzes the CGI library. The first bytes choose method, content type,
// CONTENT_LENGTH and a chunk size; the rest is the body (or query string).
// A selector bit defers the multipart body to cgiReadMultipart.
// Checks: no crash, no upload file left after cgiFree, and the multipart
// parser reports the same events whether fed at once or in chunks.
#include <dirent.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "cgi.h"
#include "cgi_multipart.h"

namespace {

constexpr size_t kSelectorBytes = 4;

char const* const kMethods[] = {"POST", "PUT", "GET", "DELETE", nullptr};
char const* const kContentTypes[] = {
    "multipart/form-data; boundary=b",
    "multipart/form-data; boundary=\"a b:c\"",
    "multipart/form-data; boundary=----WebKitFormBoundary7MA4YWxkTrZu0gW",
    "multipart/form-data",
    "application/x-www-form-urlencoded",
    "application/json",
    "text/plain",
    nullptr,
};

template <typename T, size_t N>
T pick(T const (&options)[N], uint8_t byte) {
  return options[byte % N];
}

// Upload folder of this run, removed at exit (left over from a crash it
// holds the files that prove it). Never freed: atexit needs it.
std::string const& fuzzDir() {
  static std::string const* const dir = [] {
    char const* base = std::getenv("TMPDIR");
    auto* pattern = new std::string(std::string(base && *base ? base : ".") + "/cgilib-fuzz-XXXXXX");
    if (mkdtemp(pattern->data()) == nullptr) std::abort();
    return pattern;
  }();
  return *dir;
}

void removeFuzzDir() { rmdir(fuzzDir().c_str()); }

bool dirIsEmpty(std::string const& path) {
  DIR* dir = opendir(path.c_str());
  if (dir == nullptr) return false;
  bool empty = true;
  while (dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") empty = false;
  }
  closedir(dir);
  return empty;
}

// CONTENT_LENGTH: exact, announcing more than sent, less than sent, or junk.
std::string contentLength(uint8_t mode, size_t bodySize) {
  switch (mode % 4) {
    case 0: return std::to_string(bodySize);
    case 1: return std::to_string(bodySize + 1 + mode / 4);
    case 2: return std::to_string(bodySize > mode / 4 ? bodySize - mode / 4 : 0);
    default: return "-" + std::to_string(bodySize);
  }
}

void touchEverything(s_cgi* cgi) {
  char** names = cgiGetVariables(cgi);
  for (char** p = names; p && *p; ++p) {
    if (cgiGetValue(cgi, *p) == nullptr) std::abort();
  }
  cgiFreeList(names);
  char** files = cgiGetFiles(cgi);
  for (char** p = files; p && *p; ++p) {
    s_file* file = cgiGetFile(cgi, *p);
    if (file == nullptr || file->tmpfile == nullptr || access(file->tmpfile, F_OK) != 0) std::abort();
  }
  cgiFreeList(files);
  (void)cgiGetText(cgi);
}

void parseRequest(uint8_t const* selectors, std::string const& body) {
  cgiSetTempDir(fuzzDir().c_str());
  int fd = memfd_create("cgilib-fuzz", 0);
  if (fd < 0 || write(fd, body.data(), body.size()) != static_cast<ssize_t>(body.size())) std::abort();
  lseek(fd, 0, SEEK_SET);
  std::string length = contentLength(selectors[2], body.size());
  std::string query(body.c_str());  // up to the first NUL, as an environment variable would be
  // Half the inputs leave a multipart body on the input and read it later.
  bool const defer = selectors[3] & 0x80;
  cgiDeferMultipart(defer);
  s_cgi* cgi = cgiInitFrom(pick(kMethods, selectors[0]), pick(kContentTypes, selectors[1]), length.c_str(),
                           query.c_str(), fd);
  if (defer) (void)cgiReadMultipart(cgi);
  close(fd);
  touchEverything(cgi);
  cgiFree(cgi);
  if (!dirIsEmpty(fuzzDir())) std::abort();  // an upload file outlived its request
}

struct Recorder {
  std::string log;
};

cgi_error onBegin(void* ctx, cgi_mp_part const* part) {
  auto* r = static_cast<Recorder*>(ctx);
  r->log += std::string("[") + part->name + "|" + (part->filename ? part->filename : "-") + "|" +
            part->content_type + "]";
  return CGI_OK;
}

cgi_error onData(void* ctx, char const* data, size_t len) {
  static_cast<Recorder*>(ctx)->log.append(data, len);
  return CGI_OK;
}

cgi_error onEnd(void* ctx) {
  static_cast<Recorder*>(ctx)->log += "/";
  return CGI_OK;
}

std::string runParser(char const* boundary, std::string const& body, size_t chunk) {
  static cgi_mp_callbacks const callbacks = {onBegin, onData, onEnd};
  Recorder recorder;
  cgi_mp_parser* parser = cgi_mp_new(boundary, &callbacks, &recorder);
  if (parser == nullptr) std::abort();
  cgi_error e = CGI_OK;
  for (size_t at = 0; at < body.size() && e == CGI_OK; at += chunk) {
    e = cgi_mp_feed(parser, body.data() + at, std::min(chunk, body.size() - at));
  }
  e = cgi_mp_finish(parser);
  cgi_mp_free(parser);
  return std::to_string(e) + ":" + recorder.log;
}

// The parser's events must not depend on how the input was cut.
void compareChunkings(uint8_t const* selectors, std::string const& body) {
  char boundary[CGI_MAX_BOUNDARY + 1];
  char const* type = pick(kContentTypes, selectors[1]);
  if (type == nullptr || cgi_mp_boundary(type, boundary) != CGI_OK) return;
  size_t chunk = 1 + selectors[3] % 97;
  if (runParser(boundary, body, body.size() + 1) != runParser(boundary, body, chunk)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  static bool const registered = (fuzzDir(), std::atexit(removeFuzzDir) == 0);
  (void)registered;
  if (size < kSelectorBytes) return 0;
  std::string body(reinterpret_cast<char const*>(data) + kSelectorBytes, size - kSelectorBytes);
  parseRequest(data, body);
  compareChunkings(data, body);
  return 0;
}
