#include "support/cgi_run.h"

#include "support/openapi_check.h"

#include <stdlib.h>

namespace orvo {
namespace test {

namespace {

// Test-run settings of the sanitizer runtimes; they change nothing the
// program does, only how a sanitizer report ends the process.
constexpr char const* kSanitizerVariables[] = {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"};
constexpr char kHeaderEnd[] = "\r\n\r\n";

// Hands a run of rest.cgi itself to the API description's check.
void checkCgiAnswer(Environment const& environment, CgiResult const& result) {
  auto const query = environment.find("QUERY_STRING");
  auto const method = environment.find("REQUEST_METHOD");
  if (query == environment.end() || method == environment.end()) return;
  ApiAnswer answer;
  answer.request = requestOfQuery(query->second);
  answer.method = method->second;
  answer.status = std::atoi(result.status.c_str());
  answer.contentType = result.header("Content-Type").value_or("");
  answer.body = result.body;
  checkApiAnswer(answer);
}

}  // namespace

CgiProgram CgiProgram::restCgi() { return restCgiAs(restCgiPath()); }

CgiProgram CgiProgram::restCgiAs(std::string argv0) {
  CgiProgram program;
  program.argv0 = std::move(argv0);
  return program;
}

std::vector<std::string> asUser(unsigned uid) {
  std::string const id = std::to_string(uid);
  return {ORVO_SETPRIV, "--reuid=" + id, "--regid=" + id, "--clear-groups"};
}

CgiProgram CgiProgram::restCgiAsUser(unsigned uid) {
  CgiProgram program = restCgi();
  program.launcher = asUser(uid);
  return program;
}

CgiProgram CgiProgram::inProcess(std::function<int()> entry) {
  CgiProgram program;
  program.entry = std::move(entry);
  return program;
}

std::optional<std::string> CgiResult::header(std::string const& name) const {
  for (auto const& [key, value] : headers) {
    if (key == name) return value;
  }
  return std::nullopt;
}

void splitCgiAnswer(CgiResult& result) {
  std::size_t const end = result.out.find(kHeaderEnd);
  if (end == std::string::npos) return;
  for (std::size_t at = 0; at < end + 2;) {
    std::size_t const next = result.out.find("\r\n", at);
    std::string const line = result.out.substr(at, next - at);
    std::size_t const colon = line.find(": ");
    if (colon != std::string::npos) {
      result.headers.emplace_back(line.substr(0, colon), line.substr(colon + 2));
    }
    at = next + 2;
  }
  result.status = result.header("Status").value_or("");
  result.body = result.out.substr(end + 4);
}

CgiResult runCgi(CameraRoot const& root, Environment const& environment, std::string const& body,
                 CgiProgram const& program) {
  ProcessSpec process;
  process.program = restCgiPath();
  process.argv = {program.argv0};
#ifdef ORVO_CGI_EMULATOR
  // The emulator runs the program with argv[0] as the test gives it.
  process.program = ORVO_CGI_EMULATOR;
  process.argv = {ORVO_CGI_EMULATOR, "-0", program.argv0, restCgiPath()};
#endif
  if (!program.launcher.empty()) {
    process.program = program.launcher.front();
    process.argv = program.launcher;
    process.argv.push_back(restCgiPath());
  }
  process.entry = program.entry;
  Environment all = environment;
  all["ORVO_ROOT"] = root.path();
  for (char const* name : kSanitizerVariables) {
    if (char const* value = getenv(name)) all.emplace(name, value);
  }
  for (auto const& [name, value] : all) process.env.push_back(name + "=" + value);
  process.input = body;
  process.limit = program.limit;

  LogMark const mark(root);
  ProcessResult ran = runProcess(process);
  CgiResult result;
  result.pid = ran.pid;
  result.exited = ran.exited;
  result.exitCode = ran.exitCode;
  result.signal = ran.signal;
  result.timedOut = ran.timedOut;
  result.out = std::move(ran.out);
  result.err = std::move(ran.err);
  splitCgiAnswer(result);
  result.log = mark.records();
  if (!program.entry) checkCgiAnswer(environment, result);
  return result;
}

}  // namespace test
}  // namespace orvo
