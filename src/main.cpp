// Program entry: the web server starts rest.cgi once per HTTP request.
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include "rest_log.h"
#include "rest.h"

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

// Replaces the C++ library's default handler for an uncaught exception, whose
// demangling of the exception's type name alone is about 50 KB of the static
// program. The message names what() instead; the end is the same abort().
namespace __gnu_cxx {
void __verbose_terminate_handler() {
  static char const kPrefix[] = "rest.cgi: terminate called after an uncaught exception";
  ssize_t ignored = write(STDERR_FILENO, kPrefix, sizeof kPrefix - 1);
  if (std::exception_ptr current = std::current_exception()) {
    try {
      std::rethrow_exception(current);
    } catch (std::exception const& error) {
      ignored = write(STDERR_FILENO, ": ", 2);
      ignored = write(STDERR_FILENO, error.what(), std::strlen(error.what()));
    } catch (...) {
    }
  }
  ignored = write(STDERR_FILENO, "\n", 1);
  (void)ignored;
  std::abort();
}
}  // namespace __gnu_cxx

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
