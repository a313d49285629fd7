#include "support/virtual_camera.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <regex>

#include "support/camera_root.h"

namespace orvo {
namespace test {

namespace {

constexpr int kDefaultPort = 8090;
// A command may wait on the emulated camera for long (a restart).
constexpr std::chrono::seconds kExecLimit{300};

std::string environmentValue(char const* name) {
  char const* value = std::getenv(name);
  return value ? value : "";
}

// The camsim environment, and where the virtual camera's parts are.
std::vector<std::string> execEnvironment() {
  std::vector<std::string> env = camsimEnvironment();
  std::string const vmDir = environmentValue("ORVO_VM_DIR");
  if (!vmDir.empty()) env.push_back("ORVO_VM_DIR=" + vmDir);
  return env;
}

// The shell's words of a command line.
std::string shellWords(std::vector<std::string> const& words) {
  std::string line;
  for (auto const& word : words) line += (line.empty() ? "" : " ") + shellWord(word);
  return line;
}

// `camsim ctl fwupdate duration MS|reboot on|off`: the update tool's
// controls are files under /sim/fwupdate.
std::string fwupdateControl(std::vector<std::string> const& arguments) {
  if (arguments.size() != 3) return "";
  std::string const& control = arguments[1];
  std::string file;
  if (control == "duration") file = "/sim/fwupdate/duration-ms";
  if (control == "reboot") file = "/sim/fwupdate/reboot";
  if (file.empty()) return "";
  return "mkdir -p /sim/fwupdate && printf '%s\\n' " + shellWord(arguments[2]) + " >" + file +
         ".new && mv -f " + file + ".new " + file;
}

std::string ctlCommand(std::vector<std::string> const& arguments) {
  if (arguments.size() < 2) return "";
  if (arguments[0] == "fwupdate") return fwupdateControl(arguments);
  if (arguments.size() == 2 && (arguments[1] == "stop" || arguments[1] == "start")) {
    return shellWords({"orvo-daemon", arguments[1], arguments[0]});
  }
  std::vector<std::string> words = {"orvo_simd", "ctl"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  return shellWords(words);
}

// The auth token is a private file of the account's folder, replaced whole.
std::string tokenCommand(std::vector<std::string> const& arguments) {
  if (arguments.size() != 1) return "";
  if (arguments[0] == "--clear") return "rm -f /etc/orvo/auth_token";
  return "umask 077 && printf '%s\\n' " + shellWord(arguments[0]) +
         " >/etc/orvo/auth_token.new && mv -f /etc/orvo/auth_token.new /etc/orvo/auth_token";
}

// The camera's programs know no clock offset (that is the simulated
// camera's): its system clock itself is moved.
std::string clockCommand(std::vector<std::string> const& arguments) {
  if (arguments.size() != 1) return "";
  if (!std::regex_match(arguments[0], std::regex("[+-][0-9]{1,12}"))) return "";
  std::string const step = arguments[0][0] == '+' ? arguments[0].substr(1) : arguments[0];
  return "date -s \"@$(($(date +%s) + " + step + "))\" >/dev/null";
}

}  // namespace

bool onVirtualCamera() {
  static bool const vm = environmentValue("ORVO_TEST_CAMERA") == "vm";
  return vm;
}

int virtualCameraPort() {
  std::string const port = environmentValue("ORVO_TEST_VM_PORT");
  return port.empty() ? kDefaultPort : std::atoi(port.c_str());
}

std::string clientAddress() { return onVirtualCamera() ? "10.0.2.2" : "127.0.0.1"; }

std::string virtualCameraFactory() {
  std::string vmDir = environmentValue("ORVO_VM_DIR");
  if (vmDir.empty()) vmDir = "build-vm";
  if (vmDir[0] != '/') vmDir = sourceFolder() + "/" + vmDir;
  return vmDir + "/factory";
}

ProcessResult runInVirtualCamera(std::string const& script) {
  ProcessSpec process;
  process.program = camsimPath();
  process.argv = {camsimPath(), "vm", "exec"};
  process.env = execEnvironment();
  process.input = script;
  process.limit = kExecLimit;
  return runProcess(process);
}

std::string inVirtualCamera(std::string const& script) {
  ProcessResult result = runInVirtualCamera(script);
  EXPECT_TRUE(result.exited && result.exitCode == 0)
      << "in the virtual camera: " << script << "\nexit " << result.exitCode << ": " << result.err;
  return result.out;
}

std::string shellWord(std::string const& text) {
  std::string word = "'";
  for (char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + "'";
}

std::string simulatedLogLine(std::string const& syslogLine) {
  static std::regex const shape(
      R"(^(\w{3}) +(\d{1,2}) (\d\d:\d\d:\d\d) \S+ \w+\.(\w+) ([^\s\[]+\[\d+\]:) (.*)$)");
  std::smatch m;
  if (!std::regex_match(syslogLine, m, shape)) return "";
  std::string const time = m[1].str() + "-" + m[2].str() + "T" + m[3].str();
  // syslogd's short name of the level.
  std::string const level = m[4].str() == "warn" ? "warning" : m[4].str();
  return time + " " + m[5].str() + " <" + level + "> " + m[6].str();
}

std::string virtualCameraCommand(std::string const& command,
                                 std::vector<std::string> const& arguments) {
  if (command == "ctl") return ctlCommand(arguments);
  if (command == "token") return tokenCommand(arguments);
  if (command == "clock") return clockCommand(arguments);
  // `camsim call` waits 5 s for the answer.
  if (command == "call" && arguments.size() == 2) {
    return shellWords({"orvo_bus_call", arguments[0], arguments[1], "5000"});
  }
  if (command == "state" && arguments.size() == 1) {
    return shellWords({"orvo_simd", "state", arguments[0]});
  }
  return "";
}

void prepareVirtualCamera() {
  inVirtualCamera(
      "rm -rf /tmp/.rest /var/log/btmp /sim/clock /sim/ctl /sim/fwupdate /sim/reboot-requested "
      "/etc/orvo/auth_token /var/log/messages.0 && : >/var/log/messages && "
      "mkdir -p /sim/fwupdate && echo off >/sim/fwupdate/reboot");
}

void releaseVirtualCamera() { runInVirtualCamera("rm -f /sim/fwupdate/reboot"); }

VirtualCameraStatus virtualCameraStatus() {
  // The daemons with a live pid, and the web server.
  ProcessResult result = runInVirtualCamera(
      "cat /data/boots; n=0; for f in /run/orvo-daemons/*.pid; do "
      "kill -0 \"$(cat \"$f\")\" 2>/dev/null && n=$((n + 1)); done; "
      "pidof httpd >/dev/null && n=$((n + 1)); echo \"$n\"");
  VirtualCameraStatus status;
  if (!result.exited || result.exitCode != 0) return status;
  std::smatch m;
  if (std::regex_match(result.out, m, std::regex(R"((\d+)\n(\d+)\n)"))) {
    status.boots = std::stoi(m[1]);
    status.running = std::stoi(m[2]);
  }
  return status;
}

}  // namespace test
}  // namespace orvo

namespace orvo {
namespace test {

namespace {

// On the disk: a test that restarts the camera is put back all the same.
constexpr char kKeptFolder[] = "/data/orvo-test";

// The shell's list of the paths, each as one word.
std::string pathWords(std::vector<std::string> const& paths) {
  std::string words;
  for (auto const& path : paths) words += " " + shellWord(path);
  return words;
}

std::string base64(std::string const& bytes) {
  static char const alphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    unsigned long group = static_cast<unsigned char>(bytes[at]) << 16;
    std::size_t const n = std::min<std::size_t>(3, bytes.size() - at);
    if (n > 1) group |= static_cast<unsigned char>(bytes[at + 1]) << 8;
    if (n > 2) group |= static_cast<unsigned char>(bytes[at + 2]);
    for (std::size_t i = 0; i < 4; ++i) {
      out += i <= n ? alphabet[(group >> (18 - 6 * i)) & 63] : '=';
    }
  }
  return out;
}

// The camera's /etc also holds its start scripts and the web server's
// configuration, which no test changes: its state there is /etc/orvo.
std::vector<std::string> guestPaths(std::vector<std::string> const& paths) {
  std::vector<std::string> out;
  for (auto const& path : paths) out.push_back(path == "/etc" ? "/etc/orvo" : path);
  return out;
}

}  // namespace

std::string virtualCameraRead(std::string const& path) {
  return inVirtualCamera("[ ! -e " + shellWord(path) + " ] || cat " + shellWord(path));
}

bool virtualCameraExists(std::string const& path) {
  std::string const word = shellWord(path);
  return runInVirtualCamera("[ -e " + word + " ] || [ -L " + word + " ]").exitCode == 0;
}

void virtualCameraWrite(std::string const& path, std::string const& content) {
  std::string const word = shellWord(path);
  // The bytes travel in base64, lines of 76 characters.
  std::string const text = base64(content);
  std::string lines;
  for (std::size_t at = 0; at < text.size(); at += 76) lines += text.substr(at, 76) + "\n";
  inVirtualCamera("mkdir -p \"$(dirname " + word + ")\" && base64 -d >" + word + " <<'END'\n" +
                  lines + "END");
}

void virtualCameraRemove(std::string const& path) {
  inVirtualCamera("rm -f " + shellWord(path));
}

void virtualCameraAge(std::string const& path, long seconds) {
  inVirtualCamera("touch -d \"@$(($(date +%s) - " + std::to_string(seconds) + "))\" " +
                  shellWord(path));
}

bool virtualCameraLockHeld(std::string const& path) {
  return runInVirtualCamera("i=$(stat -c %i " + shellWord(path) +
                            ") && grep -q \" FLOCK .*:$i \" /proc/locks")
             .exitCode == 0;
}

std::string keepInVirtualCamera(std::vector<std::string> const& paths) {
  static int count = 0;
  std::string const name = std::string(kKeptFolder) + "/" + std::to_string(getpid()) + "-" +
                           std::to_string(++count);
  inVirtualCamera("mkdir -p " + std::string(kKeptFolder) + " && : >" + name + ".absent && "
                  "present='' && for p in" + pathWords(guestPaths(paths)) + "; do "
                  "if [ -e \"$p\" ]; then present=\"$present ${p#/}\"; "
                  "else echo \"$p\" >>" + name + ".absent; fi; done && "
                  "if [ -n \"$present\" ]; then tar -cf " + name + ".tar -C / $present; fi");
  return name;
}

void restoreVirtualCamera(std::string const& name, std::vector<std::string> const& paths) {
  // Everything under each path goes, then the kept files come back (once).
  inVirtualCamera("[ -f " + name + ".absent ] || exit 0; for p in" + pathWords(guestPaths(paths)) + "; do "
                  "if grep -qxF \"$p\" " + name + ".absent; then rm -rf \"$p\"; "
                  "elif [ -d \"$p\" ]; then rm -rf \"$p\"/* \"$p\"/.[!.]* \"$p\"/..?*; "
                  "else rm -f \"$p\"; fi; done; "
                  "if [ -f " + name + ".tar ]; then tar -xf " + name + ".tar -C /; fi; "
                  "rm -f " + name + ".tar " + name + ".absent");
}

}  // namespace test
}  // namespace orvo
