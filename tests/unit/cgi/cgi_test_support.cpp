#include "cgi_test_support.h"

namespace cgitest {

CgiResult runAsCgi(orvo::test::Environment const& env, std::string const& body,
                   std::function<int()> const& code) {
  orvo::test::CameraRoot const root;
  return orvo::test::runCgi(root, env, body, orvo::test::CgiProgram::inProcess(code));
}

std::string loggedAt(CgiResult const& run, std::string const& text) {
  auto const found = orvo::test::withText(run.log, text);
  if (found.size() != 1) return "";
  return found[0].level + " " + found[0].file + ":" + found[0].function;
}

bool logged(CgiResult const& run, std::string const& text) {
  return !orvo::test::withText(run.log, text).empty();
}

}  // namespace cgitest
