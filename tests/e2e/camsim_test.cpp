// ./camsim itself: the camera root it makes, and starting, reporting and
// stopping the web server of a simulated camera.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "support/camera.h"

namespace orvo {
namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::StartsWith;

void touch(std::string const& path) { std::ofstream(path) << "x"; }

bool processGone(int pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
  // Gone, or exited and waiting for a parent that never reaps it.
  return text.empty() || text.find(") Z ") != std::string::npos;
}

int pidFromFile(std::string const& path) {
  std::ifstream in(path);
  int pid = 0;
  in >> pid;
  return pid;
}

TEST(CamsimInit, MakesTheDeviceFoldersAndAnEmptyLog) {
  CameraRoot root(CameraRoot::Layout::kCamsim);
  for (char const* folder : {"/tmp", "/var/log", "/etc", "/run/lock", "/run/orvo", "/bin", "/sbin",
                             "/sim", "/www/cgi-bin"}) {
    EXPECT_TRUE(fs::is_directory(root.file(folder))) << folder;
  }
  EXPECT_TRUE(fs::is_regular_file(root.file("/var/log/messages")));
  EXPECT_EQ(fs::file_size(root.file("/var/log/messages")), 0u);
  // What users sent lands in the log: nobody outside the camera's group reads it.
  EXPECT_EQ(fs::status(root.file("/var/log/messages")).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}

TEST(CamsimInit, RefusesARootThatIsNotEmpty) {
  CameraRoot root(CameraRoot::Layout::kCamsim);
  touch(root.file("/tmp/keep"));
  ProcessResult result = runCamsim("init", root.path());
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("is not empty"));
  EXPECT_TRUE(fs::exists(root.file("/tmp/keep")));
}

TEST(CamsimInit, ForceRecreatesTheRoot) {
  CameraRoot root(CameraRoot::Layout::kCamsim);
  touch(root.file("/tmp/stale"));
  touch(root.file("/var/log/messages"));
  ProcessResult result = runCamsim("init", root.path(), {"--force"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_FALSE(fs::exists(root.file("/tmp/stale")));
  EXPECT_EQ(fs::file_size(root.file("/var/log/messages")), 0u);
}

TEST(CamsimInit, ForceNeverRemovesAFolderItDidNotMake) {
  CameraRoot scratch;
  std::string foreign = scratch.file("/tmp/foreign");
  fs::create_directories(foreign);
  touch(foreign + "/data");
  ProcessResult result = runCamsim("init", foreign, {"--force"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("not a camera root"));
  EXPECT_TRUE(fs::exists(foreign + "/data"));
}

TEST(CamsimInit, RootDefaultsToOrvoRoot) {
  CameraRoot scratch;
  std::string target = scratch.file("/tmp/from-environment");
  auto env = camsimEnvironment();
  env.push_back("ORVO_ROOT=" + target);
  ProcessResult result = runCommand({camsimPath(), "init"}, env);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out, "camera root: " + target + "\n");
  EXPECT_TRUE(fs::is_directory(target + "/var/log"));
}

TEST(Camsim, UpStatusDown) {
  CameraRoot root(CameraRoot::Layout::kCamsim);
  int port = freePort();
  std::string url = "http://127.0.0.1:" + std::to_string(port);
  ProcessResult up = runCamsim("up", root.path(), {"--port", std::to_string(port), "--cgi", restCgiPath()});
  ASSERT_EQ(up.exitCode, 0) << up.err;
  EXPECT_EQ(up.out, url + "\n");
  EXPECT_EQ(fs::read_symlink(root.file("/www/cgi-bin/rest.cgi")), fs::canonical(restCgiPath()));
  int pid = pidFromFile(root.file("/sim/lighttpd/lighttpd.pid"));
  ASSERT_GT(pid, 0);

  ProcessResult status = runCamsim("status", root.path());
  EXPECT_THAT(status.out, StartsWith("camera root: " + root.path() + "\nlighttpd: running (pid " +
                                     std::to_string(pid) + ") at " + url + "\n"));

  ProcessResult again = runCamsim("up", root.path(), {"--port", std::to_string(port), "--cgi", restCgiPath()});
  EXPECT_EQ(again.exitCode, 0);
  EXPECT_EQ(again.out, url + "\n");
  EXPECT_THAT(again.err, HasSubstr("already running"));

  ProcessResult down = runCamsim("down", root.path());
  EXPECT_EQ(down.exitCode, 0);
  EXPECT_THAT(down.out, StartsWith("lighttpd stopped (pid " + std::to_string(pid) + ")\n"));
  EXPECT_TRUE(processGone(pid));
  EXPECT_THAT(runCamsim("status", root.path()).out, HasSubstr("lighttpd: not running"));
  EXPECT_THAT(runCamsim("down", root.path()).out, StartsWith("lighttpd was not running\n"));
}

TEST(Camsim, UpFailsWhenThePortIsTaken) {
  int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_GE(listener, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listener, 1), 0);
  ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length), 0);
  int port = ntohs(address.sin_port);

  CameraRoot root(CameraRoot::Layout::kCamsim);
  ProcessResult up = runCamsim("up", root.path(), {"--port", std::to_string(port), "--cgi", restCgiPath()});
  close(listener);
  EXPECT_NE(up.exitCode, 0);
  EXPECT_THAT(up.err, HasSubstr("Address already in use"));
  EXPECT_EQ(up.out, "");
  EXPECT_THAT(runCamsim("status", root.path()).out, HasSubstr("lighttpd: not running"));
}

// Only the named daemons run, and a restart brings back the same ones.
TEST(Camsim, UpStartsOnlyTheNamedDaemons) {
  SimulatedCamera camera({"orvo_streamer", "orvo_ctlserver"});
  std::string const status = runCamsim("status", camera.root().path()).out;
  EXPECT_THAT(status, HasSubstr("\norvo_streamer: running (pid "));
  EXPECT_THAT(status, HasSubstr("\norvo_ctlserver: running (pid "));
  EXPECT_THAT(status, HasSubstr("\norvo_networkd: not running\n"));
  EXPECT_THAT(status, HasSubstr("\norvo_avclient: not running\n"));
  ASSERT_EQ(runCamsim("reboot", camera.root().path()).exitCode, 0);
  EXPECT_TRUE(camera.waitForReboots(1, 2));
  EXPECT_THAT(runCamsim("status", camera.root().path()).out,
              HasSubstr("\norvo_networkd: not running\n"));
}

TEST(Camsim, UpRefusesAnUnknownDaemon) {
  CameraRoot root(CameraRoot::Layout::kCamsim);
  ProcessResult up = runCamsim(
      "up", root.path(), {"--port", std::to_string(freePort()), "--cgi", restCgiPath(), "--daemons", "orvo_nothing"});
  EXPECT_NE(up.exitCode, 0);
  EXPECT_THAT(up.err, HasSubstr("unknown daemon 'orvo_nothing'"));
  EXPECT_THAT(runCamsim("status", root.path()).out, HasSubstr("lighttpd: not running"));
}

TEST(Camsim, HelpListsEveryCommand) {
  ProcessResult help = runCommand({camsimPath(), "help"}, camsimEnvironment());
  EXPECT_EQ(help.exitCode, 0);
  for (char const* command : {"init", "up", "down", "status", "help"}) {
    EXPECT_THAT(help.out, HasSubstr(std::string("\n  ") + command + " ")) << command;
  }
}

TEST(Camsim, UnknownCommandFails) {
  ProcessResult result =
      runCommand({camsimPath(), "launch"}, camsimEnvironment());
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, HasSubstr("unknown command 'launch'"));
}

}  // namespace
}  // namespace test
}  // namespace orvo
