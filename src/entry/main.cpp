// Program entry: the web server starts rest.cgi once per HTTP request.
#include <cstdlib>
#include <cstring>
#include <string>

#include "cgi/log_tag.h"
#include "entry/dispatch.h"

namespace {

constexpr char kLogFile[] = "src/main";

// The text after the last "/" of argv[0]; empty when there is no "/" or it
// ends the path (so a bare "rest.cgi" is refused: the server always runs us
// through a path).
std::string baseName(char const* path) {
  if (!path) return "";
  char const* slash = std::strrchr(path, '/');
  if (!slash || slash[1] == '\0') return "";
  return slash + 1;
}

}  // namespace

int main(int argc, char** argv) {
  openlog("orvo_cgi", LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);

  std::string const name = baseName(argc > 0 ? argv[0] : nullptr);
  if (name != "rest.cgi") {
    ORVO_LOG("main", LOG_ERR, 0, "Invalid CGI request: %s", name.c_str());
    return -1;
  }
  char const* query = std::getenv("QUERY_STRING");
  char const* id = (query && *query) ? std::strstr(query, "id=") : nullptr;
  if (!id || id[3] == '\0') {
    ORVO_LOG("main", LOG_WARNING, 0, "Invalid rest request");
    return -1;
  }
  return processRestRequest(std::string(id + 3));
}
