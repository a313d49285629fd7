// The session table against the dynamic value it stands in for: for the
// same text, the same verdict; after the same pruning, eviction and new
// record, the same database, and for a file this program wrote, the same
// bytes.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "access/session_db.h"
#include "access/session_table.h"

namespace {

using orvo::variant::Variant;
using namespace orvo::rest::access;

std::string styled(Variant const& db) {
  std::string text;
  EXPECT_TRUE(db.ToJSON(text, true));
  return text;
}

// Both ways read `text`, prune at `nowMs`, keep `keep`, then add a record.
void expectSameAsValues(std::string const& text, uint64_t nowMs, std::size_t keep,
                        bool sameBytes) {
  Variant db;
  SessionTable table;
  ASSERT_EQ(table.Parse(text), parseSessionDb(text, db)) << text;
  EXPECT_EQ(table.size(), db.KeysCount()) << text;
  EXPECT_EQ(table.PruneExpired(nowMs), pruneExpiredSessions(db, nowMs)) << text;
  EXPECT_EQ(table.EvictOldest(keep), evictOldestSessions(db, keep)) << text;
  Variant record = makeSessionRecord("10.0.0.9", nowMs);
  EXPECT_TRUE(table.Put("NEWSESSION", record));
  db["NEWSESSION"] = record;
  std::string const written = table.Styled();
  Variant again;
  ASSERT_TRUE(parseSessionDb(written, again)) << written;
  EXPECT_TRUE(again == db) << written << "\nagainst\n" << styled(db);
  if (sameBytes) {
    EXPECT_EQ(written, styled(db));
  }
}

TEST(SessionTable, SameVerdictsAsTheValueReader) {
  for (std::string text : std::vector<std::string>{
           "", " \n", "[]", "[1,2]", "5", "\"x\"", "null", "{}", "{", "{\"a\":}", "garbage",
           "{\"a\":1}x", std::string("{\"a\":1}\0", 8), "{\"a\":\"\xff\"}", "{\"\xc3\":1}",
           "{\"a\":1e999999}", "[{\"a\":1}]"}) {
    Variant db;
    SessionTable table;
    EXPECT_EQ(table.Parse(text), parseSessionDb(text, db)) << text;
    EXPECT_EQ(table.size(), db.KeysCount()) << text;
  }
}

TEST(SessionTable, AFileThisProgramWroteIsCopiedByteForByte) {
  Variant db;
  db.IsArray(false);
  for (int i = 0; i < 50; ++i) {
    db["id" + std::to_string(i * 7919 % 1000)] = makeSessionRecord("10.0.0.1", 1000u * i);
  }
  SessionTable table;
  ASSERT_TRUE(table.Parse(styled(db)));
  EXPECT_EQ(table.Styled(), styled(db));
  expectSameAsValues(styled(db), 20000, 30, true);
  expectSameAsValues(styled(db), 0, 1000, true);
  expectSameAsValues(styled(db), 0, 0, true);
}

TEST(SessionTable, EmptyAndOddDatabases) {
  expectSameAsValues("", 5, 10, true);
  expectSameAsValues("{}", 5, 10, true);
  expectSameAsValues("[1,2,3]", 5, 10, true);
  // Of a repeated identifier the last record counts, where it sorts.
  expectSameAsValues("{\"b\":{\"max-age\":1},\"a\":{\"max-age\":9},\"b\":{\"max-age\":7}}", 5, 10,
                     false);
  // Expiries of every shape read as the dynamic value reads them.
  expectSameAsValues(
      "{\"n\":{\"max-age\":-4},\"f\":{\"max-age\":6.5},\"e\":{\"max-age\":1e2},"
      "\"s\":{\"max-age\":\"12\"},\"o\":{\"max-age\":{}},\"m\":{},\"x\":3,\"y\":[{\"max-age\":9}],"
      "\"d\":{\"max-age\":8,\"max-age\":\"z\"},\"big\":{\"max-age\":99999999999999999999},"
      "\"u\":{\"max-age\":18446744073709551615},\"k\":{\"inner\":{\"max-age\":4}}}",
      5, 6, false);
  // Another writer's layout is kept as it stood, and still reads the same.
  expectSameAsValues("{ \"z\" :{\"max-age\" : 100 , \"remote-addr\":\"1.2.3.4\"} ,\n\"a\\u0041\":{}}",
                     50, 10, false);
}

TEST(SessionTable, RandomDatabasesMatchTheValuePath) {
  std::mt19937 random(20261124);
  for (int round = 0; round < 200; ++round) {
    Variant db;
    db.IsArray(false);
    int const count = static_cast<int>(random() % 40);
    for (int i = 0; i < count; ++i) {
      db["s" + std::to_string(random() % 60)] = makeSessionRecord("10.0.0.2", random() % 100);
    }
    uint64_t const now = random() % 24 + 86400000u;
    expectSameAsValues(styled(db), now, random() % 30, true);
  }
}

TEST(SessionTable, RemoveAndContains) {
  SessionTable table;
  ASSERT_TRUE(table.Parse("{\"a\":{\"max-age\":1},\"b\":{\"max-age\":2}}"));
  EXPECT_TRUE(table.Contains("a"));
  EXPECT_FALSE(table.Contains("c"));
  EXPECT_FALSE(table.Remove("c"));
  EXPECT_TRUE(table.Remove("a"));
  EXPECT_FALSE(table.Contains("a"));
  EXPECT_EQ(table.Styled(), "{\n  \"b\": {\"max-age\":2}\n}");
  EXPECT_TRUE(table.Remove("b"));
  EXPECT_EQ(table.Styled(), "{}");
}

}  // namespace
