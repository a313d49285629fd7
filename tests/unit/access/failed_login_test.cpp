// Failed-login records and the lockdown decision, on records written here.
#include <gtest/gtest.h>
#include <utmp.h>

#include <unistd.h>

#include <cstring>
#include <vector>

#include "access/failed_logins.h"
#include "orvo/utils/clock.h"
#include "support/camera_root.h"

namespace {

using namespace orvo::rest::access;

std::string btmpFile() { return orvo::test::processRoot().path() + kBtmpPath; }

void writeRecords(std::vector<time_t> const& times) {
  orvo::test::processRoot().remove(kBtmpPath);
  orvo::test::processRoot().write(kBtmpPath, "");
  for (time_t t : times) {
    struct utmp record = makeFailedLoginRecord("u", "h", t);
    updwtmp(btmpFile().c_str(), &record);
  }
}

TEST(FailedLoginRecord, FieldsAndLimits) {
  struct utmp r = makeFailedLoginRecord(std::string(40, 'x'), "10.0.0.1", 1234);
  EXPECT_EQ(r.ut_type, LOGIN_PROCESS);
  EXPECT_EQ(std::string(r.ut_user, sizeof r.ut_user), std::string(32, 'x'));
  EXPECT_STREQ(r.ut_host, "10.0.0.1");
  EXPECT_STREQ(r.ut_line, "cgi:notty");
  EXPECT_EQ(r.ut_tv.tv_sec, 1234);
  EXPECT_EQ(r.ut_tv.tv_usec, 0);
  EXPECT_EQ(r.ut_pid, 0);
  EXPECT_EQ(r.ut_session, 0);
  EXPECT_EQ(r.ut_addr_v6[0], 0);
  std::string longHost(300, 'h');
  struct utmp h = makeFailedLoginRecord("u", longHost, 0);
  EXPECT_EQ(std::string(h.ut_host, sizeof h.ut_host), std::string(256, 'h'));
}

TEST(FailedLoginCount, MissingFileCountsZero) {
  orvo::test::processRoot().remove(kBtmpPath);
  EXPECT_EQ(EntriesInUTmp(), 0);
  EXPECT_FALSE(loginLockedDown());
}

TEST(Lockdown, NeedsFiveRecordsAndARecentNewest) {
  time_t now = orvo::utils::moment();
  writeRecords({now, now, now, now});
  EXPECT_EQ(EntriesInUTmp(), 4);
  EXPECT_FALSE(loginLockedDown());
  writeRecords({now - 1000, now, now, now, now - 10});
  EXPECT_EQ(EntriesInUTmp(), 5);
  EXPECT_TRUE(loginLockedDown());
  // The last record is the newest, whatever the others say.
  writeRecords({now, now, now, now, now - 301});
  EXPECT_FALSE(loginLockedDown());
  writeRecords({now, now, now, now, now - 299});
  EXPECT_TRUE(loginLockedDown());
  writeRecords({now, now, now, now, now, now - 100});
  EXPECT_TRUE(InLockdownPeriod(6));
}

TEST(Lockdown, MissingRecordMeansNoLockdown) {
  time_t now = orvo::utils::moment();
  writeRecords({now, now});
  EXPECT_FALSE(InLockdownPeriod(5));
}

TEST(ClearFailedLogins, TruncatesAnExistingFileAndCreatesNone) {
  time_t now = orvo::utils::moment();
  writeRecords({now, now});
  clearFailedLogins("src/rest", "test");
  EXPECT_EQ(orvo::test::processRoot().read(kBtmpPath), "");
  EXPECT_EQ(EntriesInUTmp(), 0);
  orvo::test::processRoot().remove(kBtmpPath);
  clearFailedLogins("src/rest", "test");
  EXPECT_NE(access(btmpFile().c_str(), F_OK), 0);
}

}  // namespace
