// The session database's reader, pruning and record check, and the cookie.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "access/login_cookie.h"
#include "access/session_db.h"

namespace {

using orvo::variant::Variant;
using namespace orvo::rest::access;

TEST(SessionDbParse, EmptyOrNonObjectIsAnEmptyDatabase) {
  for (std::string text : std::vector<std::string>{"", "  \n", "[]", "[1,2]", "5", "\"x\"", "null", "{}"}) {
    Variant db;
    ASSERT_TRUE(parseSessionDb(text, db)) << text;
    EXPECT_EQ(db.Type(), orvo::variant::VT_OBJECT) << text;
    EXPECT_EQ(db.KeysCount(), 0u) << text;
  }
}

TEST(SessionDbParse, BrokenJsonFails) {
  Variant db;
  for (std::string text : std::vector<std::string>{"{", "{\"a\":}", "garbage", "{\"a\":1}x"}) {
    EXPECT_FALSE(parseSessionDb(text, db)) << text;
  }
}

TEST(SessionDbParse, ReadsRecords) {
  Variant db;
  ASSERT_TRUE(parseSessionDb(
      "{\"abc\":{\"remote-addr\":\"10.0.0.1\",\"max-age\":1700000000000}}", db));
  std::string stored;
  EXPECT_EQ(checkSession(db, "abc", "10.0.0.1", stored), SessionCheck::kAccepted);
  EXPECT_EQ(stored, "10.0.0.1");
  EXPECT_EQ(checkSession(db, "abc", "10.0.0.2", stored), SessionCheck::kAddressMismatch);
  EXPECT_EQ(checkSession(db, "abd", "10.0.0.1", stored), SessionCheck::kNoRecord);
  EXPECT_EQ(checkSession(db, "ab", "10.0.0.1", stored), SessionCheck::kNoRecord);
}

TEST(SessionDbParse, ReadingOneRecordGivesTheSameVerdicts) {
  std::string text =
      "{\"abc\":{\"remote-addr\":\"10.0.0.1\",\"max-age\":1},\"s\":\"text\",\"e\":{}}";
  for (char const* id : {"abc", "s", "e", "missing"}) {
    Variant whole, picked;
    ASSERT_TRUE(parseSessionDb(text, whole));
    ASSERT_TRUE(parseSessionFor(text, id, picked));
    EXPECT_LE(picked.KeysCount(), 1u);
    std::string a, b;
    EXPECT_EQ(checkSession(picked, id, "10.0.0.1", b), checkSession(whole, id, "10.0.0.1", a)) << id;
    EXPECT_EQ(a, b);
  }
  Variant db;
  EXPECT_FALSE(parseSessionFor("{ broken", "abc", db));
  EXPECT_TRUE(parseSessionFor("", "abc", db));
  EXPECT_TRUE(parseSessionFor("[1]", "abc", db));
  EXPECT_EQ(db.KeysCount(), 0u);
}

TEST(SessionCheck, RecordsOfOtherShapes) {
  Variant db;
  ASSERT_TRUE(parseSessionDb(
      "{\"s\":\"text\",\"n\":{\"remote-addr\":5},\"e\":{\"remote-addr\":\"\"},"
      "\"a/b\":{\"remote-addr\":\"x\"}}", db));
  std::string stored;
  EXPECT_EQ(checkSession(db, "s", "x", stored), SessionCheck::kEmptyAddress);
  EXPECT_EQ(checkSession(db, "n", "x", stored), SessionCheck::kEmptyAddress);
  EXPECT_EQ(checkSession(db, "e", "", stored), SessionCheck::kEmptyAddress);
  // A name with a slash is a name, not a path.
  EXPECT_EQ(checkSession(db, "a/b", "x", stored), SessionCheck::kAccepted);
  EXPECT_EQ(checkSession(db, "a", "x", stored), SessionCheck::kNoRecord);
}

TEST(SessionPrune, RemovesOnlyExpiredRecords) {
  Variant db;
  db["old"] = makeSessionRecord("1.1.1.1", 1000);
  db["new"] = makeSessionRecord("1.1.1.1", 5000);
  db["junk"] = "not a record";
  uint64_t now = 1000 + kSessionLifetimeMs + 1;
  EXPECT_EQ(pruneExpiredSessions(db, now), 2u);
  EXPECT_EQ(db.KeysCount(), 1u);
  EXPECT_NE(findSession(db, "new"), nullptr);
  // Exactly at the expiry moment a record stays.
  EXPECT_EQ(pruneExpiredSessions(db, 5000 + kSessionLifetimeMs), 0u);
}

TEST(SessionRecord, HoldsAddressAndAbsoluteExpiry) {
  Variant record = makeSessionRecord("10.0.0.9", 1234);
  std::string json;
  ASSERT_TRUE(record.ToJSON(json, false));
  EXPECT_EQ(json, "{\"max-age\":86401234,\"remote-addr\":\"10.0.0.9\"}");
  EXPECT_EQ(record["max-age"].Type(), orvo::variant::VT_UINT64);
}

TEST(Cookie, ShapeAndDate) {
  std::string date;
  ASSERT_EQ(formatCookieExpiry(0, date), ExpiryFormat::kOk);
  EXPECT_EQ(date, "Thu, 01 Jan 1970 00:00:00 GMT");
  ASSERT_EQ(formatCookieExpiry(1700000000 + kCookieMaxAgeSeconds, date), ExpiryFormat::kOk);
  EXPECT_EQ(date, "Wed, 15 Nov 2023 22:13:20 GMT");
  EXPECT_EQ(sessionCookie("ID", date),
            "authId=ID; Path=/; Expires=Wed, 15 Nov 2023 22:13:20 GMT; Max-Age=86400; "
            "Version=1; HttpOnly; SameSite=Strict");
}

TEST(Cookie, UnrepresentableTimeFails) {
  std::string date = "unchanged";
  EXPECT_NE(formatCookieExpiry(std::numeric_limits<time_t>::max(), date), ExpiryFormat::kOk);
  EXPECT_EQ(date, "unchanged");
}

}  // namespace
