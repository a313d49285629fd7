// Answers of the endpoints that need the daemons, through lighttpd from the
// running simulated camera. Each answer is also held against
// docs/openapi.yaml by the test support.
#include <gtest/gtest.h>
#include <stdio.h>

#include "messages/daemons.h"
#include "support/camera.h"
#include "support/json.h"
#include "support/poll.h"
#include "support/session.h"
#include "support/virtual_camera.h"

namespace orvo {
namespace test {
namespace {

constexpr char kJson[] = "Content-Type: application/json";

class ApiAnswersHttp : public SharedCameraTest {
 protected:
  HttpResponse call(std::string const& method, std::string const& target,
                    std::optional<std::string> const& body = std::nullopt) {
    if (cookie_.empty()) cookie_ = sessionCookie(camera());
    return camera().request({method, target, {cookie_, kJson}, body});
  }
  HttpResponse withoutSession(std::string const& method, std::string const& target, std::string const& body) {
    return camera().request({method, target, {kJson}, body});
  }
  // The tool at `path` out of the way for one request.
  HttpResponse withoutTool(std::string const& path, std::string const& method, std::string const& target,
                           std::string const& body) {
    moveTool(path, path + ".away");
    HttpResponse answer = call(method, target, body);
    moveTool(path + ".away", path);
    return answer;
  }
  void moveTool(std::string const& from, std::string const& to) {
    if (camera().root().isVirtualCamera()) {
      inVirtualCamera("mv -f " + shellWord(from) + " " + shellWord(to));
      return;
    }
    std::string const root = camera().root().path();
    EXPECT_EQ(rename((root + from).c_str(), (root + to).c_str()), 0) << from;
  }

 private:
  std::string cookie_;
};

TEST_F(ApiAnswersHttp, StatusAndSettingsRead) {
  HttpResponse status = call("GET", "/api/1.2/status");
  EXPECT_EQ(status.status, 200);
  orvo::variant::Variant document = parsed(status.body);
  EXPECT_EQ(text(document, "network/nic"), R"("eth0")");
  HttpResponse settings = call("GET", "/api/1.1/settings");
  EXPECT_EQ(settings.status, 200);
  EXPECT_NE(settings.body.find("\"soundled\":{"), std::string::npos) << settings.body;
}

TEST_F(ApiAnswersHttp, SettingsWriteAndItsToolFailure) {
  EXPECT_EQ(call("PUT", "/api/1.2/settings", std::string("{}")).status, 200);
  HttpResponse failed =
      withoutTool("/bin/orvo_system_cfg", "PUT", "/api/1.2/settings", R"({"device":{"language":"fr"}})");
  EXPECT_EQ(failed.status, 500);
  EXPECT_EQ(failed.body, "");
  EXPECT_TRUE(logged("rest_settings err orvo_cgi: src/rest_settings:handle_put: Failed to execute orvo_system_cfg"));
}

TEST_F(ApiAnswersHttp, SetupFormReadAndWritten) {
  HttpResponse form = call("GET", "/api/0.1/setup");
  EXPECT_EQ(form.status, 200);
  EXPECT_NE(form.body.find("\"wifiKey\""), std::string::npos) << form.body;
  EXPECT_EQ(call("PUT", "/api/1.2/setup", std::string(R"({"netMode":"dhcp"})")).status, 200);
}

TEST_F(ApiAnswersHttp, AdoptionEchoesTheRequest) {
  std::string const body = R"({"mgmt":{"hosts":["ctl.example:7443"],"protocol":"wss","token":"t-1"}})";
  HttpResponse adopted = call("POST", "/api/1.2/manage", body);
  EXPECT_EQ(adopted.status, 200);
  EXPECT_EQ(adopted.body, body);
}

TEST_F(ApiAnswersHttp, ConnectWithSessionOrPassword) {
  EXPECT_EQ(call("GET", "/api/1.0/connect").status, 200);
  HttpResponse posted = withoutSession("POST", "/api/1.2/connect", credentials("admin", "admin"));
  EXPECT_EQ(posted.status, 200);
  EXPECT_EQ(posted.body, "");
}

TEST_F(ApiAnswersHttp, SnapshotWithSessionOrPassword) {
  ASSERT_TRUE(eventually([&] { return camera().root().exists("/tmp/snap.jpeg"); },
                         std::chrono::seconds(10), std::chrono::milliseconds(100)));
  HttpResponse got = call("GET", "/api/1.2/snapshot");
  EXPECT_EQ(got.status, 200);
  EXPECT_EQ(got.header("Content-Type"), "image/jpeg");
  HttpResponse posted = withoutSession("POST", "/api/1.2/snapshot", credentials("admin", "admin"));
  EXPECT_EQ(posted.status, 200);
  EXPECT_EQ(posted.body.substr(0, 2), "\xFF\xD8");
}

TEST_F(ApiAnswersHttp, PictureResetAndScan) {
  HttpResponse image = call("GET", "/api/1.1/reset_image");
  EXPECT_EQ(image.status, 200);
  EXPECT_EQ(image.body.compare(0, 7, R"({"isp":)"), 0) << image.body;
  control(orvo::daemons::kNetworkd, {"scan-duration", "100"});
  HttpResponse scan = call("GET", "/api/1.2/ap");
  EXPECT_EQ(scan.status, 200);
  EXPECT_NE(scan.body.find("\"ssid\":\"HomeNet\""), std::string::npos) << scan.body;
}

TEST_F(ApiAnswersHttp, FactoryResetIsQueued) {
  int const boots = camera().rebootCount();
  HttpResponse reset = call("GET", "/api/1.2/reset");
  EXPECT_EQ(reset.status, 200);
  EXPECT_EQ(reset.body, "");
  // The virtual camera really restarts: the next program finds it up.
  if (onVirtualCamera()) {
    EXPECT_TRUE(camera().waitForReboots(boots + 1, 9, std::chrono::seconds(300)));
  }
}

}  // namespace
}  // namespace test
}  // namespace orvo
