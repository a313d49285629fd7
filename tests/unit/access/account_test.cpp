// The account store: file format, password and token checks, changes.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <vector>

#include "support/camera_root.h"
#include "orvo/utils/account.h"

namespace {

using namespace orvo::utils;

TEST(AccountRecordParse, AcceptsOneLineWithOptionalNewline) {
  AccountRecord record;
  ASSERT_TRUE(parseAccountRecord("admin:$6$salt$hash\n", record));
  EXPECT_EQ(record.user, "admin");
  EXPECT_EQ(record.hash, "$6$salt$hash");
  ASSERT_TRUE(parseAccountRecord("bob:$y$j9T$abc/def.", record));
  EXPECT_EQ(record.user, "bob");
}

TEST(AccountRecordParse, RefusesDamagedText) {
  AccountRecord record{"keep", "$keep"};
  for (std::string text : std::vector<std::string>{"", "\n", "admin", "admin:", ":$6$x", "admin:plain", "ad min:$6$x",
                           "admin:$6$x\nsecond:$6$y", "admin:$6$x\n\n", "admin:$6$x y",
                           std::string(33, 'u') + ":$6$x", "admin:$" + std::string(300, 'a')}) {
    EXPECT_FALSE(parseAccountRecord(text, record)) << text;
  }
  EXPECT_EQ(record.user, "keep");
  EXPECT_FALSE(parseAccountRecord(std::string(kMaxAccountFileBytes + 1, 'a'), record));
}

TEST(AccountRecordParse, FormatReadsBack) {
  AccountRecord record;
  ASSERT_TRUE(parseAccountRecord(formatAccountRecord({"op", "$6$s$h"}), record));
  EXPECT_EQ(record.user, "op");
  EXPECT_EQ(record.hash, "$6$s$h");
}

TEST(ConstantTime, ComparesBytesAndLengths) {
  EXPECT_TRUE(constantTimeEquals("", ""));
  EXPECT_TRUE(constantTimeEquals("abc", "abc"));
  EXPECT_FALSE(constantTimeEquals("abc", "abd"));
  EXPECT_FALSE(constantTimeEquals("abc", "abcd"));
  EXPECT_FALSE(constantTimeEquals("abc", std::string("abc\0", 4)));
  EXPECT_FALSE(constantTimeEquals("", "a"));
}

TEST(Password, StoredOnlyAsHashAndChecked) {
  ASSERT_EQ(setAccount("admin", "s3cret pass"), 0);
  std::string file = orvo::test::processRoot().read(kAccountFile);
  EXPECT_EQ(file.find("s3cret"), std::string::npos);
  EXPECT_EQ(file.compare(0, 9, "admin:$6$"), 0) << file;
  struct stat info {};
  ASSERT_EQ(stat((orvo::test::processRoot().path() + kAccountFile).c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);

  bool ok = false;
  EXPECT_EQ(authenticatePassword("admin", "s3cret pass", ok), 0);
  EXPECT_TRUE(ok);
  EXPECT_EQ(authenticatePassword("admin", "s3cret pas", ok), 0);
  EXPECT_FALSE(ok);
  EXPECT_EQ(authenticatePassword("Admin", "s3cret pass", ok), 0);
  EXPECT_FALSE(ok);
  EXPECT_EQ(authenticatePassword("admin", "", ok), 0);
  EXPECT_FALSE(ok);
  EXPECT_EQ(authenticatePassword("admin", std::string("s3cret pass\0x", 13), ok), 0);
  EXPECT_FALSE(ok);
}

TEST(Password, AcceptsHashesMadeElsewhere) {
  // "admin" hashed with SHA-512 crypt, as camsim writes it.
  orvo::test::processRoot().write(kAccountFile,
                  "admin:$6$aUR6JSJIVI08D6UV$bY0O2LJWNbzGg3sL2GSqBAHibXTyeWUMth00JYi5NF0w9DW5mSA3Q"
                  "69VD4sg2nQiET7T.jAFMqihSHmk3WDbw0\n");
  bool ok = false;
  EXPECT_EQ(authenticatePassword("admin", "admin", ok), 0);
  EXPECT_TRUE(ok);
  EXPECT_EQ(authenticatePassword("admin", "admim", ok), 0);
  EXPECT_FALSE(ok);
}

TEST(Password, UnreadableAccountIsAnErrorNotAVerdict) {
  orvo::test::processRoot().remove(kAccountFile);
  bool ok = true;
  EXPECT_EQ(authenticatePassword("admin", "admin", ok), -1);
  EXPECT_FALSE(ok);
  orvo::test::processRoot().write(kAccountFile, "admin:plaintext\n");
  ok = true;
  EXPECT_EQ(authenticatePassword("admin", "plaintext", ok), -1);
  EXPECT_FALSE(ok);
}

TEST(Password, SetAccountRefusesBadCredentials) {
  EXPECT_EQ(setAccount("", "x"), -1);
  EXPECT_EQ(setAccount("a:b", "x"), -1);
  EXPECT_EQ(setAccount("admin", ""), -1);
  EXPECT_EQ(setAccount("admin", std::string(kMaxPasswordLength + 1, 'p')), -1);
}

TEST(PasswordChange, NeedsTheOldPasswordAndStoresTheNew) {
  ASSERT_EQ(setAccount("admin", "old"), 0);
  EXPECT_EQ(changePassword("admin", "wrong", "", "new"), PasswordChange::kRefused);
  bool ok = false;
  authenticatePassword("admin", "old", ok);
  EXPECT_TRUE(ok);
  EXPECT_EQ(changePassword("", "old", "", "new"), PasswordChange::kChanged);
  authenticatePassword("admin", "old", ok);
  EXPECT_FALSE(ok);
  authenticatePassword("admin", "new", ok);
  EXPECT_TRUE(ok);
  EXPECT_EQ(changePassword("admin", "new", "operator", "newer"), PasswordChange::kChanged);
  authenticatePassword("operator", "newer", ok);
  EXPECT_TRUE(ok);
  std::string user;
  EXPECT_EQ(accountUserName(user), 0);
  EXPECT_EQ(user, "operator");
  EXPECT_EQ(changePassword("operator", "newer", "", ""), PasswordChange::kRefused);
  EXPECT_EQ(changePassword("admin", "newer", "", "x"), PasswordChange::kRefused);
  orvo::test::processRoot().remove(kAccountFile);
  EXPECT_EQ(changePassword("", "newer", "", "x"), PasswordChange::kStoreFailed);
  EXPECT_EQ(accountUserName(user), -1);
}

TEST(Token, ComparedWithTheStoredToken) {
  ASSERT_EQ(setAuthToken("tok-123"), 0);
  EXPECT_EQ(orvo::test::processRoot().read(kAuthTokenFile), "tok-123\n");
  bool ok = false;
  EXPECT_EQ(authenticateToken("tok-123", ok), 0);
  EXPECT_TRUE(ok);
  for (std::string other : std::vector<std::string>{"tok-12", "tok-1234", "TOK-123", "", "tok-123\n"}) {
    EXPECT_EQ(authenticateToken(other, ok), 0);
    EXPECT_FALSE(ok) << other;
  }
}

TEST(Token, NoTokenOpensNothing) {
  ASSERT_EQ(setAuthToken(""), 0);
  bool ok = true;
  EXPECT_EQ(authenticateToken("", ok), 0);
  EXPECT_FALSE(ok);
  EXPECT_EQ(authenticateToken("anything", ok), 0);
  EXPECT_FALSE(ok);
  orvo::test::processRoot().write(kAuthTokenFile, "\n");
  EXPECT_EQ(authenticateToken("", ok), 0);
  EXPECT_FALSE(ok);
  EXPECT_EQ(setAuthToken("two\nlines"), -1);
}

}  // namespace
