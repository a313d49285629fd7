// Reboot, factory reset, picture reset and wireless scan through lighttpd
// against the simulated camera, whose restarts behave like the device's:
// the daemons stop, /tmp (with the sessions) is emptied, the daemons start
// again with their stored settings.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "orvo/variant/variant.h"
#include "support/camera.h"
#include "support/json.h"
#include "support/session.h"
#include "support/stand_ins.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

using orvo::variant::Variant;
using Clock = std::chrono::steady_clock;

// One camera for the program: a restart a test asks for is over before it
// ends, and restarts are counted from the test's start.
class MaintenanceHttp : public SharedCameraTest {
 protected:
  void SetUp() override {
    cookie_ = sessionCookie(camera_);
    reboots_ = camera_.rebootCount();
  }

  HttpResponse call(std::string const& method, std::string const& endpoint,
                    std::optional<std::string> body = std::nullopt) {
    std::vector<std::string> headers{cookie_};
    // lighttpd wants a length on every POST and PUT: an empty body then.
    if (!body && (method == "POST" || method == "PUT")) body = "";
    if (body) headers.push_back("Content-Type: application/json");
    return camera_.request({method, "/api/1.2/" + endpoint, headers, body});
  }
  HttpResponse login(std::string const& user, std::string const& password) {
    return camera_.request({"POST", "/api/1.2/login", {"Content-Type: application/json"},
                            credentials(user, password)});
  }
  bool sessionFileExists() { return !camera_.root().read(kSessionDatabase).empty(); }

  SimulatedCamera const& camera_ = camera();
  std::string cookie_;
  int reboots_ = 0;
};

TEST_F(MaintenanceHttp, ScanListsTheVisibleNetworksAndTakesAScansTime) {
  auto const start = Clock::now();
  HttpResponse answer = call("GET", "ap");
  auto const took = Clock::now() - start;
  ASSERT_EQ(answer.status, 200) << answer.body;
  EXPECT_EQ(answer.header("Content-Type").value_or(""), "application/json");
  EXPECT_GE(took, std::chrono::milliseconds(1900));  // the default scan lasts 2000 ms
  Variant reply = parsed(answer.body);
  Variant networks = reply["accessPoints"];
  Variant state = daemonState(camera_.root(), "orvo_networkd");
  ASSERT_EQ(networks.Elements().size(), state["accessPoints"].Elements().size());
  ASSERT_EQ(networks.Elements().size(), 3u);
  EXPECT_EQ(text(networks, "0"),
            R"({"bssid":"74:83:c2:1a:2b:3c","channel":6,"security":"WPA2-PSK","signal":-52,)"
            R"("ssid":"HomeNet"})");
  EXPECT_EQ(text(networks, "2"),
            R"({"bssid":"00:1d:7e:9a:8b:7c","channel":1,"security":"NONE","signal":-98,)"
            R"("ssid":"CoffeeShop Guest"})");
}

TEST_F(MaintenanceHttp, ScanDurationIsATestControl) {
  control("orvo_networkd", {"scan-duration", "4000"});
  auto const start = Clock::now();
  EXPECT_EQ(call("GET", "ap").status, 200);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(3900));
}

TEST_F(MaintenanceHttp, SecondScanWhileTheFirstRunsAnswers429AtOnce) {
  control("orvo_networkd", {"scan-duration", "6000"});
  HttpResponse first;
  Clock::time_point firstDone;
  std::thread scanner([&] {
    first = call("GET", "ap");
    firstDone = Clock::now();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(1000));
  auto const start = Clock::now();
  HttpResponse second = call("GET", "ap");
  auto const secondDone = Clock::now();
  scanner.join();
  EXPECT_EQ(first.status, 200);
  EXPECT_EQ(second.status, 429);
  EXPECT_EQ(second.body, "");
  EXPECT_LT(secondDone - start, std::chrono::milliseconds(4000));
  EXPECT_LT(secondDone, firstDone);  // refused while the first still scanned
  EXPECT_EQ(countLogged("'rest_ap' is already running"), 1u);
  // The second request never reached the bus: no failed or second scan.
  EXPECT_EQ(countLogged("Unable to send IPC"), 0u);
}

TEST_F(MaintenanceHttp, ResetImageRestoresThePictureDefaults) {
  ASSERT_EQ(call("PUT", "settings", R"({"isp":{"brightness":20,"contrast":70}})").status, 200);
  HttpResponse answer = call("GET", "reset_image");
  ASSERT_EQ(answer.status, 200);
  Variant reply = parsed(answer.body);
  EXPECT_EQ(text(reply, "isp/brightness"), "50");
  EXPECT_EQ(text(reply, "isp/contrast"), "50");
  Variant isp = daemonState(camera_.root(), "orvo_ispserver");
  EXPECT_EQ(text(isp, "settings/brightness"), "50");
  EXPECT_EQ(text(isp, "settings/contrast"), "50");
}

TEST_F(MaintenanceHttp, RebootAnswersFirstThenRestartsTheCamera) {
  ASSERT_EQ(call("PUT", "settings", R"({"isp":{"brightness":30}})").status, 200);
  HttpResponse answer = call("DELETE", "reboot");
  // The camera goes down after a moment: the sessions are still there.
  EXPECT_TRUE(sessionFileExists());
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "");
  EXPECT_FALSE(answer.header("Content-Type").has_value());

  ASSERT_TRUE(camera_.waitForReboots(reboots_ + 1));
  EXPECT_EQ(camera_.rebootCount(), reboots_ + 1);
  EXPECT_FALSE(sessionFileExists());
  EXPECT_EQ(call("GET", "status").status, 401);  // the old session is gone
  cookie_ = sessionCookie(camera_);
  HttpResponse status = call("GET", "status");
  EXPECT_EQ(status.status, 200);  // the network daemon answers again
  Variant settings = parsed(call("GET", "settings").body);
  EXPECT_EQ(text(settings, "isp/brightness"), "30");  // stored settings survive
}

TEST_F(MaintenanceHttp, ResetRestoresTheFactoryCameraAndRestarts) {
  ASSERT_EQ(call("PUT", "settings", R"({
      "isp": {"brightness": 10},
      "device": {"name": "Porch", "firstTimeUse": false,
                 "auth": {"username": "admin", "passwordOld": "admin",
                          "passwordNew": "n3w-Secret"}}})")
                .status,
            200);
  std::string const cfg = "/etc/orvo/system.cfg";
  ASSERT_NE(camera_.root().read(cfg).find("device.firstTimeUse=0\n"), std::string::npos);
  ASSERT_EQ(login("admin", "admin").status, 401);
  ASSERT_EQ(login("admin", "n3w-Secret").status, 200);

  HttpResponse answer = call("GET", "reset");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "");
  ASSERT_TRUE(camera_.waitForReboots(reboots_ + 1));

  EXPECT_EQ(call("GET", "status").status, 401);
  EXPECT_EQ(login("admin", "n3w-Secret").status, 401);
  cookie_ = sessionCookie(camera_);  // the factory account: admin/admin
  EXPECT_NE(camera_.root().read(cfg).find("device.firstTimeUse=1\n"), std::string::npos);
  Variant settings = parsed(call("GET", "settings").body);
  EXPECT_EQ(text(settings, "isp/brightness"), "50");
  EXPECT_EQ(text(settings, "device/name"), R"("Orvo Camera")");
  EXPECT_EQ(text(settings, "device/firstTimeUse"), "true");
}

// DELETE is above; every other method is checked directly (each restarts).
TEST_F(MaintenanceHttp, RebootAnswers200ToEveryMethod) {
  if (onVirtualCamera()) {
    GTEST_SKIP() << "the virtual camera restarts once for two requests a moment apart";
  }
  for (char const* method : {"PUT", "POST"}) {
    HttpResponse answer = call(method, "reboot");
    EXPECT_EQ(answer.status, 200) << method;
    EXPECT_EQ(answer.body, "") << method;
  }
  EXPECT_TRUE(camera_.waitForReboots(reboots_ + 2));
}

// Wrong methods, a control server that cannot take the reset and a network
// daemon that breaks the scan: each 500 with an empty body, and no restart.
TEST_F(MaintenanceHttp, RefusalsAnswer500) {
  for (auto const& [method, endpoint] : std::vector<std::pair<char const*, char const*>>{
           {"POST", "reset"}, {"PUT", "reset_image"}, {"DELETE", "ap"}}) {
    HttpResponse answer = call(method, endpoint);
    EXPECT_EQ(answer.status, 500) << method << " " << endpoint;
    EXPECT_EQ(answer.body, "") << method << " " << endpoint;
  }
  control("orvo_ctlserver", {"stop"});
  HttpResponse reset = call("GET", "reset");
  EXPECT_EQ(reset.status, 500);
  EXPECT_EQ(countLogged("Failed to enqueue reset to defaults"), 1u);

  if (onVirtualCamera()) {
    GTEST_SKIP() << "the rest needs a broken network daemon, a stand-in process of this machine";
  }
  control("orvo_networkd", {"stop"});
  BrokenDaemon network(camera_.root(), "orvo_networkd");
  HttpResponse scan = call("GET", "ap");
  EXPECT_EQ(scan.status, 500);
  EXPECT_EQ(scan.body, "");
  EXPECT_EQ(countLogged("Scanning failed"), 1u);
  EXPECT_EQ(camera_.rebootCount(), reboots_);
}

}  // namespace
}  // namespace test
}  // namespace orvo
