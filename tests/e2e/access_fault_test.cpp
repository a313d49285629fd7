// Faults that must lose nothing: a write that fails part way (a full disk,
// simulated with a file size limit) leaves the previous file as it was, and
// an upload that does not fit is refused without leaving a part behind.
#include <gtest/gtest.h>
#include <dirent.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utmp.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <set>
#include <string>

#include "support/camera.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

constexpr char kAddr[] = "10.1.2.3";
constexpr char const* kDb = kSessionDatabase;

// A file size limit applies to every file the program writes, the log
// among them: each test needs a root whose log is still short.
struct OwnRoot : CameraRoot {
  OwnRoot() : CameraRoot(Layout::kCamsim) {}
  bool logged(std::string const& summary) const { return hasSummary(logRecords(*this), summary); }
  std::size_t countLogged(std::string const& part) const {
    std::size_t count = 0;
    for (auto const& line : logLines(*this)) count += line.find(part) != std::string::npos;
    return count;
  }
};

// While alive, every process started from this one may write files up to
// `bytes` only, and a write beyond fails with EFBIG instead of killing it.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &saved_);
    previous_ = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{bytes, saved_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &saved_);
    std::signal(SIGXFSZ, previous_);
  }

 private:
  rlimit saved_{};
  void (*previous_)(int) = nullptr;
};

std::set<std::string> namesIn(std::string const& folder) {
  std::set<std::string> names;
  if (DIR* dir = opendir(folder.c_str())) {
    while (dirent* entry = readdir(dir)) names.insert(entry->d_name);
    closedir(dir);
  }
  names.erase(".");
  names.erase("..");
  return names;
}

off_t sizeOf(std::string const& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 ? info.st_size : -1;
}

std::string sessionsText(std::size_t count) {
  std::string text = "{";
  for (std::size_t i = 0; i < count; ++i) {
    text += std::string(i ? "," : "") + "\n  \"Kept" + std::to_string(100000 + i) +
            "\": {\n    \"max-age\": 99999999999999,\n    \"remote-addr\": \"10.1.2.3\"\n  }";
  }
  return text + "\n}";
}

TEST(FullDisk, FailedSessionWriteKeepsThePreviousDatabase) {
  OwnRoot root;
  std::string const text = sessionsText(60);  // about 5 KiB
  { std::ofstream(root.file(kDb), std::ios::trunc) << text; }
  ASSERT_EQ(chmod(root.file(kDb).c_str(), 0600), 0);
  ASSERT_LT(sizeOf(root.file("/var/log/messages")), 1024) << "the log must have room to grow";
  std::set<std::string> const before = namesIn(root.file("/tmp/.rest"));
  CgiResult answer;
  {
    FileSizeLimit limit(4096);  // the log fits, the rewritten database does not
    answer = login(root, credentials("admin", "admin"));
  }
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  EXPECT_FALSE(answer.header("Set-Cookie").has_value());
  EXPECT_TRUE(root.logged("rest_login err orvo_cgi: src/rest_login:CreateSession: "
                            "Failed to save auth database"));
  EXPECT_EQ(root.read(kDb), text);
  EXPECT_EQ(namesIn(root.file("/tmp/.rest")), before) << "a temporary file was left behind";
  // With room again the same database takes the next login.
  EXPECT_EQ(login(root, credentials("admin", "admin")).status, "200");
  EXPECT_EQ(readSessions(root).size(), 61u);
}

TEST(FullDisk, FailedLoginRecordWriteKeepsThePreviousRecords) {
  OwnRoot root;
  // Five old failures: no lockdown, and the next failure rewrites six.
  {
    std::ofstream out(root.file("/var/log/btmp"), std::ios::binary | std::ios::trunc);
    for (int i = 0; i < 5; ++i) {
      struct utmp record;
      std::memset(&record, 0, sizeof record);
      record.ut_type = LOGIN_PROCESS;
      std::strcpy(record.ut_user, ("old" + std::to_string(i)).c_str());
      record.ut_tv.tv_sec = 1000 + i;
      out.write(reinterpret_cast<char const*>(&record), sizeof record);
    }
  }
  std::string const previous = root.read("/var/log/btmp");
  ASSERT_LT(sizeOf(root.file("/var/log/messages")), 512);
  CgiResult answer;
  {
    FileSizeLimit limit(5 * sizeof(struct utmp) + 200);
    answer = login(root, credentials("admin", "wrong"));
  }
  EXPECT_EQ(answer.status, "401");
  EXPECT_TRUE(root.logged("rest_login info orvo_cgi: src/rest_login:Login: Authenticate failed"));
  EXPECT_EQ(root.countLogged("src/rest_login:appendEntry:"), 1u);
  EXPECT_EQ(root.countLogged("<warning> orvo_cgi: src/rest_login:appendEntry:"), 1u);
  EXPECT_EQ(root.read("/var/log/btmp"), previous);
  for (std::string const& name : namesIn(root.file("/var/log"))) {
    EXPECT_NE(name.rfind("btmp-", 0), 0u) << "temporary file left: " << name;
  }
  // With room again the failure is recorded, keeping the newest five.
  login(root, credentials("admin", "wrong"));
  std::vector<struct utmp> records = readBtmp(root);
  ASSERT_EQ(records.size(), 6u);
  EXPECT_EQ(utmpText(records[0].ut_user, sizeof records[0].ut_user), "old0");
  EXPECT_EQ(utmpText(records[5].ut_user, sizeof records[5].ut_user), "admin");
}

// A firmware-sized multipart upload (of a logged-in caller: no other body
// is read) into a "/tmp" that fills up part way.
TEST(FullDisk, UploadThatDoesNotFitIsRefusedAndRemoved) {
  OwnRoot root;
  std::string const cookie = cgiSessionCookie(root);
  std::string const boundary = "XyZzY";
  std::string body = "--" + boundary +
                     "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"fw.bin\"\r\n"
                     "Content-Type: application/octet-stream\r\n\r\n" +
                     std::string(256 * 1024, 'F') + "\r\n--" + boundary + "--\r\n";
  Environment env{{"REQUEST_METHOD", "POST"},
                  {"QUERY_STRING", "id=1.2/firmware"},
                  {"REMOTE_ADDR", kAddr},
                  {"CONTENT_TYPE", "multipart/form-data; boundary=" + boundary},
                  {"CONTENT_LENGTH", std::to_string(body.size())},
                  {"HTTP_COOKIE", cookie}};
  std::set<std::string> const before = namesIn(root.file("/tmp"));
  std::set<std::string> const beforeOwn = namesIn(root.file("/tmp/.rest"));
  CgiResult answer;
  {
    FileSizeLimit limit(64 * 1024);
    answer = runCgi(root, env, body);
  }
  EXPECT_TRUE(answer.exited) << "signal " << answer.signal;
  EXPECT_EQ(answer.status, "400");  // refused as a whole: no "fwfile" came
  EXPECT_TRUE(root.logged("rest_firmware err orvo_cgi: src/rest_firmware:PrepareUpgrade: "
                          "Can't move received file '' (errno 2: No such file or directory)"));
  EXPECT_EQ(namesIn(root.file("/tmp")), before) << "part of the upload was left behind";
  EXPECT_EQ(namesIn(root.file("/tmp/.rest")), beforeOwn) << "part of the upload was left behind";
}

}  // namespace
}  // namespace test
}  // namespace orvo
