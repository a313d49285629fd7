#include "status_test_support.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <thread>

#include "cgi/orvo_cgi.h"
#include "entry/handlers.h"
#include "orvo/ipc/bus_server.h"

using orvo::variant::Variant;

namespace statustest {

namespace {

// How long a test waits for a scripted daemon's socket to appear.
constexpr int kListenWaitMs = 5000;

std::string readFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// The serving loop of one scripted daemon (runs in its own process).
class ScriptedDaemon : public orvo::ipc::BusServer {
 public:
  ScriptedDaemon(std::string const& name, Script const& script, std::string const& log)
      : BusServer(name), script_(script), log_(log) {}

  void run() {
    for (;;) {
      serve(5);
      answerDue();
    }
  }

 protected:
  void HandleRequest(orvo::ipc::messages::BaseRequestMessage& request, bool& accept) override {
    accept = true;
    std::string text;
    request.ToJSON(text, false);
    std::ofstream(log_, std::ios::app) << text << "\n";
    if (script_.silent) return;
    Pending pending{request, std::chrono::steady_clock::now() +
                                 std::chrono::milliseconds(script_.delayMs)};
    pending_.push_back(pending);
    answerDue();
  }

 private:
  struct Pending {
    orvo::ipc::messages::BaseRequestMessage request;
    std::chrono::steady_clock::time_point due;
  };

  void answerDue() {
    auto const now = std::chrono::steady_clock::now();
    for (auto it = pending_.begin(); it != pending_.end();) {
      if (it->due > now) {
        ++it;
        continue;
      }
      std::string const function = it->request.functionName();
      auto const found = script_.answers.find(function);
      Variant answer = found != script_.answers.end() ? found->second : Variant();
      if (answer.IsEmpty()) answer.IsArray(false);
      answer["functionName"] = function;
      respond(it->request, answer);
      it = pending_.erase(it);
    }
  }

  Script script_;
  std::string log_;
  std::vector<Pending> pending_;
};

}  // namespace

Variant parse(std::string const& json) {
  Variant value;
  if (!value.FromJSON(json)) value.Free();
  return value;
}

Variant defaultCameraInfo() {
  return parse(R"({
    "name": "OV-B4", "deviceModel": "OrvoCam Bullet 4", "hwaddr": "7483C2A1B2C3",
    "hwaddrColons": "74:83:C2:A1:B2:C3", "cameraName": "Orvo Camera",
    "version": "OV-B4.v4.23.8", "semVer": "4.23.8", "protocolVer": 67, "isStandalone": 0,
    "reboot": 90, "upgrade": 300,
    "feature_sdmmc": 1, "feature_mic": 1, "feature_line_in": 0, "feature_speaker": 1,
    "feature_rtc": 1, "feature_wifi": 1, "feature_led_ir": 1, "feature_led_status": 1,
    "feature_battery": 0, "feature_bluetooth": 0, "feature_external_ir": 0,
    "feature_accelerometer": 0, "feature_ldc": 1, "feature_magic_zoom": 0,
    "feature_optical_zoom": 0, "feature_touch_focus": 0, "feature_adjustable_ir": 1})");
}

std::string defaultSystemCfg() {
  return "device.firstTimeUse=1\ndevice.language=en-US\nhttpd.anonSnapshot=0\n";
}

Root::Root() {
  writeCameraInfo(defaultCameraInfo());
  write("/etc/orvo/system.cfg", defaultSystemCfg());
  std::string const tool = std::string(ORVO_SIM_PROGRAM_DIR) + "/orvo_system_cfg";
  if (symlink(tool.c_str(), file("/bin/orvo_system_cfg").c_str()) != 0) std::perror("symlink");
}

void Root::writeCameraInfo(Variant const& info) const {
  std::string text;
  info.ToJSON(text, true);
  write("/etc/orvo/camera_info.json", text);
}

void Root::writeProc(std::string const& netDev) const {
  write("/proc/stat", "cpu  100 0 100 600 200 0 0 0 0 0\ncpu0 100 0 100 600 200 0 0 0 0 0\n");
  write("/proc/loadavg", "0.52 0.40 0.33 1/97 4242\n");
  write("/proc/uptime", "3605.27 7000.10\n");
  write("/proc/net/dev", netDev);
}

Daemon::Daemon(Root const& root, std::string const& name, Script const& script)
    : log_(root.file("/sim/received-" + name + ".json")) {
  std::string const socket = root.file("/run/orvo/" + name + ".sock");
  fflush(stdout);
  pid_ = fork();
  if (pid_ == 0) {
    setenv("ORVO_ROOT", root.path().c_str(), 1);
    ScriptedDaemon daemon(name, script, log_);
    if (!daemon.listen()) _exit(1);
    daemon.run();
  }
  for (int waited = 0; waited < kListenWaitMs && access(socket.c_str(), F_OK) != 0; waited += 5) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

Daemon::~Daemon() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

std::vector<Variant> Daemon::received() const {
  std::vector<Variant> out;
  std::istringstream lines(readFile(log_));
  for (std::string line; std::getline(lines, line);) out.push_back(parse(line));
  return out;
}

CgiResult runHandler(Root const& root, Handler handler, std::string const& method,
                     std::string const& version, std::string const& body) {
  orvo::test::Environment const env = {{"REQUEST_METHOD", method},
                                       {"CONTENT_TYPE", "application/json"},
                                       {"CONTENT_LENGTH", std::to_string(body.size())},
                                       {"REMOTE_ADDR", "192.0.2.7"},
                                       {"PATH", "/usr/bin:/bin"}};
  return orvo::test::runCgi(root, env, body, orvo::test::CgiProgram::inProcess([=] {
    orvo::cgi::CGIRequest request;
    orvo::cgi::CGIResponse response(request, "application/json");
    response.SetHttpHeader("Status", "500");  // the dispatcher's preset
    return handler == Handler::kStatus
               ? rest_status_main(request, response, version, "status", "")
               : rest_settings_main(request, response, version, "settings", "");
  }));
}

std::vector<std::string> logged(CgiResult const& run, std::string const& text) {
  std::vector<std::string> found;
  for (auto const& record : orvo::test::withText(run.log, text)) {
    found.push_back(record.level + " " + record.function);
  }
  return found;
}

bool loggedText(CgiResult const& run, std::string const& text) { return !logged(run, text).empty(); }

std::string json(orvo::variant::Variant const& value) {
  std::string text;
  value.ToJSON(text, false);
  return text;
}

}  // namespace statustest
