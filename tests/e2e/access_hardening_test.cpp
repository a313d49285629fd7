// The session database and the log against a hostile neighbour: "/tmp" is
// world-writable (mode 1777) as on the device, so whatever stands at the
// database's path may have been put there by someone else.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "support/camera.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

// Tests that plant only regular files share one root (put back after each);
// one that leaves a link, a folder, a FIFO or another owner at the path
// makes a root of its own.
using HostileTmp = SharedRootTest;
using SessionFileMode = SharedRootTest;
using LogForging = SharedRootTest;

constexpr char kAddr[] = "10.1.2.3";
constexpr char const* kDb = kSessionDatabase;
// What a neighbour would plant: a session of their own choosing.
constexpr char kPlantedId[] = "PlantedPlantedPlantedPlanted1234";
constexpr char kAuthLine[] = "orvo_cgi err orvo_cgi: src/rest:AuthenticateByUUID: ";
constexpr char kLoginLine[] = "rest_login err orvo_cgi: src/rest_login:CreateSession: ";

std::string plantedDb() {
  return std::string("{\"") + kPlantedId + "\":{\"max-age\":99999999999999,\"remote-addr\":\"" +
         kAddr + "\"}}";
}

// A root of its own for one test, made by `camsim init`.
struct OwnRoot : CameraRoot {
  OwnRoot() : CameraRoot(Layout::kCamsim) {}
  bool logged(std::string const& summary) const { return hasSummary(logRecords(*this), summary); }
};

void writeFile(std::string const& path, std::string const& text, mode_t mode) {
  { std::ofstream(path, std::ios::trunc | std::ios::binary) << text; }
  ASSERT_EQ(::chmod(path.c_str(), mode), 0);
}

mode_t modeOf(std::string const& path) {
  struct stat info {};
  EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
  return info.st_mode;
}

TEST_F(HostileTmp, CameraTmpIsWorldWritableAndSticky) {
  CameraRoot const& root = sharedRoot_;
  EXPECT_EQ(modeOf(root.file("/tmp")) & 07777, 01777u);
}

// Control: the same record in a file of ours, 0600, opens the endpoint;
// the refusals below are about where the file came from, not its content.
TEST_F(HostileTmp, OwnDatabaseWithTheRecordIsAccepted) {
  CameraRoot const& root = sharedRoot_;
  writeFile(root.file(kDb), plantedDb(), 0600);
  EXPECT_EQ(sessionRequest(root, kPlantedId).status, "200");
}

TEST_F(HostileTmp, DatabaseWritableByOthersIsNotTrusted) {
  CameraRoot const& root = sharedRoot_;
  writeFile(root.file(kDb), plantedDb(), 0666);
  CgiResult answer = sessionRequest(root, kPlantedId);
  EXPECT_EQ(answer.status, "401");
  EXPECT_TRUE(logged(std::string(kAuthLine) +
                                "Ignoring '/tmp/.rest/.rest_0_1.db': it is writable by others (mode 0666)"));
  EXPECT_TRUE(logged(std::string(kAuthLine) +
                                "Failed to read auth database (possibly not yet authenticated)"));
  // A login replaces the file: the planted record and the loose mode go.
  std::string id = loginId(root);
  auto sessions = readSessions(root);
  EXPECT_EQ(sessions.size(), 1u);
  EXPECT_EQ(sessions.count(id), 1u);
  EXPECT_EQ(modeOf(root.file(kDb)) & 07777, 0600u);
  EXPECT_TRUE(logged(std::string(kLoginLine) +
                                "Ignoring '/tmp/.rest/.rest_0_1.db': it is writable by others (mode "
                                "0666); starting an empty one"));
  EXPECT_EQ(sessionRequest(root, kPlantedId).status, "401");
  EXPECT_EQ(sessionRequest(root, id).status, "200");
}

TEST(HostileTmpOwnRoot, DatabaseOfAnotherUserIsNotTrusted) {
  if (::geteuid() != 0) GTEST_SKIP() << "giving a file to another user needs root";
  OwnRoot root;
  writeFile(root.file(kDb), plantedDb(), 0600);
  ASSERT_EQ(::chown(root.file(kDb).c_str(), 65534, 65534), 0);
  EXPECT_EQ(sessionRequest(root, kPlantedId).status, "401");
  EXPECT_TRUE(root.logged(std::string(kAuthLine) +
                                "Ignoring '/tmp/.rest/.rest_0_1.db': it is owned by uid 65534, not 0"));
  std::string id = loginId(root);
  struct stat info {};
  ASSERT_EQ(::lstat(root.file(kDb).c_str(), &info), 0);
  EXPECT_EQ(info.st_uid, 0u);
  EXPECT_EQ(readSessions(root).count(kPlantedId), 0u);
}

TEST(HostileTmpOwnRoot, SymlinkIsNeitherReadNorFollowedByALogin) {
  OwnRoot root;
  std::string const target = root.file("/etc/planted-target");
  writeFile(target, plantedDb(), 0600);
  ASSERT_EQ(::symlink(target.c_str(), root.file(kDb).c_str()), 0);
  EXPECT_EQ(sessionRequest(root, kPlantedId).status, "401");
  EXPECT_TRUE(root.logged(std::string(kAuthLine) +
                                "Ignoring '/tmp/.rest/.rest_0_1.db': it is a symbolic link"));
  std::string id = loginId(root);
  // The link itself was replaced; what it pointed at is untouched.
  EXPECT_TRUE(S_ISREG(modeOf(root.file(kDb))));
  EXPECT_EQ(root.read("/etc/planted-target"), plantedDb());
  EXPECT_EQ(readSessions(root).size(), 1u);
  EXPECT_EQ(sessionRequest(root, id).status, "200");
}

TEST(HostileTmpOwnRoot, DanglingSymlinkCreatesNothingWhereItPoints) {
  OwnRoot root;
  std::string const target = root.file("/etc/created-through-link");
  ASSERT_EQ(::symlink(target.c_str(), root.file(kDb).c_str()), 0);
  std::string id = loginId(root);
  EXPECT_NE(::access(target.c_str(), F_OK), 0) << "the login wrote through the link";
  EXPECT_TRUE(S_ISREG(modeOf(root.file(kDb))));
  EXPECT_EQ(readSessions(root).count(id), 1u);
}

TEST(HostileTmpOwnRoot, FolderAtThePathDoesNotLockLoginsOut) {
  OwnRoot root;
  ASSERT_EQ(::mkdir(root.file(kDb).c_str(), 0777), 0);
  writeFile(root.file(std::string(kDb) + "/inside"), "x", 0644);
  std::string id = loginId(root);
  EXPECT_TRUE(S_ISREG(modeOf(root.file(kDb))));
  EXPECT_EQ(sessionRequest(root, id).status, "200");
  EXPECT_TRUE(root.logged(std::string(kLoginLine) +
                                "Ignoring '/tmp/.rest/.rest_0_1.db': it is not a regular file; "
                                "starting an empty one"));
  // An empty folder simply goes.
  OwnRoot second;
  ASSERT_EQ(::mkdir(second.file(kDb).c_str(), 0777), 0);
  loginId(second);
  EXPECT_EQ(readSessions(second).size(), 1u);
}

TEST(HostileTmpOwnRoot, FifoAtThePathDoesNotHangTheRequest) {
  OwnRoot root;
  ASSERT_EQ(::mkfifo(root.file(kDb).c_str(), 0600), 0);
  EXPECT_EQ(sessionRequest(root, "x").status, "401");
  std::string id = loginId(root);
  EXPECT_EQ(sessionRequest(root, id).status, "200");
}

TEST_F(SessionFileMode, LoginLeavesOwnerOnlyFileWhateverTheUmask) {
  CameraRoot const& root = sharedRoot_;
  mode_t previous = ::umask(0);
  std::string first = loginId(root);
  ::umask(previous);
  EXPECT_EQ(modeOf(root.file(kDb)) & 07777, 0600u);
  // A trusted file of ours with a readable mode is kept, but rewritten 0600.
  ASSERT_EQ(::chmod(root.file(kDb).c_str(), 0644), 0);
  std::string second = loginId(root);
  EXPECT_EQ(modeOf(root.file(kDb)) & 07777, 0600u);
  auto sessions = readSessions(root);
  EXPECT_EQ(sessions.count(first), 1u);
  EXPECT_EQ(sessions.count(second), 1u);
}

TEST_F(LogForging, NewlineInUserNameStaysInOneRecord) {
  CameraRoot const& root = sharedRoot_;
  std::string forged =
      "2026-01-01T00:00:00.000000Z rest_login[1]: <info> orvo_cgi: src/rest_login:Login:1: Login OK";
  std::string body = "{\"username\":\"eve\\n" + forged + "\",\"password\":\"wrong\"}";
  CgiResult answer = login(root, body);
  EXPECT_EQ(answer.status, "401");
  // Every line is a whole record of its own (a broken line fails here).
  for (LogRecord const& record : log()) EXPECT_NE(record.text, "Login OK");
  EXPECT_EQ(logLines(root).size(), logRecords(root).size());
  EXPECT_TRUE(logged("rest_login err orvo_cgi: src/rest:PasswordAuthentication: "
                            "Password check failure for username 'eve\\x0a" + forged + "'"));
}

TEST_F(LogForging, OtherControlBytesAreEscapedToo) {
  CameraRoot const& root = sharedRoot_;
  login(root, "{\"username\":\"a\\rb\\u001bc\\td\\u007f\",\"password\":\"wrong\"}");
  EXPECT_TRUE(logged("rest_login err orvo_cgi: src/rest:PasswordAuthentication: "
                            "Password check failure for username 'a\\x0db\\x1bc\\x09d\\x7f'"));
}

}  // namespace
}  // namespace test
}  // namespace orvo
