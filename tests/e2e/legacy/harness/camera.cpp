#include "harness/camera.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <stdexcept>

namespace orvo {
namespace e2e {

namespace {

// Test-run settings of the sanitizer runtimes; they change nothing the
// program does, only how a sanitizer report ends the process.
constexpr char const* kSanitizerVariables[] = {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"};

// The emulator command of a cross build (words joined by "|"), else empty.
std::vector<std::string> emulatorCommand() {
  std::vector<std::string> words;
  std::string const list = ORVO_CGI_EMULATOR;
  for (std::size_t at = 0; at < list.size();) {
    std::size_t end = list.find('|', at);
    if (end == std::string::npos) end = list.size();
    if (end > at) words.push_back(list.substr(at, end - at));
    at = end + 1;
  }
  return words;
}

}  // namespace

std::string restCgiPath() { return ORVO_REST_CGI; }
std::string camsimPath() { return ORVO_CAMSIM; }
std::string scratchFolder() { return ORVO_E2E_TMP; }

std::vector<std::string> camsimEnvironment() {
  std::vector<std::string> env;
  for (auto const& entry : inheritedEnvironment()) {
    if (entry.rfind("ORVO_", 0) != 0) env.push_back(entry);
  }
  env.push_back(std::string("ORVO_BUILD_DIR=") + ORVO_E2E_BUILD_DIR);
  return env;
}

CameraRoot::CameraRoot() {
  std::filesystem::create_directories(scratchFolder());
  std::string pattern = scratchFolder() + "/root-XXXXXX";
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed in " + scratchFolder());
  path_ = pattern;
  ProcessResult init =
      runCommand({camsimPath(), "init", "--root", path_}, camsimEnvironment());
  if (!init.exited || init.exitCode != 0) {
    throw std::runtime_error("camsim init failed (exit " + std::to_string(init.exitCode) +
                             ", signal " + std::to_string(init.signal) + "): " + init.err);
  }
}

CameraRoot::~CameraRoot() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string CameraRoot::file(std::string const& deviceAbsolutePath) const {
  return path_ + deviceAbsolutePath;
}

ProcessResult runCgi(CameraRoot const& root, Environment const& env, std::string const& body,
                     CgiOptions const& options) {
  ProcessSpec process;
  process.program = restCgiPath();
  process.argv = {options.argv0.empty() ? restCgiPath() : options.argv0};
  std::vector<std::string> emulator = emulatorCommand();
  if (!emulator.empty()) {
    // The emulator becomes the process (same pid), gives the program the
    // argv[0] asked for and passes the environment on unchanged.
    process.program = emulator.front();
    emulator.insert(emulator.end(), {"-0", process.argv.front(), restCgiPath()});
    process.argv = emulator;
  }
  Environment all = env;
  all["ORVO_ROOT"] = root.path();
  for (char const* name : kSanitizerVariables) {
    if (char const* value = getenv(name)) all.emplace(name, value);
  }
  for (auto const& [name, value] : all) process.env.push_back(name + "=" + value);
  process.input = body;
  process.limit = options.limit;
  return runProcess(process);
}

std::vector<std::string> logLines(CameraRoot const& root) {
  std::ifstream in(root.file("/var/log/messages"), std::ios::binary);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::optional<LogRecord> parseLogLine(std::string const& line) {
  static std::regex const shape(
      R"(^(\S+) ([^\s\[]+)\[(\d+)\]: <(\w+)> ([^:]*): ([^:]*):([^:]*):(\d+): (.*)$)");
  std::smatch m;
  if (!std::regex_match(line, m, shape)) return std::nullopt;
  LogRecord r;
  r.time = m[1];
  r.identity = m[2];
  r.pid = std::stoi(m[3]);
  r.level = m[4];
  r.tag = m[5];
  r.file = m[6];
  r.function = m[7];
  r.line = std::stoi(m[8]);
  r.text = m[9];
  return r;
}

std::string LogRecord::summary() const {
  return identity + " " + level + " " + tag + ": " + file + ":" + function + ": " + text;
}

std::vector<LogRecord> logRecords(CameraRoot const& root) {
  std::vector<LogRecord> records;
  for (auto const& line : logLines(root)) {
    auto record = parseLogLine(line);
    EXPECT_TRUE(record.has_value()) << "log line of unknown shape: " << line;
    if (record) records.push_back(*record);
  }
  return records;
}

std::vector<std::string> logSummaries(CameraRoot const& root) {
  std::vector<std::string> out;
  for (auto const& record : logRecords(root)) out.push_back(record.summary());
  return out;
}

}  // namespace e2e
}  // namespace orvo
