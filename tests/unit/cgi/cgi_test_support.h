// The CGI tests run library code as a CGI process (support/cgi_run.h), each
// run in a fresh camera root of its own.
#pragma once

#include <functional>
#include <string>

#include "support/cgi_run.h"

namespace cgitest {

using orvo::test::CgiResult;

// runCgi() of `code` called in a forked child, in a root made for the run.
CgiResult runAsCgi(orvo::test::Environment const& env, std::string const& body,
                   std::function<int()> const& code);

// The one record of the run whose text is exactly `text`, as "<level>
// <file>:<function>", or "" when there is none (or more than one).
std::string loggedAt(CgiResult const& run, std::string const& text);
// Whether a record of the run has exactly that text.
bool logged(CgiResult const& run, std::string const& text);

}  // namespace cgitest
