// Failed-login accounting and the lockdown, end to end, with the camera's
// clock moved instead of waiting.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <fstream>

#include "support/camera.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

using AccessLockdown = SharedRootTest;

time_t wallSeconds() {
  return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
}

void failLogins(CameraRoot const& root, int count) {
  for (int i = 0; i < count; ++i) {
    ASSERT_EQ(login(root, credentials("admin", "wrong" + std::to_string(i))).status, "401");
  }
}

TEST_F(AccessLockdown, RecordsCarryUserHostLineTypeAndTime) {
  CameraRoot const& root = sharedRoot_;
  moveClock("+500");
  time_t before = wallSeconds() + 500;
  login(root, credentials("operator", "x"), "0.1", "192.0.2.44");
  time_t after = wallSeconds() + 500;
  auto records = readBtmp(root);
  ASSERT_EQ(records.size(), 1u);
  utmp const& r = records[0];
  EXPECT_EQ(r.ut_type, LOGIN_PROCESS);
  EXPECT_EQ(utmpText(r.ut_user, sizeof r.ut_user), "operator");
  EXPECT_EQ(utmpText(r.ut_host, sizeof r.ut_host), "192.0.2.44");
  EXPECT_EQ(utmpText(r.ut_line, sizeof r.ut_line), "cgi:notty");
  EXPECT_GE(r.ut_tv.tv_sec, before);
  EXPECT_LE(r.ut_tv.tv_sec, after);
  EXPECT_EQ(r.ut_tv.tv_usec, 0);
  EXPECT_EQ(r.ut_pid, 0);
  EXPECT_EQ(utmpText(r.ut_id, sizeof r.ut_id), "");
}

// A writer killed between making its temporary copy and renaming it leaves
// the copy behind; the next failure removes it once no live writer could own
// it, and leaves a fresh one (a writer at work) alone.
TEST_F(AccessLockdown, KilledWritersTemporaryRecordIsRemovedByALaterFailure) {
  CameraRoot const& root = sharedRoot_;
  root.write("/var/log/btmp-k1LLed", "half a copy");
  root.age("/var/log/btmp-k1LLed", 601);
  root.write("/var/log/btmp-L1ve00", "");
  failLogins(root, 1);
  EXPECT_FALSE(root.exists("/var/log/btmp-k1LLed"));
  EXPECT_TRUE(root.exists("/var/log/btmp-L1ve00"));
  EXPECT_EQ(readBtmp(root).size(), 1u);
  root.remove("/var/log/btmp-L1ve00");
}

TEST_F(AccessLockdown, AbsentFileIsCreatedByTheFirstFailure) {
  CameraRoot const& root = sharedRoot_;
  ASSERT_FALSE(std::ifstream(root.file("/var/log/btmp")).good());
  failLogins(root, 1);
  EXPECT_EQ(readBtmp(root).size(), 1u);
}

TEST_F(AccessLockdown, FailureWithoutUserNameStoresNoname) {
  CameraRoot const& root = sharedRoot_;
  login(root, "{\"password\":\"admin\"}");
  auto records = readBtmp(root);
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(utmpText(records[0].ut_user, sizeof records[0].ut_user), "noname");
}

TEST_F(AccessLockdown, LongUserNameFillsTheFieldWithoutTerminator) {
  CameraRoot const& root = sharedRoot_;
  std::string name(40, 'n');
  login(root, credentials(name, "x"));
  auto records = readBtmp(root);
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(utmpText(records[0].ut_user, sizeof records[0].ut_user), std::string(32, 'n'));
}

TEST_F(AccessLockdown, FifthFailureLocksTheNextLoginOut) {
  CameraRoot const& root = sharedRoot_;
  failLogins(root, 4);
  EXPECT_EQ(readBtmp(root).size(), 4u);
  // The fifth attempt is still checked.
  failLogins(root, 1);
  EXPECT_EQ(countLogged("Password check failure"), 5u);
  EXPECT_EQ(readBtmp(root).size(), 5u);
  // Now even the right password is not looked at.
  CgiResult answer = login(root, credentials("admin", "admin"));
  EXPECT_EQ(answer.status, "423");
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(countLogged("Password check failure"), 5u);
  EXPECT_EQ(countLogged("Authenticate failed"), 5u);
  EXPECT_EQ(readBtmp(root).size(), 5u);
  EXPECT_FALSE(std::ifstream(root.file("/tmp/.rest/.rest_0_1.db")).good());
}

TEST_F(AccessLockdown, StillLockedAt300Seconds) {
  CameraRoot const& root = sharedRoot_;
  failLogins(root, 5);
  // The offset is written straight into the clock file (the one `camsim
  // clock` keeps): the seconds a slower command took would count as well.
  root.write("/sim/clock", "299\n");
  EXPECT_EQ(login(root, credentials("admin", "admin")).status, "423");
}

TEST_F(AccessLockdown, CheckedAgainAfter301SecondsAndKeepsSixRecords) {
  CameraRoot const& root = sharedRoot_;
  failLogins(root, 5);
  moveClock("+301");
  EXPECT_EQ(login(root, credentials("admin", "bad")).status, "401");
  EXPECT_EQ(countLogged("Password check failure"), 6u);
  auto records = readBtmp(root);
  ASSERT_EQ(records.size(), 6u);
  // The failure re-arms the lockdown.
  EXPECT_EQ(login(root, credentials("admin", "admin")).status, "423");
  // Another window later, one more failure: still six, the oldest dropped.
  moveClock("+301");
  EXPECT_EQ(login(root, credentials("last", "bad")).status, "401");
  auto after = readBtmp(root);
  ASSERT_EQ(after.size(), 6u);
  EXPECT_EQ(utmpText(after[5].ut_user, sizeof after[5].ut_user), "last");
  EXPECT_EQ(std::memcmp(&after[0], &records[1], sizeof(utmp)), 0);
}

TEST_F(AccessLockdown, CorrectPasswordAfterTheWindowEmptiesTheFile) {
  CameraRoot const& root = sharedRoot_;
  failLogins(root, 5);
  moveClock("+301");
  CgiResult answer = login(root, credentials("admin", "admin"));
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(root.read("/var/log/btmp"), "");
  // And the endpoint is open again.
  failLogins(root, 1);
  EXPECT_EQ(readBtmp(root).size(), 1u);
}

// Every endpoint that takes a password takes part in the lockdown: a wrong
// guess there is a failed login, and during a lockdown nothing is checked.
constexpr char const* kPasswordEndpoints[] = {"1.2/snapshot", "1.2/manage", "1.2/connect"};

CgiResult guess(CameraRoot const& root, char const* id, std::string const& password) {
  return callCgi(root, {"POST", id, credentials("admin", password), "10.1.2.3", ""});
}

TEST_F(AccessLockdown, WrongPasswordOnEveryPasswordEndpointIsAFailedLogin) {
  CameraRoot const& root = sharedRoot_;
  failLogins(root, 2);
  for (char const* id : kPasswordEndpoints) {
    CgiResult answer = guess(root, id, "guess");
    EXPECT_EQ(answer.status, "401") << id;
    EXPECT_EQ(answer.body, "") << id;
  }
  auto records = readBtmp(root);
  ASSERT_EQ(records.size(), 5u);
  EXPECT_EQ(utmpText(records[4].ut_user, sizeof records[4].ut_user), "admin");
  EXPECT_EQ(utmpText(records[4].ut_host, sizeof records[4].ut_host), "10.1.2.3");
  // Five failures, wherever they were made, lock the login.
  EXPECT_EQ(login(root, credentials("admin", "admin")).status, "423");
}

TEST_F(AccessLockdown, PasswordEndpointsRefuseDuringALockdownWithoutChecking) {
  CameraRoot const& root = sharedRoot_;
  failLogins(root, 5);
  std::string const btmpBefore = root.read("/var/log/btmp");
  for (char const* id : kPasswordEndpoints) {
    for (char const* password : {"admin", "guess"}) {
      LogMark const mark(root);
      CgiResult answer = guess(root, id, password);
      EXPECT_EQ(answer.status, "423") << id << " " << password;
      EXPECT_EQ(answer.body, "") << id;
      EXPECT_EQ(mark.count("Password check refused during lockdown"), 1u) << id;
      EXPECT_EQ(mark.count("Password check failure"), 0u) << id;
      EXPECT_EQ(mark.count("No way to authenticate the request"), 1u) << id;
    }
  }
  // The right password lifted nothing, and no guess was recorded.
  EXPECT_EQ(root.read("/var/log/btmp"), btmpBefore);
  EXPECT_EQ(login(root, credentials("admin", "admin")).status, "423");
  // Once the window is over, the right password opens the endpoint again.
  moveClock("+301");
  EXPECT_EQ(guess(root, "1.2/connect", "admin").status, "500");  // past the check: no daemon here
  EXPECT_EQ(root.read("/var/log/btmp"), "");
}

TEST_F(AccessLockdown, RequestWithoutAPasswordIsNoGuess) {
  CameraRoot const& root = sharedRoot_;
  failLogins(root, 5);
  CgiResult answer = callCgi(root, {"POST", "1.2/snapshot", "{}", "10.1.2.3", ""});
  EXPECT_EQ(answer.status, "401");
  EXPECT_EQ(readBtmp(root).size(), 5u);
  EXPECT_EQ(countLogged("Password check refused during lockdown"), 0u);
}

}  // namespace
}  // namespace test
}  // namespace orvo
