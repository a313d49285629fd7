// The simulated camera's own controls as seen through lighttpd: a credential
// change answered by the simulated control server decides the next login,
// and `camsim ctl orvo_avclient adopted` decides whether the auth token
// opens login.
#include <gtest/gtest.h>

#include <string>

#include "messages/daemons.h"
#include "orvo/variant/variant.h"
#include "support/camera.h"
#include "support/json.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

constexpr char kToken[] = "controller-token-1";

int loginStatus(SimulatedCamera const& camera, std::string const& body) {
  return camera
      .request({"POST", "/api/0.1/login", {"Content-Type: application/json"}, body})
      .status;
}

int passwordLogin(SimulatedCamera const& camera, std::string const& password) {
  return loginStatus(camera, credentials("admin", password));
}

int tokenLogin(SimulatedCamera const& camera) {
  return loginStatus(camera, std::string("{\"authToken\":\"") + kToken + "\"}");
}

// `camsim call orvo_ctlserver <message>`: the control server's answer.
orvo::variant::Variant callControlServer(SimulatedCamera const& camera,
                                         std::string const& message) {
  ProcessResult call =
      runCamsim("call", camera.root(), {orvo::daemons::kCtlServer, message});
  EXPECT_TRUE(call.exited && call.exitCode == 0) << call.err;
  return parsed(call.out);
}

bool hasError(orvo::variant::Variant const& answer) {
  return answer.GetKeyChain(orvo::variant::VT_ANY, "error", false) != nullptr;
}

class SimControls : public SharedCameraTest {
 protected:
  void setAdopted(char const* value) { control(orvo::daemons::kAvclient, {"adopted", value}); }
};

TEST_F(SimControls, ChangedPasswordIsTheOneThatLogsIn) {
  SimulatedCamera const& camera = SimControls::camera();
  ASSERT_EQ(passwordLogin(camera, "admin"), 200);
  orvo::variant::Variant answer = callControlServer(
      camera, R"({"functionName":"ChangeUsernamePassword","passwordOld":"admin",)"
              R"("passwordNew":"s3cret-1"})");
  EXPECT_FALSE(hasError(answer)) << answer["error"].ToString();
  EXPECT_TRUE(answer["username"] == "admin");
  EXPECT_EQ(passwordLogin(camera, "admin"), 401);
  EXPECT_EQ(passwordLogin(camera, "s3cret-1"), 200);
}

TEST_F(SimControls, WrongOldPasswordChangesNothing) {
  SimulatedCamera const& camera = SimControls::camera();
  orvo::variant::Variant answer = callControlServer(
      camera, R"({"functionName":"ChangeUsernamePassword","passwordOld":"nimda",)"
              R"("passwordNew":"s3cret-1"})");
  EXPECT_TRUE(hasError(answer));
  EXPECT_EQ(passwordLogin(camera, "s3cret-1"), 401);
  EXPECT_EQ(passwordLogin(camera, "admin"), 200);
}

TEST_F(SimControls, AdoptionControlDecidesWhetherTheTokenOpensLogin) {
  SimulatedCamera const& camera = SimControls::camera();
  setToken(kToken);
  setAdopted("false");
  EXPECT_EQ(tokenLogin(camera), 401);
  setAdopted("true");
  EXPECT_EQ(tokenLogin(camera), 200);
  setAdopted("false");
  EXPECT_EQ(tokenLogin(camera), 401);
}

}  // namespace
}  // namespace test
}  // namespace orvo
