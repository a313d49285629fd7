// The shared clock offset of a simulated camera, and the logger's records.
#include <gtest/gtest.h>
#include <syslog.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>

#include "orvo/log.h"
#include "orvo/utils/clock.h"
#include "platform_test_support.h"

using platformtest::inChild;
using platformtest::Root;

TEST(Clock, HonoursTheCameraRootsOffset) {
  Root root;
  root.write("/sim/clock", "301\n");
  EXPECT_EQ(inChild(root.path(), [] {
              time_t real = time(nullptr);
              time_t moved = orvo::utils::moment();
              uint64_t ms = orvo::utils::nowMs();
              return orvo::utils::clockOffsetSeconds() == 301 && moved - real >= 300 &&
                     moved - real <= 302 && ms / 1000 >= static_cast<uint64_t>(moved) - 1;
            }),
            0);
}

TEST(Clock, IsThePlainClockWithoutOffsetFileOrRoot) {
  Root root;
  EXPECT_EQ(inChild(root.path(), [] {
              return orvo::utils::clockOffsetSeconds() == 0 &&
                     std::labs(orvo::utils::moment() - time(nullptr)) <= 1;
            }),
            0);
  root.write("/sim/clock", "garbage");
  EXPECT_EQ(inChild(root.path(), [] { return orvo::utils::clockOffsetSeconds() == 0; }), 0);
  EXPECT_EQ(inChild("", [] { return orvo::utils::clockOffsetSeconds() == 0; }), 0);
}

TEST(Logger, AppendsOneLinePerRecordWithIdentityLevelPlaceAndErrno) {
  Root root;
  ASSERT_EQ(inChild(root.path(), [] {
              openlog("rest_status", LOG_PID, LOG_LOCAL0);
              logInternal("orvo_cgi", "src/rest_status", "handle", 42, 3, ENOENT, 0, "Failed %s",
                          "here");
              logInternal("orvo_cgi", "src/rest_status", "handle", 43, 6, 0, 0, "plain");
              return true;
            }),
            0);
  std::string log = root.read("/var/log/messages");
  EXPECT_NE(log.find(" rest_status["), std::string::npos) << log;
  EXPECT_NE(log.find("]: <err> orvo_cgi: src/rest_status:handle:42: Failed here (errno 2: No such "
                     "file or directory)\n"),
            std::string::npos)
      << log;
  EXPECT_NE(log.find("]: <info> orvo_cgi: src/rest_status:handle:43: plain\n"), std::string::npos)
      << log;
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 2);
}

TEST(Logger, CutsOverlongRecordsToOneLine) {
  Root root;
  ASSERT_EQ(inChild(root.path(), [] {
              std::string huge(10000, 'x');
              logInternal("orvo_cgi", "f", "g", 1, 4, 0, 0, "%s", huge.c_str());
              return true;
            }),
            0);
  std::string log = root.read("/var/log/messages");
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);
  EXPECT_LT(log.size(), 4000u);
  EXPECT_EQ(log.back(), '\n');
}

TEST(Logger, ControlBytesCannotStartASecondRecord) {
  Root root;
  ASSERT_EQ(inChild(root.path(), [] {
              logInternal("orvo_cgi", "f", "g", 1, 6, 0, 0, "user '%s'",
                          "eve\n2026-01-01T00:00:00Z x[1]: <info> forged\r\t\x1b\x7f end");
              return true;
            }),
            0);
  std::string log = root.read("/var/log/messages");
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
  EXPECT_NE(log.find("f:g:1: user 'eve\\x0a2026-01-01T00:00:00Z x[1]: <info> "
                     "forged\\x0d\\x09\\x1b\\x7f end'\n"),
            std::string::npos)
      << log;
}
