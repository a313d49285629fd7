// Setup and management adoption through lighttpd against the simulated
// camera: the setup answer comes first and the child applies the form
// afterwards; the management endpoint hands wireless networks and adoption
// data to the daemons and repeats what it accepted.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "support/camera.h"
#include "support/json.h"
#include "support/poll.h"
#include "support/session.h"
#include "support/stand_ins.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

using orvo::variant::Variant;
using Clock = std::chrono::steady_clock;

constexpr char kApplied[] = "src/rest_setup:do_apply_settings: Setup applied";

// One camera for the program; each test waits for the setup children it
// started before it ends.
class ProvisioningHttp : public SharedCameraTest {
 protected:
  void SetUp() override { cookie_ = sessionCookie(camera_); }
  CameraRoot const& root() { return camera_.root(); }
  HttpResponse putSetup(std::string const& body) {
    return camera_.request(
        {"PUT", "/api/1.2/setup", {cookie_, "Content-Type: application/json"}, body});
  }
  Variant getSetup() {
    HttpResponse answer = camera_.request({"GET", "/api/1.2/setup", {cookie_}, {}});
    EXPECT_EQ(answer.status, 200);
    return parsed(answer.body);
  }
  Variant status() {
    HttpResponse answer = camera_.request({"GET", "/api/1.2/status", {cookie_}, {}});
    EXPECT_EQ(answer.status, 200);
    return parsed(answer.body);
  }
  HttpResponse postManage(std::string const& members) {
    return camera_.request({"POST", "/api/1.2/manage", {"Content-Type: application/json"},
                            R"({"username":"admin","password":"admin",)" + members + "}"});
  }
  std::string systemCfg() { return root().read("/etc/orvo/system.cfg"); }
  bool cfgHas(std::string const& line) { return systemCfg().find(line + "\n") != std::string::npos; }
  Variant network() { return daemonState(root(), "orvo_networkd"); }
  // How many of the test's records hold `part` in their summary.
  std::size_t countSummaries(std::string const& part) const {
    std::size_t count = 0;
    for (std::string const& line : logSummaries()) count += line.find(part) != std::string::npos;
    return count;
  }
  static bool waitUntil(std::function<bool()> const& done,
                        std::chrono::milliseconds limit = std::chrono::seconds(2)) {
    return eventually(done, limit, std::chrono::milliseconds(50));
  }
  // Waits until the children of `count` setups of this test have finished.
  bool applied(std::size_t count) {
    return waitUntil([&] { return countSummaries(kApplied) >= count; });
  }
  bool childLogged(std::string const& text,
                   std::chrono::milliseconds limit = std::chrono::seconds(2)) {
    return waitUntil([&] { return countSummaries(text) == 1; }, limit);
  }

  SimulatedCamera const& camera_ = camera();
  std::string cookie_;
};

TEST_F(ProvisioningHttp, EmptyFormAnswers200AndRunsNoTool) {
  std::string const cfgBefore = systemCfg();
  Variant before = network();
  HttpResponse answer = putSetup("{}");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "");
  EXPECT_FALSE(answer.header("Content-Type").has_value());
  ASSERT_TRUE(applied(1));
  EXPECT_EQ(systemCfg(), cfgBefore);
  Variant after = network();
  EXPECT_EQ(text(after, "settings"), text(before, "settings"));
  EXPECT_EQ(countSummaries("rest_setup err"), 0u);
}

TEST_F(ProvisioningHttp, FormIsAppliedInTheBackgroundAndReadBack) {
  HttpResponse answer = putSetup(R"({"netMode":"static","netIp":"10.0.0.9",
      "netMask":"255.255.255.0","netGw":"10.0.0.1","netDns1":"10.0.0.2","netDns2":"10.0.0.3",
      "ctlAddr":"ctl.example.net:7443","ctlUuid":"5f0c8c1e-7c35-4a2b-9a43-0c3f1f6b2d11"})");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "");
  EXPECT_TRUE(waitUntil([&] {
    Variant state = network();
    return text(state, "settings/statik/ip") == R"("10.0.0.9")" &&
           cfgHas("vestovideo.server=ctl.example.net:7443");
  }));
  EXPECT_TRUE(cfgHas("vestovideo.uuid=5f0c8c1e-7c35-4a2b-9a43-0c3f1f6b2d11"));
  Variant state = network();
  // The form's booleans are stored as the numbers the settings write uses.
  EXPECT_EQ(text(state, "settings/dhcp/status"), "0");
  EXPECT_EQ(text(state, "settings/dns/ns2"), R"({"ip":"10.0.0.3","status":1})");

  Variant form = getSetup();
  EXPECT_EQ(text(form, ""),
            R"({"ctlAddr":"ctl.example.net:7443","ctlUuid":"5f0c8c1e-7c35-4a2b-9a43-0c3f1f6b2d11",)"
            R"("deviceName":"orvo-camera","netDns1":"10.0.0.2","netDns2":"10.0.0.3","netGw":"10.0.0.1",)"
            R"("netIp":"10.0.0.9","netMask":"255.255.255.0","netMode":"static",)"
            R"("wifiAuth":"psk","wifiKey":"none","wifiSsid":""})");
  Variant document = status();
  EXPECT_EQ(text(document, "network/ip"), R"("10.0.0.9")");
  EXPECT_EQ(text(document, "network/gw"), R"("10.0.0.1")");
  EXPECT_EQ(text(document, "network/dns"), R"("10.0.0.2 10.0.0.3")");
}

TEST_F(ProvisioningHttp, StaticSetsTheDhcpSwitchFalseAndDhcpTrue) {
  ASSERT_EQ(putSetup(R"({"netMode":"static","netIp":"10.0.0.9","netMask":"255.0.0.0",
      "netGw":"10.0.0.1"})").status, 200);
  ASSERT_TRUE(applied(1));
  Variant state = network();
  EXPECT_EQ(text(state, "settings/dhcp/status"), "0");
  EXPECT_EQ(text(getSetup(), "netMode"), R"("static")");
  ASSERT_EQ(putSetup(R"({"netMode":"dhcp"})").status, 200);
  ASSERT_TRUE(applied(2));
  state = network();
  EXPECT_EQ(text(state, "settings/dhcp/status"), "1");
  Variant form = getSetup();
  EXPECT_EQ(text(form, "netMode"), R"("dhcp")");
  EXPECT_EQ(text(form, "netDns1"), R"("192.168.1.1")");
  EXPECT_EQ(text(form, "netDns2"), R"("")");
}

TEST_F(ProvisioningHttp, WirelessKeyWithoutSsidIsWritten) {
  ASSERT_EQ(putSetup(R"({"wifiKey":"wpa"})").status, 200);
  ASSERT_TRUE(applied(1));
  Variant state = network();
  EXPECT_EQ(text(state, "settings/wifi/key"), R"("wpa")");
  EXPECT_EQ(text(state, "settings/wifi/ssid"), R"("")");
}

TEST_F(ProvisioningHttp, AddressAloneWithOverrideIsForced) {
  ASSERT_EQ(putSetup(R"({"ctlAddr":"ctl.example.net","ctlOverride":true})").status, 200);
  ASSERT_TRUE(applied(1));
  EXPECT_TRUE(cfgHas("vestovideo.server=ctl.example.net"));
  EXPECT_TRUE(cfgHas("vestovideo.uuid="));
  EXPECT_TRUE(cfgHas("vestovideo.forced=1"));
  Variant form = getSetup();
  EXPECT_EQ(text(form, "ctlAddr"), R"("ctl.example.net")");
  EXPECT_EQ(text(form, "ctlUuid"), R"("")");
}

TEST_F(ProvisioningHttp, OneNameServerLeavesTheSecondEmpty) {
  ASSERT_EQ(putSetup(R"({"netMode":"static","netIp":"10.0.0.9","netMask":"255.0.0.0",
      "netGw":"10.0.0.1","netDns1":"9.9.9.9"})").status, 200);
  ASSERT_TRUE(applied(1));
  Variant form = getSetup();
  EXPECT_EQ(text(form, "netDns1"), R"("9.9.9.9")");
  EXPECT_EQ(text(form, "netDns2"), R"("")");
}

// The child waits for the configuration writer, which waits for a lock the
// test holds: the client has its answer long before, and a second setup
// meanwhile is refused.
TEST_F(ProvisioningHttp, ClientIsAnsweredWhileTheChildStillWorks) {
  if (onVirtualCamera()) {
    GTEST_SKIP() << "the configuration writer's lock is held by a process of this machine";
  }
  HeldNamedLock writerLock(root(), "orvo_system_cfg");
  auto const start = Clock::now();
  HttpResponse answer = putSetup(R"({"ctlAddr":"ctl.example.net","ctlUuid":"u-1"})");
  auto const answeredMs =
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  EXPECT_EQ(answer.status, 200);
  EXPECT_LT(answeredMs, 1000);
  std::cout << "setup answered after " << answeredMs << " ms\n";

  HttpResponse second = putSetup(R"({"ctlAddr":"other.example.net","ctlUuid":"u-2"})");
  EXPECT_EQ(second.status, 429);
  EXPECT_EQ(second.body, "");
  EXPECT_EQ(countLogged("'rest_setup_put' is already running"), 1u);
  EXPECT_TRUE(holdsFor(
      [&] { return !cfgHas("vestovideo.server=ctl.example.net") && countSummaries(kApplied) == 0; },
      std::chrono::milliseconds(300)));

  writerLock.release();
  ASSERT_TRUE(applied(1));
  auto const appliedMs =
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  EXPECT_GT(appliedMs, answeredMs + 250);
  EXPECT_TRUE(cfgHas("vestovideo.server=ctl.example.net"));
  EXPECT_TRUE(cfgHas("vestovideo.uuid=u-1"));
  // The lock went with the child.
  EXPECT_EQ(putSetup("{}").status, 200);
  EXPECT_TRUE(applied(2));
}

TEST_F(ProvisioningHttp, ChildLogsWhatItCouldNotDo) {
  ASSERT_EQ(putSetup(R"({"ctlAddr":"ctl.example.net","ctlUuid":""})").status, 200);
  EXPECT_TRUE(childLogged("rest_setup err orvo_cgi: src/rest_setup:do_apply_settings: "
                          "ctlAddr and ctlUuid should be both empty or non-empty for ctl set"));
  // The child has ended when the lock is free again.
  ASSERT_TRUE(waitUntil([&] { return putSetup(R"({"ctlAddr":"","ctlUuid":"u-1",
      "ctlOverride":true})").status == 200; }));
  EXPECT_TRUE(childLogged("src/rest_setup:do_apply_settings: ctlAddr is missing"));
  ASSERT_TRUE(waitUntil([&] {
    return putSetup(R"({"ctlAddr":"bad\u0001address","ctlUuid":"u-1"})").status == 200;
  }));
  EXPECT_TRUE(childLogged("src/rest_setup:do_apply_settings: Failed to execute orvo_system_cfg"));
  EXPECT_FALSE(cfgHas("vestovideo.uuid=u-1"));
  EXPECT_EQ(countSummaries(kApplied), 0u);

  control("orvo_networkd", {"stop"});
  ASSERT_TRUE(waitUntil([&] {
    return putSetup(R"({"ctlAddr":"ctl.example.net","ctlUuid":"u-1"})").status == 200;
  }));
  // The child tries to reach the daemon for the whole 5 s limit.
  auto const start = Clock::now();
  EXPECT_TRUE(childLogged("src/rest_setup:do_apply_settings: Failed to perform IPC call",
                          std::chrono::seconds(8)));
  std::cout << "network change given up after "
            << std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count()
            << " ms\n";
  // Without the network change the controller is not touched either.
  EXPECT_TRUE(holdsFor([&] { return !cfgHas("vestovideo.server=ctl.example.net"); },
                       std::chrono::milliseconds(300)));
}

TEST_F(ProvisioningHttp, ManageWithAnEmptyHostListAdopts) {
  HttpResponse answer = postManage(R"("mgmt":{"protocol":"wss","hosts":[],"token":"t-1"})");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, R"({"mgmt":{"hosts":[],"protocol":"wss","token":"t-1"}})");
  Variant avclient = daemonState(root(), "orvo_avclient");
  EXPECT_EQ(text(avclient, "hosts"), "[]");
  EXPECT_EQ(text(avclient, "state"), R"("adopting")");
  EXPECT_EQ(text(avclient, "token"), R"("t-1")");
}

TEST_F(ProvisioningHttp, ManageRefusesAProtocolThatCarriesAHost) {
  HttpResponse answer = postManage(R"("mgmt":{"protocol":"wss://evil/","hosts":["a"]})");
  EXPECT_EQ(answer.status, 400);
  EXPECT_EQ(answer.body, "");
  EXPECT_TRUE(logged("rest_manage err orvo_cgi: src/rest_manage:request_data_valid: "
                     "Unsupported protocol (wss://evil/)"));
  Variant avclient = daemonState(root(), "orvo_avclient");
  EXPECT_EQ(text(avclient, "state"), R"("waiting")");
  EXPECT_EQ(text(avclient, "hosts"), "[]");
}

TEST_F(ProvisioningHttp, ManageRefusesHostsThatAreNotStrings) {
  for (char const* hosts : {"[null]", "[1]", "[true]"}) {
    HttpResponse answer =
        postManage(std::string(R"("mgmt":{"protocol":"wss","hosts":)") + hosts + "}");
    EXPECT_EQ(answer.status, 400) << hosts;
    EXPECT_EQ(answer.body, "") << hosts;
  }
  EXPECT_TRUE(logged("rest_manage err orvo_cgi: src/rest_manage:connection_host_valid: "
                     "Invalid URL (wss://null)"));
  Variant avclient = daemonState(root(), "orvo_avclient");
  EXPECT_EQ(text(avclient, "state"), R"("waiting")");
}

TEST_F(ProvisioningHttp, ManageRefusesOtherProtocols) {
  HttpResponse answer = postManage(R"("mgmt":{"protocol":"ws","hosts":["ctl.example.net"]})");
  EXPECT_EQ(answer.status, 400);
  EXPECT_EQ(answer.body, "");
  EXPECT_TRUE(logged("rest_manage err orvo_cgi: src/rest_manage:request_data_valid: "
                              "Unsupported protocol (ws)"));
  Variant avclient = daemonState(root(), "orvo_avclient");
  EXPECT_EQ(text(avclient, "state"), R"("waiting")");
}

TEST_F(ProvisioningHttp, ManageWifiWithoutPasswordChangesNothing) {
  Variant before = network();
  HttpResponse answer = postManage(R"("mgmt":{"protocol":"wss","hosts":["ctl.example.net"]},
      "wifi":{"ssid":"HomeNet"})");
  EXPECT_EQ(answer.status, 400);
  EXPECT_EQ(answer.body, "");
  Variant after = network();
  EXPECT_EQ(text(after, "settings"), text(before, "settings"));
  EXPECT_TRUE(logged("rest_manage err orvo_cgi: src/rest_manage:request_data_valid: "
                              "Invalid wifi params"));
}

// The answer repeats both objects as they came, keys the endpoint does not
// read and the password included; the network is tried first and joined.
TEST_F(ProvisioningHttp, ManageEchoesTheRequestAndJoinsTheNetwork) {
  HttpResponse answer = postManage(R"("mgmt":{"protocol":"wss","hosts":["ctl.example.net:7443"],
      "token":"t-2","site":"north"},"wifi":{"ssid":"HomeNet","password":"orchard-lane-42",
      "playSounds":false,"band":"2.4"})");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body,
            R"({"mgmt":{"hosts":["ctl.example.net:7443"],"protocol":"wss","site":"north",)"
            R"("token":"t-2"},"wifi":{"band":"2.4","password":"orchard-lane-42",)"
            R"("playSounds":false,"ssid":"HomeNet"}})");
  Variant state = network();
  EXPECT_EQ(text(state, "settings/wifi/ssid"), R"("HomeNet")");
  EXPECT_EQ(text(state, "settings/wifi/key"), R"("wpa")");
  EXPECT_EQ(text(state, "settings/wifi/enableSounds"), "false");
  Variant document = status();
  EXPECT_EQ(text(document, "wifi/mode"), R"("station")");
  EXPECT_EQ(text(document, "wifi/ssid"), R"("HomeNet")");
  EXPECT_EQ(text(document, "controller/hosts"), R"(["ctl.example.net:7443"])");
}

// Omitting "fallback" tests the network first: a wrong passphrase keeps the
// old wireless settings. "fallback" false applies it as given.
TEST_F(ProvisioningHttp, ManageFallbackChoosesTestedOrDirectChange) {
  std::string const wrong = R"("mgmt":{"protocol":"wss","hosts":[]},
      "wifi":{"ssid":"HomeNet","password":"wrong-passphrase")";
  ASSERT_EQ(postManage(wrong + "}").status, 200);
  Variant state = network();
  EXPECT_EQ(text(state, "settings/wifi/ssid"), R"("")");
  EXPECT_EQ(text(status(), "wifi/mode"), R"("disabled")");

  ASSERT_EQ(postManage(wrong + R"(,"fallback":true})").status, 200);
  state = network();
  EXPECT_EQ(text(state, "settings/wifi/ssid"), R"("")");

  ASSERT_EQ(postManage(wrong + R"(,"fallback":false})").status, 200);
  state = network();
  EXPECT_EQ(text(state, "settings/wifi/ssid"), R"("HomeNet")");
  EXPECT_EQ(text(state, "settings/wifi/wpa/psk"), R"("wrong-passphrase")");
  EXPECT_EQ(text(status(), "wifi/mode"), R"("searching")");
}

// Values of another type count as absent: a number token is sent as "",
// a "fallback" that is not a boolean tests the network first, a
// "playSounds" that is not a boolean is not sent, and a "wifi" that is not
// an object is neither applied nor repeated.
TEST_F(ProvisioningHttp, ManageWrongTypedOptionalValuesCountAsAbsent) {
  HttpResponse answer = postManage(R"("mgmt":{"protocol":"wss","hosts":[],"token":5},
      "wifi":{"ssid":"HomeNet","password":"wrong-passphrase","fallback":"no","playSounds":"yes"})");
  EXPECT_EQ(answer.status, 200);
  Variant avclient = daemonState(root(), "orvo_avclient");
  EXPECT_EQ(text(avclient, "token"), R"("")");
  Variant state = network();
  EXPECT_EQ(text(state, "settings/wifi/ssid"), R"("")");
  EXPECT_EQ(text(state, "settings/wifi/enableSounds"), "true");

  answer = postManage(R"("mgmt":{"protocol":"wss","hosts":["ctl.example.net"]},"wifi":"HomeNet")");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, R"({"mgmt":{"hosts":["ctl.example.net"],"protocol":"wss"}})");
  state = network();
  EXPECT_EQ(text(state, "settings/wifi/ssid"), R"("")");
}

}  // namespace
}  // namespace test
}  // namespace orvo
