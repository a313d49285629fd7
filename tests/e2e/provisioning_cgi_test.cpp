// The setup, management and connection endpoints run directly as CGI
// processes against a running simulated camera: methods, every refusal with
// its records, and the daemons being out of reach.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/camera.h"
#include "support/json.h"
#include "support/poll.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

using orvo::variant::Variant;
using Lines = std::vector<std::string>;

constexpr char kSetupId[] = "1.2/setup";
constexpr char kManageId[] = "1.2/manage";
constexpr char kAdmin[] = R"("username":"admin","password":"admin")";

class ProvisioningCgi : public SharedCameraTest {
 protected:
  void SetUp() override { cookie_ = cgiSessionCookie(root(), "1.2"); }
  CameraRoot const& root() { return camera_.root(); }
  CgiResult setup(std::string const& method, std::string const& body = "") {
    return callCgi(root(), {method, kSetupId, body, "10.1.2.3", cookie_});
  }
  // A manage request with the admin's credentials added to `members`.
  CgiResult manage(std::string const& members, std::string const& method = "POST") {
    std::string const body = "{" + std::string(kAdmin) + (members.empty() ? "" : ",") + members + "}";
    return callCgi(root(), {method, kManageId, body, "10.1.2.3", ""});
  }
  // The records of one identity written since `mark`.
  Lines recordsOf(char const* identity, LogMark const& mark) {
    Lines out;
    for (std::string const& line : mark.summaries()) {
      if (line.rfind(std::string(identity) + " ", 0) == 0) out.push_back(line);
    }
    return out;
  }
  // How many of the test's records hold `part` in their summary.
  std::size_t countSummaries(std::string const& part) const {
    std::size_t count = 0;
    for (std::string const& line : logSummaries()) count += line.find(part) != std::string::npos;
    return count;
  }
  std::string systemCfg() { return root().read("/etc/orvo/system.cfg"); }
  std::string networkSettings() {
    Variant state = daemonState(root(), "orvo_networkd");
    return text(state, "settings");
  }

  SimulatedCamera const& camera_ = camera();
  std::string cookie_;
};

TEST_F(ProvisioningCgi, SetupGetShowsTheFreshCamera) {
  CgiResult answer = setup("GET");
  EXPECT_EQ(answer.exitCode, 0);
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.header("Content-Type"), "application/json");
  EXPECT_EQ(answer.body,
            R"({"ctlAddr":"","ctlUuid":"","deviceName":"orvo-camera","netDns1":"192.168.1.1",)"
            R"("netDns2":"","netGw":"","netIp":"","netMask":"","netMode":"dhcp",)"
            R"("wifiAuth":"psk","wifiKey":"none","wifiSsid":""})");
}

TEST_F(ProvisioningCgi, SetupOtherMethodKeepsThePreset) {
  LogMark const mark(root());
  CgiResult answer = setup("POST", "{}");
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(recordsOf("rest_setup", mark),
            Lines{"rest_setup err orvo_cgi: src/rest_setup:rest_setup_main: "
                  "Unsupported method 'POST'"});
}

struct Refusal {
  char const* body;
  char const* problem;
};

constexpr Refusal kSetupRefusals[] = {
    {R"({"wifiSsid":"HomeNet"})", "Missing 'wifiKey' param"},
    {R"({"wifiSsid":"HomeNet","wifiKey":7})", "Missing 'wifiKey' param"},
    {R"({"wifiSsid":"HomeNet","wifiKey":"wep"})", "Unknown 'wifiKey' value: wep"},
    {R"({"wifiSsid":"HomeNet","wifiKey":"wpa"})", "Missing 'wifiAuth' param"},
    {R"({"wifiSsid":"HomeNet","wifiKey":"wpa","wifiAuth":true})", "Missing 'wifiAuth' param"},
    {R"({"wifiSsid":"HomeNet","wifiKey":"wpa","wifiAuth":"sae","wifiPsk":"p"})",
     "Unknown 'wifiAuth' value: sae"},
    {R"({"wifiSsid":"HomeNet","wifiKey":"wpa","wifiAuth":"psk"})", "Missing 'wifiPsk' param"},
    {R"({"wifiSsid":"HomeNet","wifiKey":"wpa","wifiAuth":"psk","wifiPsk":{}})",
     "Missing 'wifiPsk' param"},
    {R"({"netMode":"manual"})", "Invalid 'netMode' value: manual"},
    {R"({"netMode":"static"})", "Missing 'netIp' param"},
    {R"({"netMode":"static","netIp":[1],"netMask":"m","netGw":"g"})", "Missing 'netIp' param"},
    {R"({"netMode":"static","netIp":"10.0.0.9"})", "Missing 'netMask' param"},
    {R"({"netMode":"static","netIp":"10.0.0.9","netMask":"255.0.0.0"})", "Missing 'netGw' param"},
    {R"({"netMode":"static","netIp":"i","netMask":"m","netGw":null})", "Missing 'netGw' param"},
    {R"({"ctlAddr":"ctl.example.com"})", "Missing 'ctlAddr' and/or 'ctlUuid' param"},
    {R"({"ctlUuid":"u-1"})", "Missing 'ctlAddr' and/or 'ctlUuid' param"},
    {R"({"ctlAddr":"ctl.example.com","ctlUuid":5})", "Missing 'ctlAddr' and/or 'ctlUuid' param"},
    {R"({"ctlAddr":"ctl.example.com","ctlOverride":"yes"})",
     "Missing 'ctlAddr' and/or 'ctlUuid' param"},
    {R"({"ctlUuid":"u-1","ctlOverride":true})", "Missing 'ctlAddr' param"},
    {R"({"ctlOverride":false})", "Missing 'ctlAddr' param"},
    {R"({"ctlAddr":"ctl.example.com","ctlOverride":false})", "Missing 'ctlUuid' param"},
};

TEST_F(ProvisioningCgi, SetupRefusesEveryInvalidFormAndChangesNothing) {
  std::string const cfgBefore = systemCfg();
  std::string const networkBefore = networkSettings();
  for (Refusal const& refusal : kSetupRefusals) {
    LogMark const mark(root());
    CgiResult answer = setup("PUT", refusal.body);
    EXPECT_EQ(answer.status, "500") << refusal.body;
    EXPECT_EQ(answer.body, "") << refusal.body;
    EXPECT_EQ(recordsOf("rest_setup", mark),
              (Lines{std::string("rest_setup err orvo_cgi: src/rest_setup:isValidPutRequest: ") +
                         refusal.problem,
                     "rest_setup err orvo_cgi: src/rest_setup:handle_put: Not a valid PUT request"}))
        << refusal.body;
  }
  EXPECT_EQ(systemCfg(), cfgBefore);
  EXPECT_EQ(networkSettings(), networkBefore);
}

// A body that does not parse is an empty form: accepted, and nothing to do.
TEST_F(ProvisioningCgi, SetupBodyThatIsNotJsonChangesNothing) {
  std::string const cfgBefore = systemCfg();
  std::string const networkBefore = networkSettings();
  LogMark const mark(root());
  CgiResult answer = setup("PUT", "{\"netMode\":\"static\",");
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, "");
  EXPECT_TRUE(eventually(
      [&] { return countSummaries("src/rest_setup:do_apply_settings: Setup applied") == 1; },
      std::chrono::seconds(2)));
  Lines const since = mark.summaries();
  EXPECT_NE(std::find(since.begin(), since.end(),
                      "orvo_cgi err orvo_cgi: src/orvo_cgi:Parse: Failed to parse JSON string"),
            since.end())
      << ::testing::PrintToString(since);
  EXPECT_EQ(recordsOf("rest_setup", mark),
            Lines{"rest_setup info orvo_cgi: src/rest_setup:do_apply_settings: Setup applied"});
  EXPECT_EQ(systemCfg(), cfgBefore);
  EXPECT_EQ(networkSettings(), networkBefore);
}

TEST_F(ProvisioningCgi, SetupOneMebibyteBodyChangesNothing) {
  std::string const cfgBefore = systemCfg();
  std::string const networkBefore = networkSettings();
  std::string const body = R"({"deviceName":")" + std::string(1 << 20, 'n') + R"("})";
  CgiResult answer = setup("PUT", body);
  // The device name is not the form's to write: the form is valid and empty.
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.body, "");
  EXPECT_TRUE(eventually(
      [&] { return countSummaries("src/rest_setup:do_apply_settings: Setup applied") == 1; },
      std::chrono::seconds(2)));
  EXPECT_EQ(systemCfg(), cfgBefore);
  EXPECT_EQ(networkSettings(), networkBefore);
}

TEST_F(ProvisioningCgi, ManageServesOnlyPost) {
  for (char const* method : {"GET", "PUT"}) {
    LogMark const mark(root());
    CgiResult answer = callCgi(root(), {method, kManageId, "", "10.1.2.3", cookie_});
    EXPECT_EQ(answer.status, "405") << method;
    EXPECT_EQ(answer.body, "") << method;
    EXPECT_EQ(answer.exitCode, 0) << method;
    EXPECT_EQ(recordsOf("rest_manage", mark), Lines{}) << method;
  }
}

struct ManageRefusal {
  char const* members;
  Lines records;  // after the identity, level and tag
};

TEST_F(ProvisioningCgi, ManageRefusesEveryInvalidRequestWith400) {
  std::string const networkBefore = networkSettings();
  Variant const avclientBefore = daemonState(root(), "orvo_avclient");
  ManageRefusal const refusals[] = {
      {R"("mgmt":{"hosts":["h"]})",
       {"err orvo_cgi: src/rest_manage:request_data_valid: empty 'protocol' received"}},
      {R"("mgmt":{"protocol":"","hosts":["h"]})",
       {"err orvo_cgi: src/rest_manage:request_data_valid: empty 'protocol' received"}},
      {R"("mgmt":{"protocol":7,"hosts":["h"]})",
       {"err orvo_cgi: src/rest_manage:request_data_valid: empty 'protocol' received"}},
      {R"("mgmt":{"protocol":"wss"})",
       {"err orvo_cgi: src/rest_manage:request_data_valid: no 'hosts' found"}},
      {R"("mgmt":{"protocol":"wss","hosts":"ctl.example.com"})",
       {"err orvo_cgi: src/rest_manage:request_data_valid: no 'hosts' found"}},
      {R"("mgmt":{"protocol":"ws","hosts":["ctl.example.com"]})",
       {"err orvo_cgi: src/rest_manage:request_data_valid: Unsupported protocol (ws)"}},
      {R"("mgmt":{"protocol":"https","hosts":["ok.example.com"]})",
       {"err orvo_cgi: src/rest_manage:request_data_valid: Unsupported protocol (https)"}},
      // A protocol carrying a host of its own, with or without hosts to go with it.
      {R"("mgmt":{"protocol":"wss://evil/","hosts":["a"]})",
       {"err orvo_cgi: src/rest_manage:request_data_valid: Unsupported protocol (wss://evil/)"}},
      {R"("mgmt":{"protocol":"wss://evil.example.net","hosts":[]})",
       {"err orvo_cgi: src/rest_manage:request_data_valid: Unsupported protocol (wss://evil.example.net)"}},
      {R"("mgmt":{"protocol":"WSS","hosts":["a"]})",
       {"err orvo_cgi: src/rest_manage:request_data_valid: Unsupported protocol (WSS)"}},
      // Hosts that are no strings are never passed on as they came.
      {R"("mgmt":{"protocol":"wss","hosts":[null]})",
       {"err orvo_cgi: src/rest_manage:connection_host_valid: Invalid URL (wss://null)"}},
      {R"("mgmt":{"protocol":"wss","hosts":["ctl.example.com",1]})",
       {"err orvo_cgi: src/rest_manage:connection_host_valid: Invalid URL (wss://1)"}},
      {R"("mgmt":{"protocol":"wss","hosts":[true]})",
       {"err orvo_cgi: src/rest_manage:connection_host_valid: Invalid URL (wss://true)"}},
      {R"("mgmt":{"protocol":"wss","hosts":[["a"]]})",
       {R"(err orvo_cgi: src/rest_manage:connection_host_valid: Invalid URL (wss://["a"]))"}},
      {R"("mgmt":{"protocol":"wss","hosts":{"first":{"h":"a"}}})",
       {R"(err orvo_cgi: src/rest_manage:connection_host_valid: Invalid URL (wss://{"h":"a"}))"}},
      {R"("mgmt":{"protocol":"wss","hosts":["good.example.com",""]})",
       {"err orvo_cgi: src/rest_manage:connection_host_valid: Invalid URL (wss://)"}},
      {R"("mgmt":{"protocol":"wss","hosts":["bad host"]})",
       {"err orvo_cgi: src/rest_manage:connection_host_valid: Invalid URL (wss://bad host)"}},
      {R"("mgmt":{"protocol":"wss","hosts":[]},"wifi":{"ssid":"HomeNet"})",
       {"info orvo_cgi: src/rest_manage:is_valid_manage_wifi: ssid/password missing",
        "err orvo_cgi: src/rest_manage:request_data_valid: Invalid wifi params"}},
      {R"("mgmt":{"protocol":"wss","hosts":[]},"wifi":{"ssid":"HomeNet","password":9})",
       {"info orvo_cgi: src/rest_manage:is_valid_manage_wifi: ssid/password missing",
        "err orvo_cgi: src/rest_manage:request_data_valid: Invalid wifi params"}},
      {R"("mgmt":{"protocol":"wss","hosts":[]},"wifi":{"password":"orchard-lane-42"})",
       {"info orvo_cgi: src/rest_manage:is_valid_manage_wifi: ssid/password missing",
        "err orvo_cgi: src/rest_manage:request_data_valid: Invalid wifi params"}},
  };
  for (ManageRefusal const& refusal : refusals) {
    LogMark const mark(root());
    CgiResult answer = manage(refusal.members);
    EXPECT_EQ(answer.status, "400") << refusal.members;
    EXPECT_EQ(answer.body, "") << refusal.members;
    std::string const body = "{" + std::string(kAdmin) + "," + refusal.members + "}";
    // Credentials are masked in the logged body, wherever they are.
    Variant parsedBody = parsed(body);
    parsedBody["password"] = "********";
    if (Variant* wifiPassword = parsedBody.GetKeyChain(orvo::variant::VT_ANY, "wifi/password", false)) {
      *wifiPassword = "********";
    }
    Lines expected;
    for (std::string const& record : refusal.records) expected.push_back("rest_manage " + record);
    expected.push_back("rest_manage info orvo_cgi: src/rest_manage:rest_manage_main: request data " +
                       text(parsedBody, ""));
    EXPECT_EQ(recordsOf("rest_manage", mark), expected) << refusal.members;
  }
  EXPECT_EQ(networkSettings(), networkBefore);
  Variant avclientAfter = daemonState(root(), "orvo_avclient");
  EXPECT_TRUE(avclientAfter == avclientBefore);
}

TEST_F(ProvisioningCgi, ManageWithoutTheNetworkDaemonAttemptsNoAdoption) {
  control("orvo_networkd", {"stop"});
  LogMark const mark(root());
  CgiResult answer = manage(R"("mgmt":{"protocol":"wss","hosts":["ctl.example.com"]},)"
                            R"("wifi":{"ssid":"HomeNet","password":"orchard-lane-42"})");
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  EXPECT_NE(answer.exitCode, 0);
  Lines const records = recordsOf("rest_manage", mark);
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records.back(), "rest_manage err orvo_cgi: src/rest_manage:compose_change_wifi_settings: "
                            "Unable to send IPC request to orvo_networkd");
  Variant avclient = daemonState(root(), "orvo_avclient");
  EXPECT_EQ(text(avclient, "state"), R"("waiting")");
  EXPECT_EQ(text(avclient, "hosts"), "[]");
}

TEST_F(ProvisioningCgi, ManageWhenTheAdoptionFails) {
  control("orvo_avclient", {"stop"});
  LogMark const mark(root());
  CgiResult answer = manage(R"("mgmt":{"protocol":"wss","hosts":["ctl.example.com"]})");
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  Lines const records = recordsOf("rest_manage", mark);
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records.back(), "rest_manage info orvo_cgi: src/rest_manage:"
                            "pass_adoption_info_to_avclient: rest_manage: avclient respond 'null'");
}

TEST_F(ProvisioningCgi, ConnectServesGetAndPostOnly) {
  for (char const* method : {"GET", "POST"}) {
    CgiResult answer = callCgi(root(), {method, "1.2/connect", "", "10.1.2.3", cookie_});
    EXPECT_EQ(answer.status, "200") << method;
    EXPECT_EQ(answer.body, "") << method;
    EXPECT_EQ(answer.exitCode, 0) << method;
  }
  Variant avclient = daemonState(root(), "orvo_avclient");
  EXPECT_EQ(text(avclient, "cancelWaits"), "2");
  EXPECT_EQ(text(avclient, "state"), R"("waiting")");

  LogMark const mark(root());
  CgiResult answer = callCgi(root(), {"PUT", "1.2/connect", "", "10.1.2.3", cookie_});
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(recordsOf("rest_connect", mark),
            Lines{"rest_connect err orvo_cgi: src/rest_connect:rest_connect_main: "
                  "Cannot process PUT request"});
}

TEST_F(ProvisioningCgi, ConnectWithoutTheManagementClient) {
  control("orvo_avclient", {"stop"});
  LogMark const mark(root());
  CgiResult answer = callCgi(root(), {"POST", "1.2/connect", "", "10.1.2.3", cookie_});
  EXPECT_EQ(answer.status, "500");
  EXPECT_EQ(answer.body, "");
  Lines const records = recordsOf("rest_connect", mark);
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records.back(), "rest_connect err orvo_cgi: src/rest_connect:rest_connect_main: "
                            "Failed to initiate orvo_avclient connection procedure");
}

}  // namespace
}  // namespace test
}  // namespace orvo
