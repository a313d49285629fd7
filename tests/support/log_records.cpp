#include "support/log_records.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "support/virtual_camera.h"

namespace orvo {
namespace test {

namespace {

constexpr char kLogFile[] = "/var/log/messages";

}  // namespace

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

std::vector<LogRecord> parseLogLines(std::vector<std::string> const& lines) {
  std::vector<LogRecord> records;
  for (auto const& line : lines) {
    auto record = parseLogLine(line);
    EXPECT_TRUE(record.has_value()) << "log line of unknown shape: " << line;
    if (record) records.push_back(*record);
  }
  return records;
}

namespace {

// The virtual camera's log from `offset` on, each line as the simulated
// camera writes it. Its syslogd moves a full log to messages.0 (once since
// the offset, at most: it holds 200 KiB).
std::vector<std::string> virtualCameraLogLines(std::size_t offset) {
  std::string const from = std::to_string(offset + 1);
  std::istringstream in(inVirtualCamera(
      "f=/var/log/messages; [ -e $f ] || exit 0; "
      "if [ \"$(wc -c <$f)\" -lt " + std::to_string(offset) + " ]; then tail -c +" + from + " $f.0; cat $f; "
      "else tail -c +" + from + " $f; fi"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    std::string const converted = simulatedLogLine(line);
    if (!converted.empty()) lines.push_back(converted);
  }
  return lines;
}

}  // namespace

std::vector<std::string> logLines(CameraRoot const& root, std::size_t offset) {
  if (root.isVirtualCamera()) return virtualCameraLogLines(offset);
  std::ifstream in(root.file(kLogFile), std::ios::binary);
  in.seekg(static_cast<std::streamoff>(offset));
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::vector<LogRecord> logRecords(CameraRoot const& root) { return parseLogLines(logLines(root)); }

std::vector<std::string> logSummaries(CameraRoot const& root) {
  return summariesOf(logRecords(root));
}

std::vector<std::string> summariesOf(std::vector<LogRecord> const& records) {
  std::vector<std::string> out;
  for (auto const& record : records) out.push_back(record.summary());
  return out;
}

bool hasSummary(std::vector<LogRecord> const& records, std::string const& summary) {
  for (auto const& record : records) {
    if (record.summary() == summary) return true;
  }
  return false;
}

std::size_t countWithText(std::vector<LogRecord> const& records, std::string const& part) {
  std::size_t count = 0;
  for (auto const& record : records) count += record.text.find(part) != std::string::npos;
  return count;
}

std::vector<LogRecord> withText(std::vector<LogRecord> const& records, std::string const& text) {
  std::vector<LogRecord> out;
  for (auto const& record : records) {
    if (record.text == text) out.push_back(record);
  }
  return out;
}

LogMark::LogMark(CameraRoot const& root) : root_(&root), offset_(0) {
  if (root.isVirtualCamera()) {
    std::string const size = inVirtualCamera("wc -c <" + std::string(kLogFile) + " || echo 0");
    offset_ = std::stoul(size);
    return;
  }
  std::ifstream in(root.file(kLogFile), std::ios::binary | std::ios::ate);
  if (in) offset_ = static_cast<std::size_t>(in.tellg());
}

std::vector<std::string> LogMark::lines() const { return logLines(*root_, offset_); }
std::vector<LogRecord> LogMark::records() const { return parseLogLines(lines()); }
std::vector<std::string> LogMark::summaries() const { return summariesOf(records()); }

std::size_t LogMark::count(std::string const& part) const {
  std::size_t count = 0;
  for (auto const& line : lines()) count += line.find(part) != std::string::npos;
  return count;
}

}  // namespace test
}  // namespace orvo
