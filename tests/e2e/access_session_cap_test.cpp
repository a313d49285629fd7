// The session database stays bounded: a client that logs in for every
// request fills it up to the cap and then replaces its oldest sessions, and
// a file that grew too big to read does not lock anyone out.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>

#include "support/camera.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

// The database each test writes is put back afterwards.
using SessionCap = SharedRootTest;

constexpr char const* kDb = kSessionDatabase;
constexpr std::size_t kCap = 1024;
constexpr std::size_t kReadLimit = 8u << 20;

unsigned long long wallMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::string sessionId(std::size_t i) {
  char id[40];
  std::snprintf(id, sizeof id, "S%031zu", i);
  return id;
}

// `count` live sessions written as the program writes them (styled), the
// first to expire first; an address as long as a busy network's.
void writeSessions(CameraRoot const& root, std::size_t count) {
  unsigned long long const firstExpiry = wallMs() + 3600000;
  std::string text = "{";
  for (std::size_t i = 0; i < count; ++i) {
    text += i ? ",\n" : "\n";
    text += "  \"" + sessionId(i) + "\": {\n    \"max-age\": " + std::to_string(firstExpiry + i) +
            ",\n    \"remote-addr\": \"192.168.100.123\"\n  }";
  }
  text += "\n}";
  std::string const path = root.file(kDb);
  { std::ofstream(path, std::ios::trunc | std::ios::binary) << text; }
  ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
}

TEST_F(SessionCap, LoginAtTheCapEvictsTheOldest) {
  CameraRoot const& root = sharedRoot_;
  writeSessions(root, kCap + 6);
  std::string id = loginId(root);
  auto sessions = readSessions(root);
  EXPECT_EQ(sessions.size(), kCap);
  EXPECT_EQ(sessions.count(id), 1u);
  for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(sessions.count(sessionId(i)), 0u) << i;
  EXPECT_EQ(sessions.count(sessionId(7)), 1u);
  EXPECT_EQ(sessions.count(sessionId(kCap + 5)), 1u);
  EXPECT_TRUE(logged("rest_login warning orvo_cgi: src/rest_login:CreateSession: "
                            "Session limit 1024 reached: 7 oldest evicted"));
  // An evicted session is refused like any unknown one; a kept one opens.
  EXPECT_EQ(sessionRequest(root, sessionId(0), "192.168.100.123").status, "401");
  EXPECT_EQ(sessionRequest(root, sessionId(7), "192.168.100.123").status, "200");
}

TEST_F(SessionCap, EightyThousandRecordsNoLongerLockEveryoneOut) {
  CameraRoot const& root = sharedRoot_;
  writeSessions(root, 80000);
  struct stat info {};
  ASSERT_EQ(::stat(root.file(kDb).c_str(), &info), 0);
  ASSERT_GT(static_cast<std::size_t>(info.st_size), kReadLimit) << "the file must pass the limit";
  // Too big to read: checks are refused, and say why.
  EXPECT_EQ(sessionRequest(root, sessionId(1), "192.168.100.123").status, "401");
  EXPECT_TRUE(logged("orvo_cgi err orvo_cgi: src/rest:AuthenticateByUUID: Ignoring "
                            "'/tmp/.rest/.rest_0_1.db': it holds more than 8388608 bytes"));
  // A login starts over with an empty database instead of failing.
  std::string id = loginId(root);
  EXPECT_TRUE(logged("rest_login err orvo_cgi: src/rest_login:CreateSession: Ignoring "
                            "'/tmp/.rest/.rest_0_1.db': it holds more than 8388608 bytes; starting an "
                            "empty one"));
  auto sessions = readSessions(root);
  EXPECT_EQ(sessions.size(), 1u);
  EXPECT_EQ(sessions.count(id), 1u);
  EXPECT_EQ(sessionRequest(root, id).status, "200");
}

TEST_F(SessionCap, BrokenDatabaseIsReplacedAtLogin) {
  CameraRoot const& root = sharedRoot_;
  { std::ofstream(root.file(kDb), std::ios::trunc) << "{ not json"; }
  ::chmod(root.file(kDb).c_str(), 0600);
  std::string id = loginId(root);
  EXPECT_TRUE(logged("rest_login err orvo_cgi: src/rest_login:CreateSession: Ignoring "
                            "'/tmp/.rest/.rest_0_1.db': it is not JSON; starting an empty one"));
  EXPECT_EQ(readSessions(root).size(), 1u);
  EXPECT_EQ(sessionRequest(root, id).status, "200");
}

}  // namespace
}  // namespace test
}  // namespace orvo
