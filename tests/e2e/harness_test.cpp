// The harness's own parsers and process runner, checked on known inputs so
// the end-to-end tests can trust what they are told.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "support/camera_root.h"
#include "support/cgi_run.h"
#include "support/http.h"
#include "support/log_records.h"
#include "support/poll.h"
#include "support/process.h"

namespace orvo {
namespace test {
namespace {

TEST(LogLine, ParsesEveryField) {
  auto record = parseLogLine(
      "2026-01-02T03:04:05.000006Z rest_version[4242]: <err> orvo_cgi: "
      "src/rest_version:rest_version_main:57: Cannot process POST: request");
  ASSERT_TRUE(record.has_value());
  EXPECT_EQ(record->time, "2026-01-02T03:04:05.000006Z");
  EXPECT_EQ(record->identity, "rest_version");
  EXPECT_EQ(record->pid, 4242);
  EXPECT_EQ(record->level, "err");
  EXPECT_EQ(record->tag, "orvo_cgi");
  EXPECT_EQ(record->file, "src/rest_version");
  EXPECT_EQ(record->function, "rest_version_main");
  EXPECT_EQ(record->line, 57);
  EXPECT_EQ(record->text, "Cannot process POST: request");
  EXPECT_EQ(record->summary(),
            "rest_version err orvo_cgi: src/rest_version:rest_version_main: "
            "Cannot process POST: request");
}

TEST(LogLine, RejectsOtherShapes) {
  EXPECT_FALSE(parseLogLine("").has_value());
  EXPECT_FALSE(parseLogLine("2026-01-02T03:04:05Z orvo_cgi: <err> no pid").has_value());
}

TEST(HttpAnswer, KeepsHeadersInOrderAndBodyExactly) {
  auto response = parseHttpResponse(
      "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nX-Empty:\r\n\r\n{\"a\":1}\r\n");
  ASSERT_TRUE(response.has_value());
  EXPECT_EQ(response->statusLine, "HTTP/1.1 200 OK");
  EXPECT_EQ(response->status, 200);
  ASSERT_EQ(response->headers.size(), 2u);
  EXPECT_EQ(response->headers[0].first, "Content-Type");
  EXPECT_EQ(response->headers[0].second, "application/json");
  EXPECT_EQ(response->header("x-empty"), "");
  EXPECT_FALSE(response->header("Status").has_value());
  EXPECT_EQ(response->body, "{\"a\":1}\r\n");
}

TEST(HttpAnswer, SkipsInterimAnswers) {
  auto response = parseHttpResponse(
      "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 500 Internal Server Error\r\nA: b\r\n\r\n");
  ASSERT_TRUE(response.has_value());
  EXPECT_EQ(response->status, 500);
  EXPECT_EQ(response->body, "");
}

TEST(HttpAnswer, RejectsTruncatedOutput) {
  EXPECT_FALSE(parseHttpResponse("HTTP/1.1 200 OK\r\nA: b\r\n").has_value());
  EXPECT_FALSE(parseHttpResponse("garbage\r\n\r\n").has_value());
}

TEST(Process, PassesArgv0EnvironmentAndInput) {
  ProcessSpec process;
  process.program = "/bin/sh";
  process.argv = {"named-differently", "-c", "echo \"$0 $X\"; cat; exit 3"};
  process.env = {"X=42"};
  process.input = std::string("in\0put", 6);
  ProcessResult result = runProcess(process);
  EXPECT_TRUE(result.exited);
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.out, std::string("named-differently 42\nin\0put", 27));
}

TEST(Process, KillsAChildOverItsLimit) {
  auto started = std::chrono::steady_clock::now();
  ProcessSpec process;
  process.program = "/bin/sleep";
  process.argv = {"sleep", "30"};
  process.limit = std::chrono::milliseconds(200);
  ProcessResult result = runProcess(process);
  EXPECT_TRUE(result.timedOut);
  EXPECT_FALSE(result.exited);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
}

TEST(Process, ReportsATerminatingSignal) {
  ProcessResult result = runCommand({"/bin/sh", "-c", "kill -TERM $$"}, {});
  EXPECT_FALSE(result.exited);
  EXPECT_EQ(result.signal, 15);
}

TEST(Process, RunsAnEntryPointWithExactlyTheGivenEnvironment) {
  ProcessSpec process;
  process.env = {"X=42"};
  process.input = "body";
  process.entry = [] {
    std::string in;
    for (int c; (c = std::getchar()) != EOF;) in += static_cast<char>(c);
    std::printf("%s %s %d", getenv("X"), in.c_str(), getenv("PATH") == nullptr);
    return -1;
  };
  ProcessResult result = runProcess(process);
  EXPECT_TRUE(result.exited);
  EXPECT_EQ(result.exitCode, 255);
  EXPECT_EQ(result.out, "42 body 1");
}

TEST(CgiAnswer, SplitsHeadersStatusAndBody) {
  CgiResult result;
  result.exitCode = 255;
  result.out = "Content-Type: application/json\r\nStatus: 200\r\nConnection: close\r\n\r\n{}";
  splitCgiAnswer(result);
  ASSERT_EQ(result.headers.size(), 3u);
  EXPECT_EQ(result.headers[0].first, "Content-Type");
  EXPECT_EQ(result.header("Connection"), "close");
  EXPECT_EQ(result.status, "200");
  EXPECT_EQ(result.body, "{}");
  EXPECT_EQ(result.returned(), -1);
}

TEST(CgiAnswer, OutputWithoutBlankLineHasNoHeaders) {
  CgiResult result;
  result.out = "Status: 200\r\n";
  splitCgiAnswer(result);
  EXPECT_TRUE(result.headers.empty());
  EXPECT_EQ(result.status, "");
}

TEST(CgiRun, KeepsTheRecordsTheRunAdded) {
  CameraRoot root;
  root.write("/var/log/messages", "old line that is not a record\n");
  CgiResult result = runCgi(root, {{"A", "b"}}, "", CgiProgram::inProcess([] {
    std::string const path = std::string(getenv("ORVO_ROOT")) + "/var/log/messages";
    FILE* log = std::fopen(path.c_str(), "a");
    std::fprintf(log, "t x[7]: <info> tag: f:g:1: from %s\n", getenv("A"));
    std::fclose(log);
    return 0;
  }));
  ASSERT_EQ(result.log.size(), 1u);
  EXPECT_EQ(result.log[0].summary(), "x info tag: f:g: from b");
}

TEST(RootSnapshot, PutsBackChangedRemovedAndNewFiles) {
  CameraRoot root;
  root.write("/etc/kept", "one");
  root.write("/etc/orvo/gone", "two");
  root.write("/outside", "three");
  RootSnapshot snapshot(root, {"/etc", "/sim/clock"});
  root.write("/etc/kept", "changed");
  root.remove("/etc/orvo/gone");
  root.write("/etc/orvo/new", "x");
  root.write("/sim/clock", "301");
  root.write("/outside", "changed");
  snapshot.restore();
  EXPECT_EQ(root.read("/etc/kept"), "one");
  EXPECT_EQ(root.read("/etc/orvo/gone"), "two");
  EXPECT_FALSE(root.exists("/etc/orvo/new"));
  EXPECT_FALSE(root.exists("/sim/clock"));
  EXPECT_EQ(root.read("/outside"), "changed");
}

TEST(Poll, EventuallyStopsAtTheFirstSuccessAndHoldsForAtTheFirstFailure) {
  int calls = 0;
  EXPECT_TRUE(eventually([&] { return ++calls == 3; }, std::chrono::seconds(5)));
  EXPECT_EQ(calls, 3);
  calls = 0;
  EXPECT_FALSE(holdsFor([&] { return ++calls < 3; }, std::chrono::seconds(5)));
  EXPECT_EQ(calls, 3);
  EXPECT_FALSE(eventually([] { return false; }, std::chrono::milliseconds(20)));
  EXPECT_TRUE(holdsFor([] { return true; }, std::chrono::milliseconds(20)));
}

}  // namespace
}  // namespace test
}  // namespace orvo
