// The simulated configuration writer, /bin/orvo_system_cfg, run as the
// settings and setup handlers run it.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <string>
#include <vector>

#include "status_test_support.h"

extern char** environ;

namespace {

// Runs the built tool inside `root`; its exit status, or -1.
int runTool(statustest::Root const& root, std::vector<std::string> args) {
  std::string const tool = std::string(ORVO_SIM_PROGRAM_DIR) + "/orvo_system_cfg";
  args.insert(args.begin(), tool);
  std::vector<char*> argv;
  for (std::string& arg : args) argv.push_back(&arg[0]);
  argv.push_back(nullptr);
  std::string rootVariable = "ORVO_ROOT=" + root.path();
  char* env[] = {&rootVariable[0], nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  int spawned = posix_spawn(&pid, tool.c_str(), &actions, nullptr, argv.data(), env);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) return -1;
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

TEST(SystemCfgTool, FlashStoresPairsAndKeepsTheRest) {
  statustest::Root root;
  EXPECT_EQ(runTool(root, {"flash", "device.language", "fr", "x.cmd", "$(reboot); rm -rf /"}), 0);
  EXPECT_EQ(root.read("/etc/orvo/system.cfg"),
            "device.firstTimeUse=1\ndevice.language=fr\nhttpd.anonSnapshot=0\n"
            "x.cmd=$(reboot); rm -rf /\n");
}

TEST(SystemCfgTool, BadArgumentsWriteNothing) {
  statustest::Root root;
  std::string const before = root.read("/etc/orvo/system.cfg");
  EXPECT_EQ(runTool(root, {}), 2);
  EXPECT_EQ(runTool(root, {"erase"}), 2);
  EXPECT_EQ(runTool(root, {"flash"}), 2);
  EXPECT_EQ(runTool(root, {"flash", "device.language"}), 2);
  EXPECT_EQ(runTool(root, {"flash", "bad key", "1"}), 2);
  EXPECT_EQ(runTool(root, {"flash", "good.key", "two\nlines"}), 2);
  EXPECT_EQ(runTool(root, {"ctl", "set", "ctl.example.com"}), 2);
  EXPECT_EQ(runTool(root, {"ctl", "force"}), 2);
  EXPECT_EQ(runTool(root, {"ctl", "adopt", "a", "b"}), 2);
  EXPECT_EQ(root.read("/etc/orvo/system.cfg"), before);
}

TEST(SystemCfgTool, ControllerIsRecorded) {
  statustest::Root root;
  EXPECT_EQ(runTool(root, {"ctl", "set", "ctl.example.com:7443", "u-1"}), 0);
  std::string stored = root.read("/etc/orvo/system.cfg");
  EXPECT_NE(stored.find("vestovideo.server=ctl.example.com:7443\n"), std::string::npos);
  EXPECT_NE(stored.find("vestovideo.uuid=u-1\n"), std::string::npos);
  EXPECT_NE(stored.find("vestovideo.forced=0\n"), std::string::npos);
  EXPECT_EQ(runTool(root, {"ctl", "force", "other.example.com"}), 0);
  stored = root.read("/etc/orvo/system.cfg");
  EXPECT_NE(stored.find("vestovideo.server=other.example.com\n"), std::string::npos);
  EXPECT_NE(stored.find("vestovideo.uuid=\n"), std::string::npos);
  EXPECT_NE(stored.find("vestovideo.forced=1\n"), std::string::npos);
}

TEST(SystemCfgTool, BrokenConfigurationIsNotOverwritten) {
  statustest::Root root;
  root.write("/etc/orvo/system.cfg", "not a configuration line\n");
  EXPECT_EQ(runTool(root, {"flash", "device.language", "fr"}), 1);
  EXPECT_EQ(root.read("/etc/orvo/system.cfg"), "not a configuration line\n");
}
