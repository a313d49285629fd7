// Processes killed at any moment lose nothing: logins, failed logins,
// logouts and settings writes run in parallel against one simulated camera
// and are killed with SIGKILL at random moments. Afterwards every file the
// program keeps still parses, no lock is held and no temporary file is left.
// ORVO_STORM_ROUNDS repeats the storm (bench/faults runs a long variant).
#include <gtest/gtest.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "orvo/variant/variant.h"
#include "support/camera.h"
#include "support/poll.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kProcesses = 200;
// Kill moments fall within this much of each start: all 200 run at once, so
// on a few cores most are still at work then, at every stage of it.
constexpr long kKillSpreadUs = 20000;
constexpr int kMaxRounds = 4;
constexpr char kAddr[] = "10.1.2.3";

struct Request {
  std::string query;  // after "id="
  std::string method;
  std::string bodyFile;  // "" for none
  std::string cookie;
};

struct Child {
  pid_t pid = -1;
  Clock::time_point killAt;
  bool done = false;
};

pid_t spawn(CameraRoot const& root, Request const& request) {
  std::vector<std::string> env{"REQUEST_METHOD=" + request.method,
                               "QUERY_STRING=id=" + request.query,
                               std::string("REMOTE_ADDR=") + kAddr, "ORVO_ROOT=" + root.path()};
  if (!request.bodyFile.empty()) {
    env.push_back("CONTENT_TYPE=application/json");
    env.push_back("CONTENT_LENGTH=" + std::to_string(fs::file_size(request.bodyFile)));
  }
  if (!request.cookie.empty()) env.push_back("HTTP_COOKIE=authId=" + request.cookie);
  for (char const* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
    if (char const* value = std::getenv(name)) env.push_back(std::string(name) + "=" + value);
  }
  std::vector<char*> envp;
  for (auto& e : env) envp.push_back(e.data());
  envp.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  std::string input = request.bodyFile.empty() ? "/dev/null" : request.bodyFile;
  posix_spawn_file_actions_addopen(&actions, 0, input.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  std::string program = restCgiPath();
  char* argv[] = {program.data(), nullptr};
  pid_t pid = -1;
  if (posix_spawn(&pid, program.c_str(), &actions, nullptr, argv, envp.data()) != 0) pid = -1;
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

// Kills each child at its moment unless it ended first; reaps them all and
// returns how many were killed.
int killAtTheirMoments(std::vector<Child>& children) {
  int killed = 0;
  std::size_t left = children.size();
  while (left > 0) {
    for (Child& child : children) {
      if (child.done) continue;
      if (waitpid(child.pid, nullptr, WNOHANG) == child.pid) {
        child.done = true;
      } else if (Clock::now() >= child.killAt) {
        kill(child.pid, SIGKILL);  // still our unreaped child: the pid is its own
        int status = 0;
        waitpid(child.pid, &status, 0);
        killed += WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
        child.done = true;
      }
      left -= child.done;
    }
    std::this_thread::sleep_for(std::chrono::microseconds(500));
  }
  return killed;
}

std::string writeBody(CameraRoot const& root, char const* name, std::string const& text) {
  std::string path = root.file(std::string("/sim/") + name);
  std::ofstream(path, std::ios::trunc) << text;
  return path;
}

// Whether the file is one of the temporaries the program and its tools make.
bool isTemporary(fs::directory_entry const& entry) {
  std::regex const temporary(
      "(.+\\.[A-Za-z0-9]{6}|btmp-[A-Za-z0-9]{6}|cgi-upload-.*|support-cgi-.*|.*\\.refused-.*)");
  std::string const name = entry.path().filename().string();
  bool tempShaped = std::regex_match(name, temporary) &&
                    fs::exists(entry.path().parent_path() / name.substr(0, name.rfind('.')));
  return tempShaped || name.rfind("btmp-", 0) == 0;
}

bool lockHeld(fs::path const& path) {
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  bool const held = flock(fd, LOCK_EX | LOCK_NB) != 0;
  close(fd);
  return held;
}

// No temporary file and no lock left: what a killed request had started
// (a tool still writing) has finished.
bool settled(CameraRoot const& root) {
  std::error_code ignored;
  for (auto const& entry : fs::recursive_directory_iterator(root.path(), ignored)) {
    if (entry.is_regular_file(ignored) && isTemporary(entry) &&
        entry.path().string().find("/sim/lighttpd/") == std::string::npos) {
      return false;
    }
  }
  for (auto const& entry : fs::directory_iterator(root.file("/run/lock/orvo"), ignored)) {
    if (lockHeld(entry.path())) return false;
  }
  return true;
}

void expectEveryFileSound(CameraRoot const& root) {
  for (auto const& entry : fs::recursive_directory_iterator(root.path())) {
    std::string const name = entry.path().filename().string();
    std::string const path = entry.path().string();
    if (!entry.is_regular_file() || path.find("/sim/lighttpd/") != std::string::npos) continue;
    EXPECT_FALSE(isTemporary(entry)) << "temporary file left: " << path;
    if (name == ".rest_0_1.db" || entry.path().extension() == ".json") {
      orvo::variant::Variant value;
      std::string text = root.read(path.substr(root.path().size()));
      EXPECT_TRUE(text.empty() || value.FromJSON(text)) << path << " does not parse:\n" << text;
    }
  }
  EXPECT_EQ(fs::exists(root.file("/var/log/btmp"))
                ? fs::file_size(root.file("/var/log/btmp")) % sizeof(struct utmp)
                : 0u,
            0u);
  logRecords(root);  // fails on any line that is not one whole record
  for (auto const& entry : fs::directory_iterator(root.file("/run/lock/orvo"))) {
    EXPECT_FALSE(lockHeld(entry.path())) << "still held: " << entry.path();
  }
}

TEST(KillStorm, KilledRequestsLeaveSoundFilesNoLocksAndNoTemporaries) {
  SimulatedCamera camera;
  CameraRoot const& root = camera.root();
  int rounds = std::max(1, std::atoi(std::getenv("ORVO_STORM_ROUNDS") ? getenv("ORVO_STORM_ROUNDS")
                                                                      : "1"));
  std::string const good = writeBody(root, "good.json", credentials("admin", "admin"));
  std::string const bad = writeBody(root, "bad.json", credentials("admin", "wrong"));
  std::string const settings = writeBody(
      root, "settings.json",
      R"({"isp":{"brightness":31},"device":{"name":"Storm","language":"fr"},"httpd":{"anonSnapshot":1}})");
  unsigned seed = static_cast<unsigned>(Clock::now().time_since_epoch().count());
  std::mt19937 random(seed);
  SCOPED_TRACE("seed " + std::to_string(seed));
  // Enough must die mid-way, or the storm proves nothing. A quick machine
  // ends more requests before their moment, so the storm goes on (at most
  // kMaxRounds) until enough have died.
  int killedInAll = 0;
  for (int round = 0; round < rounds || (killedInAll < kProcesses / 20 && round < kMaxRounds);
       ++round) {
    std::vector<std::string> ids;
    for (int i = 0; i < 20; ++i) {
      CgiResult answer = login(root, credentials("admin", "admin"), "0.1", kAddr);
      ASSERT_EQ(answer.status, "200") << "round " << round;
      ids.push_back(cookieId(answer));
    }
    std::vector<Child> children;
    for (int i = 0; i < kProcesses; ++i) {
      Request request;
      switch (i % 5) {
        case 0: case 1: request = {"0.1/login", "POST", good, ""}; break;
        case 2: request = {"0.1/login", "POST", bad, ""}; break;
        case 3: request = {"1.2/logout", "POST", "", ids[i % ids.size()]}; break;
        default: request = {"1.2/settings", "PUT", settings, ids[(i + 1) % ids.size()]}; break;
      }
      Child child;
      child.pid = spawn(root, request);
      ASSERT_GT(child.pid, 0);
      child.killAt = Clock::now() + std::chrono::microseconds(random() % kKillSpreadUs);
      children.push_back(child);
    }
    int killed = killAtTheirMoments(children);
    std::cout << "round " << round << ": " << killed << " of " << kProcesses
              << " requests killed before they ended\n";
    killedInAll += killed;
    // Tools a killed request had started finish on their own.
    eventually([&] { return settled(root); }, std::chrono::seconds(5),
               std::chrono::milliseconds(50));
    expectEveryFileSound(root);
    // Nothing stuck: the next client logs in as usual.
    CgiResult after = login(root, credentials("admin", "admin"), "0.1", kAddr);
    EXPECT_EQ(after.status, "200") << "round " << round;
    readSessions(root);
  }
  EXPECT_GE(killedInAll, kProcesses / 20);
}

}  // namespace
}  // namespace test
}  // namespace orvo
