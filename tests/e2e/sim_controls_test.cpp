// The simulated camera's own controls as seen through lighttpd: a credential
// change answered by the simulated control server decides the next login,
// and `camsim ctl orvo_avclient adopted` decides whether the auth token
// opens login.
#include <gtest/gtest.h>

#include <string>

#include "access_support.h"
#include "harness/http.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace e2e {
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
  ProcessResult call = runCamsim("call", camera.root().path(), {"orvo_ctlserver", message});
  EXPECT_TRUE(call.exited && call.exitCode == 0) << call.err;
  orvo::variant::Variant answer;
  EXPECT_TRUE(answer.FromJSON(call.out)) << call.out;
  return answer;
}

bool hasError(orvo::variant::Variant const& answer) {
  return answer.GetKeyChain(orvo::variant::VT_ANY, "error", false) != nullptr;
}

void setAdopted(SimulatedCamera const& camera, char const* value) {
  ProcessResult ctl = runCamsim("ctl", camera.root().path(), {"orvo_avclient", "adopted", value});
  ASSERT_TRUE(ctl.exited && ctl.exitCode == 0) << ctl.err;
}

TEST(SimControls, ChangedPasswordIsTheOneThatLogsIn) {
  SimulatedCamera camera;
  ASSERT_EQ(passwordLogin(camera, "admin"), 200);
  orvo::variant::Variant answer = callControlServer(
      camera, R"({"functionName":"ChangeUsernamePassword","passwordOld":"admin",)"
              R"("passwordNew":"s3cret-1"})");
  EXPECT_FALSE(hasError(answer)) << answer["error"].ToString();
  EXPECT_TRUE(answer["username"] == "admin");
  EXPECT_EQ(passwordLogin(camera, "admin"), 401);
  EXPECT_EQ(passwordLogin(camera, "s3cret-1"), 200);
}

TEST(SimControls, WrongOldPasswordChangesNothing) {
  SimulatedCamera camera;
  orvo::variant::Variant answer = callControlServer(
      camera, R"({"functionName":"ChangeUsernamePassword","passwordOld":"nimda",)"
              R"("passwordNew":"s3cret-1"})");
  EXPECT_TRUE(hasError(answer));
  EXPECT_EQ(passwordLogin(camera, "s3cret-1"), 401);
  EXPECT_EQ(passwordLogin(camera, "admin"), 200);
}

TEST(SimControls, AdoptionControlDecidesWhetherTheTokenOpensLogin) {
  SimulatedCamera camera;
  setToken(camera.root(), kToken);
  setAdopted(camera, "false");
  EXPECT_EQ(tokenLogin(camera), 401);
  setAdopted(camera, "true");
  EXPECT_EQ(tokenLogin(camera), 200);
  setAdopted(camera, "false");
  EXPECT_EQ(tokenLogin(camera), 401);
}

}  // namespace
}  // namespace e2e
}  // namespace orvo
