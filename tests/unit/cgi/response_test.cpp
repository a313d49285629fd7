// The answer: headers in name order, the content type only with a body,
// written once; and the single-instance lock.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "cgi/orvo_cgi.h"
#include "cgi_test_support.h"

using cgitest::CgiResult;
using cgitest::runAsCgi;
using orvo::cgi::CGIRequest;
using orvo::cgi::CGIResponse;

namespace {

std::map<std::string, std::string> const kGet = {{"REQUEST_METHOD", "GET"}};

}  // namespace

TEST(CGIResponse, StatusOnlyAnswer) {
  CgiResult run = runAsCgi(kGet, "", [] {
    CGIRequest request;
    CGIResponse response(request, "application/json");
    response.SetHttpHeader("Status", "500");
    return 0;  // the destructor commits
  });
  EXPECT_EQ(run.out, "Status: 500\r\nConnection: close\r\n\r\n");
}

// BusyBox's httpd takes the status only from the first line.
TEST(CGIResponse, JsonAnswerStartsWithStatusThenHeadersInByteOrder) {
  CgiResult run = runAsCgi(kGet, "", [] {
    CGIRequest request;
    CGIResponse response(request, "application/json");
    response.SetHttpHeader("Status", "200");
    response.SetHttpHeader("Set-Cookie", "a=b");
    response.body << "{\"a\":1}";
    return response.Commit();
  });
  EXPECT_EQ(run.out,
            "Status: 200\r\nContent-Type: application/json\r\nSet-Cookie: a=b\r\n"
            "Connection: close\r\n\r\n{\"a\":1}");
}

TEST(CGIResponse, LastStatusWinsAndNamesAreCaseSensitive) {
  CgiResult run = runAsCgi(kGet, "", [] {
    CGIRequest request;
    CGIResponse response(request);
    response.SetHttpHeader("Status", "500");
    response.SetHttpHeader("Status", "401");
    response.SetHttpHeader("status", "");
    return response.Commit();
  });
  EXPECT_EQ(run.out, "Status: 401\r\nstatus: \r\nConnection: close\r\n\r\n");
}

TEST(CGIResponse, SecondCommitWritesNothing) {
  CgiResult run = runAsCgi(kGet, "", [] {
    CGIRequest request;
    CGIResponse response(request, "application/json");
    response.SetHttpHeader("Status", "200");
    response.body << "x";
    response.Commit();
    response.SetHttpHeader("Status", "500");
    response.body << "y";
    response.Commit();
    response.Close();
    return 0;
  });
  EXPECT_EQ(run.out, "Status: 200\r\nContent-Type: application/json\r\nConnection: close\r\n\r\nx");
}

TEST(CGIResponse, RedirectWithEmptyUrlPrintsNothing) {
  CgiResult run = runAsCgi(kGet, "", []() -> int {
    CGIRequest request;
    CGIResponse response(request);
    bool redirected = response.Redirect("");
    std::fflush(stdout);
    std::printf("[%d]", redirected ? 1 : 0);
    std::fflush(stdout);
    _exit(0);  // skip the destructor's commit: only Redirect's output counts
  });
  EXPECT_EQ(run.out, "[0]");
}

TEST(CGILock, SecondHolderIsRefusedWith429) {
  CgiResult run = runAsCgi(kGet, "", [] {
    CGIRequest request;
    CGIResponse response(request);
    InterProcessMutex first("rest_settings_put", false);
    bool firstOk = orvo::cgi::lock("rest_settings_put", first, response);
    // Another process tries the same operation while we hold it.
    pid_t other = fork();
    if (other == 0) {
      InterProcessMutex second("rest_settings_put", false);
      _exit(second.acquire() == 0 ? 1 : 0);
    }
    int status = 0;
    waitpid(other, &status, 0);
    InterProcessMutex again("rest_settings_put", false);
    bool againOk = orvo::cgi::lock("rest_settings_put", again, response);
    return (firstOk && WEXITSTATUS(status) == 0 && !againOk) ? 0 : 1;
  });
  EXPECT_EQ(run.returned(), 0);
  EXPECT_EQ(run.out, "Status: 429\r\nConnection: close\r\n\r\n");
  EXPECT_EQ(cgitest::loggedAt(run, "'rest_settings_put' is already running"),
            "warning src/orvo_cgi:lock");
}
