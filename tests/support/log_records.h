// The camera's log (<root>/var/log/messages) read back as records. One line:
// <time> <identity>[<pid>]: <<level>> <tag>: <file>:<function>:<line>: <text>
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "support/camera_root.h"

namespace orvo {
namespace test {

struct LogRecord {
  std::string time;
  std::string identity;
  int pid = 0;
  std::string level;  // "err", "warning", "info", ...
  std::string tag;
  std::string file;
  std::string function;
  int line = 0;
  std::string text;

  // Everything but time, pid and source line, for exact comparisons:
  // "<identity> <level> <tag>: <file>:<function>: <text>".
  std::string summary() const;
};

std::optional<LogRecord> parseLogLine(std::string const& line);

// Parses lines; a line that does not parse fails the calling test and is
// left out.
std::vector<LogRecord> parseLogLines(std::vector<std::string> const& lines);

// The lines of <root>/var/log/messages from byte `offset` on, without
// their line ends.
std::vector<std::string> logLines(CameraRoot const& root, std::size_t offset = 0);
// Every record of the log, parsed.
std::vector<LogRecord> logRecords(CameraRoot const& root);
// The summaries of logRecords(root).
std::vector<std::string> logSummaries(CameraRoot const& root);

std::vector<std::string> summariesOf(std::vector<LogRecord> const& records);
// Whether one record's summary is exactly `summary`.
bool hasSummary(std::vector<LogRecord> const& records, std::string const& summary);
// How many records hold `part` in their text.
std::size_t countWithText(std::vector<LogRecord> const& records, std::string const& part);
// The records whose text is exactly `text`.
std::vector<LogRecord> withText(std::vector<LogRecord> const& records, std::string const& text);

// The records a root's log gains from the moment the mark is made: what
// one test or one run wrote into a log it shares with others.
class LogMark {
 public:
  explicit LogMark(CameraRoot const& root);
  std::vector<std::string> lines() const;
  std::vector<LogRecord> records() const;
  std::vector<std::string> summaries() const;
  // How many of the lines hold `part` anywhere (place or text).
  std::size_t count(std::string const& part) const;
  // Whether one record's summary is exactly `summary`.
  bool has(std::string const& summary) const { return hasSummary(records(), summary); }

 private:
  CameraRoot const* root_;
  std::size_t offset_;
};

}  // namespace test
}  // namespace orvo
