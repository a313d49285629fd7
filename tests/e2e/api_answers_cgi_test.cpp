// Answers of every endpoint that need no running daemon, rest.cgi run
// directly in one camera root: refusals, locks, failures, uploads. Each
// answer is also held against docs/openapi.yaml by the test support.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/file.h>
#include <unistd.h>

#include <future>

#include "support/camera.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

constexpr char kAddr[] = "10.1.2.3";

// Every endpoint with the methods the API description lists for it.
struct Operation {
  char const* method;
  char const* endpoint;
};
constexpr Operation kClosedOperations[] = {
    {"GET", "status"},    {"GET", "settings"}, {"PUT", "settings"},  {"GET", "setup"},
    {"PUT", "setup"},     {"POST", "manage"},  {"GET", "manage"},    {"GET", "connect"},
    {"POST", "connect"},  {"POST", "firmware"}, {"POST", "check"},   {"GET", "upgrade"},
    {"GET", "support"},   {"GET", "syslog"},   {"GET", "snapshot"},  {"POST", "snapshot"},
    {"GET", "services"},  {"PUT", "services"}, {"GET", "reboot"},    {"POST", "reboot"},
    {"PUT", "reboot"},    {"DELETE", "reboot"}, {"GET", "reset"},    {"GET", "reset_image"},
    {"GET", "ap"}};
constexpr char const* kEndpoints[] = {"ap",      "connect", "check",    "firmware",    "login",
                                      "logout",  "reboot",  "reset",    "reset_image", "manage",
                                      "services", "settings", "setup",  "snapshot",    "status",
                                      "support", "syslog",  "upgrade",  "version"};

// The lock file of a single-instance operation, held as a running
// operation holds it.
class HeldLock {
 public:
  HeldLock(CameraRoot const& root, std::string const& name)
      : fd_(open(root.file("/run/lock/orvo/" + name + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)) {
    EXPECT_GE(fd_, 0) << name;
    EXPECT_EQ(flock(fd_, LOCK_EX | LOCK_NB), 0) << name;
  }
  ~HeldLock() { close(fd_); }
  HeldLock(HeldLock const&) = delete;
  HeldLock& operator=(HeldLock const&) = delete;

 private:
  int fd_;
};

class ApiAnswersCgi : public SharedRootTest {
 protected:
  std::string session() {
    CgiResult answer = login(root(), credentials("admin", "admin"), "0.1", kAddr);
    EXPECT_EQ(answer.status, "200");
    return "authId=" + cookieId(answer);
  }
  CgiResult call(std::string const& method, std::string const& id, std::string const& body = "",
                 std::string const& cookie = "") {
    return callCgi(root(), {method, id, body, kAddr, cookie});
  }
  CgiResult upload(std::string const& endpoint, std::string const& cookie, std::string const& content) {
    std::string const boundary = "apiAnswers";
    std::string const body = "--" + boundary +
                             "\r\nContent-Disposition: form-data; name=\"fwfile\"; filename=\"fw.bin\"\r\n"
                             "Content-Type: application/octet-stream\r\n\r\n" +
                             content + "\r\n--" + boundary + "--\r\n";
    return runCgi(root(), {{"REQUEST_METHOD", "POST"},
                           {"QUERY_STRING", "id=1.2/" + endpoint},
                           {"REMOTE_ADDR", kAddr},
                           {"HTTP_COOKIE", cookie},
                           {"CONTENT_TYPE", "multipart/form-data; boundary=" + boundary},
                           {"CONTENT_LENGTH", std::to_string(body.size())}},
                  body);
  }
  std::string image(std::vector<std::string> const& extra) {
    std::string const out = root().file("/sim/api-answers.bin");
    std::vector<std::string> arguments = {"--version", "4.30.1"};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    arguments.push_back(out);
    camsim(root(), "fwimage", arguments);
    std::string content;
    if (FILE* in = fopen(out.c_str(), "rb")) {
      char buffer[65536];
      for (size_t got; (got = fread(buffer, 1, sizeof buffer, in)) > 0;) content.append(buffer, got);
      fclose(in);
    }
    return content;
  }
};

TEST_F(ApiAnswersCgi, OptionsIsAnsweredForEveryEndpointWithoutAuthentication) {
  for (char const* endpoint : kEndpoints) {
    CgiResult answer = call("OPTIONS", std::string("1.2/") + endpoint);
    EXPECT_EQ(answer.status, "200") << endpoint;
    EXPECT_EQ(answer.body, "") << endpoint;
  }
}

TEST_F(ApiAnswersCgi, EveryClosedOperationRefusesAnUnknownSession) {
  for (Operation const& operation : kClosedOperations) {
    std::string const version = operation.endpoint == std::string("manage") ||
                                        operation.endpoint == std::string("services")
                                    ? "1.2/"
                                    : "1.1/";
    CgiResult answer = call(operation.method, version + operation.endpoint, "", "authId=unknown");
    EXPECT_EQ(answer.status, "401") << operation.method << " " << operation.endpoint;
    EXPECT_EQ(answer.body, "") << operation.method << " " << operation.endpoint;
  }
}

TEST_F(ApiAnswersCgi, VersionAndTheSmallStatusDocument) {
  CgiResult version = call("GET", "1.0/version");
  EXPECT_EQ(version.status, "200");
  EXPECT_EQ(version.body, R"({"version":"1.2"})");
  std::string const cookie = session();
  CgiResult small = call("GET", "0.1/status", "", cookie);
  EXPECT_EQ(small.status, "200");
  EXPECT_NE(small.body.find("\"fwver\""), std::string::npos) << small.body;
}

TEST_F(ApiAnswersCgi, LoginRefusalsAndLockdown) {
  EXPECT_EQ(login(root(), credentials("admin", "admin"), "1.2", "").status, "500");
  for (int attempt = 0; attempt < 5; ++attempt) {
    EXPECT_EQ(login(root(), credentials("admin", "wrong"), "1.2", kAddr).status, "401") << attempt;
  }
  CgiResult locked = login(root(), credentials("admin", "admin"), "1.2", kAddr);
  EXPECT_EQ(locked.status, "423");
  EXPECT_EQ(locked.body, "");
}

TEST_F(ApiAnswersCgi, LogoutEndsTheSessionOnce) {
  std::string const cookie = session();
  EXPECT_EQ(call("POST", "1.2/logout", "", cookie).status, "200");
  EXPECT_EQ(call("POST", "1.2/logout", "", cookie).status, "500");
  EXPECT_EQ(call("GET", "1.2/syslog", "", cookie).status, "401");
}

// Each waits for its daemon's time limit (5 s, the scan 30 s), so they run
// side by side.
TEST_F(ApiAnswersCgi, WithoutDaemonsTheDaemonBackedOperationsFail) {
  std::string const cookie = session();
  auto const start = [&](char const* method, char const* id, std::string const& body = "") {
    return std::async(std::launch::async, [=] { return call(method, id, body, cookie); });
  };
  auto status = start("GET", "1.2/status");
  auto reset = start("GET", "1.2/reset");
  auto connectRead = start("GET", "1.2/connect");
  auto connectWrite = start("POST", "1.2/connect");
  auto manage = start("POST", "1.2/manage",
                      R"({"mgmt":{"protocol":"wss","hosts":[]},"wifi":{"ssid":"Attic","password":"attic-pass-1"}})");
  auto scan = start("GET", "1.2/ap");
  EXPECT_EQ(status.get().status, "500");
  EXPECT_EQ(reset.get().status, "500");
  EXPECT_EQ(connectRead.get().status, "500");
  EXPECT_EQ(connectWrite.get().status, "500");
  CgiResult const managed = manage.get();
  EXPECT_EQ(managed.status, "500");
  EXPECT_TRUE(hasSummary(managed.log, "rest_manage err orvo_cgi: src/rest_manage:compose_change_wifi_settings: "
                                      "Unable to send IPC request to orvo_networkd"));
  CgiResult const scanned = scan.get();
  EXPECT_EQ(scanned.status, "500");
  EXPECT_EQ(scanned.body, "");
}

TEST_F(ApiAnswersCgi, FormsFailWithoutTheSystemConfiguration) {
  std::string const cookie = session();
  std::string const configuration = root().file("/etc/orvo/system.cfg");
  ASSERT_EQ(rename(configuration.c_str(), (configuration + ".away").c_str()), 0);
  CgiResult form = call("GET", "1.2/setup", "", cookie);
  CgiResult settings = call("GET", "1.2/settings", "", cookie);
  ASSERT_EQ(rename((configuration + ".away").c_str(), configuration.c_str()), 0);
  EXPECT_EQ(form.status, "500");
  EXPECT_EQ(form.body, "");
  EXPECT_EQ(settings.status, "500");
  EXPECT_TRUE(hasSummary(settings.log, "rest_settings err orvo_cgi: src/rest_settings:handle_get: "
                                       "Failed to initialize system cfg manager"));
}

TEST_F(ApiAnswersCgi, SystemLogFailsWithoutTheLog) {
  std::string const cookie = session();
  std::string const log = root().file("/var/log/messages");
  ASSERT_EQ(rename(log.c_str(), (log + ".away").c_str()), 0);
  CgiResult answer = call("GET", "1.2/syslog", "", cookie);
  // The refusal's own log line started a new file: the old one comes back.
  ASSERT_EQ(rename((log + ".away").c_str(), log.c_str()), 0);
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
}

TEST_F(ApiAnswersCgi, ManageRefusesOtherMethodsAndBadData) {
  std::string const cookie = session();
  EXPECT_EQ(call("GET", "1.2/manage", "", cookie).status, "405");
  CgiResult refused = call("POST", "1.2/manage", R"({"mgmt":{"protocol":"ws","hosts":["ctl.example"]}})", cookie);
  EXPECT_EQ(refused.status, "400");
  EXPECT_EQ(refused.body, "");
}

TEST_F(ApiAnswersCgi, SingleInstanceOperationsAnswer429WhileHeld) {
  std::string const cookie = session();
  for (auto const& [lock, method, id] : {std::tuple{"rest_settings_put", "PUT", "1.2/settings"},
                                         std::tuple{"rest_setup_put", "PUT", "1.2/setup"},
                                         std::tuple{"rest_upgrade", "GET", "1.2/upgrade"},
                                         std::tuple{"rest_ap", "GET", "1.2/ap"}}) {
    HeldLock const held(root(), lock);
    CgiResult answer = call(method, id, method == std::string("PUT") ? "{}" : "", cookie);
    EXPECT_EQ(answer.status, "429") << id;
    EXPECT_EQ(answer.body, "") << id;
  }
}

TEST_F(ApiAnswersCgi, InvalidWritesAreRefused) {
  std::string const cookie = session();
  EXPECT_EQ(call("PUT", "1.2/settings", R"({"device":{"language":"de-DE"}})", cookie).status, "400");
  // The setup form answers an invalid body with the preset 500.
  EXPECT_EQ(call("PUT", "1.2/setup", R"({"netMode":"bridge"})", cookie).status, "500");
  EXPECT_EQ(call("PUT", "1.2/setup", "{}", cookie).status, "200");
}

TEST_F(ApiAnswersCgi, SnapshotWithoutAPictureIs404) {
  std::string const cookie = session();
  EXPECT_EQ(call("GET", "1.2/snapshot", "", cookie).status, "404");
  EXPECT_EQ(call("POST", "1.2/snapshot", credentials("admin", "admin")).status, "404");
}

TEST_F(ApiAnswersCgi, RebootAnswers200ToEveryListedMethod) {
  std::string const cookie = session();
  for (char const* method : {"GET", "POST", "PUT", "DELETE"}) {
    CgiResult answer = call(method, "1.2/reboot", "", cookie);
    EXPECT_EQ(answer.status, "200") << method;
    EXPECT_EQ(answer.body, "") << method;
  }
}

TEST_F(ApiAnswersCgi, FirmwareUploadCheckAndUpgrade) {
  std::string const cookie = session();
  EXPECT_EQ(call("GET", "1.2/upgrade", "", cookie).status, "500");
  EXPECT_EQ(call("POST", "1.2/firmware", "", cookie).status, "400");
  CgiResult bad = upload("firmware", cookie, image({"--corrupt", "payload"}));
  EXPECT_EQ(bad.status, "200");
  EXPECT_EQ(bad.body, R"({"updateStatus":"badFwImage"})");
  EXPECT_EQ(upload("check", cookie, image({"--corrupt", "header"})).status, "400");
  EXPECT_EQ(upload("check", cookie, image({})).status, "200");
  CgiResult good = upload("firmware", cookie, image({}));
  EXPECT_EQ(good.status, "200");
  EXPECT_EQ(good.body, R"({"updateStatus":"ok","updatedFwVersion":"4.30.1"})");
  EXPECT_EQ(call("GET", "1.2/upgrade", "", cookie).status, "200");
}

TEST_F(ApiAnswersCgi, DiagnosticsAndServices) {
  std::string const cookie = session();
  CgiResult log = call("GET", "1.2/syslog", "", cookie);
  EXPECT_EQ(log.status, "200");
  EXPECT_EQ(log.body.front(), '[');
  EXPECT_EQ(call("GET", "1.2/services", "", cookie).status, "200");
  EXPECT_EQ(call("PUT", "1.2/services", R"({"http":false})", cookie).status, "200");
  CgiResult bundle = call("GET", "1.2/support", "", cookie);
  EXPECT_EQ(bundle.status, "200");
  EXPECT_EQ(bundle.header("Content-Type"), "application/force-download");
  // Without the support tool there is no bundle.
  std::string const tool = root().file("/bin/support");
  ASSERT_EQ(rename(tool.c_str(), (tool + ".away").c_str()), 0);
  CgiResult failed = call("GET", "1.2/support", "", cookie);
  ASSERT_EQ(rename((tool + ".away").c_str(), tool.c_str()), 0);
  EXPECT_EQ(failed.status, "500");
  EXPECT_EQ(failed.body, "");
}

}  // namespace
}  // namespace test
}  // namespace orvo
