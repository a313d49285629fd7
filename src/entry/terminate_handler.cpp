// What rest.cgi prints when an exception escapes: it replaces the C++
// library's default handler, whose demangling of the exception's type name
// alone is about 50 KB of the static program. The message names what()
// instead; the end is the same abort(). Linked into the program as an object
// of its own, not from an archive: the C++ library names this handler, and
// only an object linked before it can take its place.
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <exception>

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
