// The harness's own parsers and process runner, checked on known inputs so
// the end-to-end tests can trust what they are told.
#include <gtest/gtest.h>

#include <chrono>

#include "harness/camera.h"
#include "harness/http.h"
#include "harness/process.h"

namespace orvo {
namespace e2e {
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

}  // namespace
}  // namespace e2e
}  // namespace orvo
