// A new camera set up and adopted the way a phone app and then a management
// controller would do it, through lighttpd against `camsim up`.
#include <gtest/gtest.h>

#include <functional>

#include "support/camera.h"
#include "support/json.h"
#include "support/poll.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

using orvo::variant::Variant;

constexpr char kJson[] = "Content-Type: application/json";

class FirstTimeFlow : public SharedCameraTest {
 protected:
  void SetUp() override { cookie_ = sessionCookie(camera_); }
  HttpResponse send(char const* method, char const* target, std::string const& body = "",
                    bool withCookie = true) {
    std::vector<std::string> headers{kJson};
    if (withCookie) headers.push_back(cookie_);
    std::optional<std::string> payload;
    if (!body.empty()) payload = body;
    return camera_.request({method, target, headers, payload});
  }
  Variant document(char const* target) {
    HttpResponse answer = send("GET", target);
    EXPECT_EQ(answer.status, 200) << target;
    return parsed(answer.body);
  }

  static bool waitUntil(std::function<bool()> const& done) {
    return eventually(done, std::chrono::seconds(2), std::chrono::milliseconds(50));
  }

  SimulatedCamera const& camera_ = camera();
  std::string cookie_;
};

TEST_F(FirstTimeFlow, NewCameraIsSetUpJoinsWirelessAndIsAdopted) {
  // What the camera shows out of its box.
  Variant form = document("/api/1.2/setup");
  EXPECT_EQ(text(form, "netMode"), R"("dhcp")");
  EXPECT_EQ(text(form, "ctlAddr"), R"("")");

  // A static address and a controller.
  HttpResponse put = send("PUT", "/api/1.2/setup", R"({"netMode":"static","netIp":"192.168.1.80",
      "netMask":"255.255.255.0","netGw":"192.168.1.1","netDns1":"192.168.1.1",
      "ctlAddr":"ctl.example.net:7443","ctlUuid":"2b1f5c8e-3a44-4c1e-8d2f-6a7b9c0d1e2f"})");
  ASSERT_EQ(put.status, 200);
  EXPECT_EQ(put.body, "");
  ASSERT_TRUE(waitUntil([&] {
    Variant now = document("/api/1.2/setup");
    return text(now, "netIp") == R"("192.168.1.80")" &&
           text(now, "ctlAddr") == R"("ctl.example.net:7443")";
  }));
  form = document("/api/1.2/setup");
  EXPECT_EQ(text(form, "netMode"), R"("static")");
  EXPECT_EQ(text(form, "netGw"), R"("192.168.1.1")");
  EXPECT_EQ(text(form, "ctlUuid"), R"("2b1f5c8e-3a44-4c1e-8d2f-6a7b9c0d1e2f")");
  Variant status = document("/api/1.2/status");
  EXPECT_EQ(text(status, "network/ip"), R"("192.168.1.80")");
  EXPECT_EQ(text(status, "network/mask"), R"("255.255.255.0")");
  EXPECT_EQ(text(status, "wifi/mode"), R"("disabled")");

  // The home network, with its passphrase.
  ASSERT_EQ(send("PUT", "/api/1.2/setup", R"({"wifiSsid":"HomeNet","wifiKey":"wpa",
      "wifiAuth":"psk","wifiPsk":"orchard-lane-42"})").status, 200);
  ASSERT_TRUE(waitUntil([&] {
    Variant now = document("/api/1.2/status");
    return text(now, "wifi/mode") == R"("station")";
  }));
  status = document("/api/1.2/status");
  EXPECT_EQ(text(status, "wifi/ssid"), R"("HomeNet")");
  EXPECT_EQ(text(status, "wifi/connectionState"), R"("CONNECTED")");
  EXPECT_EQ(text(document("/api/1.2/setup"), "wifiSsid"), R"("HomeNet")");

  // The controller adopts the camera; the token is not accepted before the
  // controller has confirmed the adoption.
  setToken("tok-first-time");
  std::string const adoption = R"("mgmt":{"protocol":"wss","hosts":["ctl.example.net:7443"],
      "token":"adopt-1"})";
  HttpResponse manage = send("POST", "/api/1.2/manage",
                             R"({"username":"admin","password":"admin",)" + adoption + "}", false);
  ASSERT_EQ(manage.status, 200);
  EXPECT_EQ(manage.body,
            R"({"mgmt":{"hosts":["ctl.example.net:7443"],"protocol":"wss","token":"adopt-1"}})");
  status = document("/api/1.2/status");
  EXPECT_EQ(text(status, "controller/hosts"), R"(["ctl.example.net:7443"])");
  EXPECT_EQ(text(status, "controller/state"), R"("adopting")");
  std::string const byToken = R"({"authToken":"tok-first-time",)";
  EXPECT_EQ(send("POST", "/api/1.2/manage", byToken + adoption + "}", false).status, 401);

  control("orvo_avclient", {"adopted", "true"});
  status = document("/api/1.2/status");
  EXPECT_EQ(text(status, "controller/adopted"), "true");
  EXPECT_EQ(send("POST", "/api/1.2/manage", byToken + adoption + "}", false).status, 200);
  HttpResponse connect = send("POST", "/api/1.2/connect", R"({"authToken":"tok-first-time"})", false);
  EXPECT_EQ(connect.status, 200);
  EXPECT_EQ(connect.body, "");
  Variant avclient = daemonState(camera_.root(), "orvo_avclient");
  EXPECT_EQ(text(avclient, "state"), R"("connected")");
  EXPECT_EQ(text(avclient, "cancelWaits"), "1");
}

}  // namespace
}  // namespace test
}  // namespace orvo
