// The control server's ChangeUsernamePassword against the camera's account
// store: what it changes is what the login checks accept next.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "daemon_names.h"
#include "daemon_table.h"
#include "daemon_test_support.h"
#include "orvo/utils/account.h"
#include "orvo/utils/paths.h"

namespace {

using daemontest::parse;
using orvo::variant::Variant;
namespace sim = orvo::sim;

class Credentials : public ::testing::Test {
 protected:
  void SetUp() override {
    daemontest::cameraRoot();
    ASSERT_EQ(orvo::utils::setAccount("admin", "admin"), 0);
  }
  static Variant ask(char const* json) { return sim::handleRequest(orvo::daemons::kCtlServer, parse(json)); }
  static bool hasError(Variant const& answer) {
    return answer.GetKeyChain(orvo::variant::VT_STRING, "error", false) != nullptr;
  }
  static bool opens(std::string const& user, std::string const& password) {
    bool ok = false;
    EXPECT_EQ(orvo::utils::authenticatePassword(user, password, ok), 0);
    return ok;
  }
};

TEST_F(Credentials, EmptyRequestReadsTheAccountsName) {
  ASSERT_EQ(orvo::utils::setAccount("operator", "pw-1"), 0);
  Variant read = ask(R"({"functionName": "ChangeUsernamePassword"})");
  EXPECT_TRUE(read["username"] == "operator");
  EXPECT_FALSE(hasError(read));
  EXPECT_TRUE(opens("operator", "pw-1"));
}

TEST_F(Credentials, NewPasswordIsTheOneThatOpensTheAccount) {
  Variant answer = ask(R"({"functionName": "ChangeUsernamePassword",
      "passwordOld": "admin", "passwordNew": "s3cret-1"})");
  EXPECT_FALSE(hasError(answer)) << answer["error"].ToString();
  EXPECT_TRUE(answer["username"] == "admin");
  EXPECT_TRUE(opens("admin", "s3cret-1"));
  EXPECT_FALSE(opens("admin", "admin"));
}

TEST_F(Credentials, WrongOldPasswordChangesNothing) {
  Variant answer = ask(R"({"functionName": "ChangeUsernamePassword",
      "username": "bob", "passwordOld": "nimda", "passwordNew": "s3cret-1"})");
  ASSERT_TRUE(hasError(answer));
  EXPECT_NE(answer["error"].ToString().find("wrong current password"), std::string::npos);
  EXPECT_TRUE(answer["username"] == "admin");
  EXPECT_TRUE(opens("admin", "admin"));
  EXPECT_FALSE(opens("admin", "s3cret-1"));
  EXPECT_FALSE(opens("bob", "s3cret-1"));
}

TEST_F(Credentials, NameAloneKeepsThePassword) {
  Variant answer = ask(R"({"functionName": "ChangeUsernamePassword",
      "username": "bob", "passwordOld": "admin"})");
  EXPECT_FALSE(hasError(answer)) << answer["error"].ToString();
  EXPECT_TRUE(answer["username"] == "bob");
  EXPECT_TRUE(opens("bob", "admin"));
  EXPECT_FALSE(opens("admin", "admin"));
}

TEST_F(Credentials, NameAndPasswordChangeTogether) {
  Variant answer = ask(R"({"functionName": "ChangeUsernamePassword",
      "username": "bob", "passwordOld": "admin", "passwordNew": "s3cret-2"})");
  EXPECT_FALSE(hasError(answer)) << answer["error"].ToString();
  EXPECT_TRUE(answer["username"] == "bob");
  EXPECT_TRUE(opens("bob", "s3cret-2"));
}

TEST_F(Credentials, MissingOldPasswordIsRefused) {
  Variant answer = ask(R"({"functionName": "ChangeUsernamePassword",
      "passwordNew": "s3cret-1"})");
  ASSERT_TRUE(hasError(answer));
  EXPECT_NE(answer["error"].ToString().find("current password is missing"), std::string::npos);
  EXPECT_TRUE(opens("admin", "admin"));
}

TEST_F(Credentials, UnacceptableNewCredentialsAreRefused) {
  EXPECT_TRUE(hasError(ask(R"({"functionName": "ChangeUsernamePassword",
      "passwordOld": "admin", "passwordNew": ""})")));
  EXPECT_TRUE(hasError(ask(R"({"functionName": "ChangeUsernamePassword",
      "username": "a:b", "passwordOld": "admin"})")));
  EXPECT_TRUE(opens("admin", "admin"));
}

TEST_F(Credentials, MissingAccountIsAnErrorAnswer) {
  ASSERT_EQ(::unlink(orvo::utils::devicePath(orvo::utils::kAccountFile).c_str()), 0);
  Variant read = ask(R"({"functionName": "ChangeUsernamePassword"})");
  EXPECT_TRUE(hasError(read));
  EXPECT_FALSE(read.GetKeyChain(orvo::variant::VT_ANY, "username", false));
  Variant change = ask(R"({"functionName": "ChangeUsernamePassword",
      "passwordOld": "admin", "passwordNew": "s3cret-1"})");
  ASSERT_TRUE(hasError(change));
  EXPECT_NE(change["error"].ToString().find("cannot be read or written"), std::string::npos);
}

}  // namespace
