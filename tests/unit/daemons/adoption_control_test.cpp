// The A/V client's adoption control: in process (setAdoption) and through
// `camsim ctl orvo_avclient adopted true|false` and orvo_simd, with the
// refusals of anything else.
#include <gtest/gtest.h>

#include <string>

#include "messages/daemons.h"
#include "daemon_names.h"
#include "daemon_table.h"
#include "daemon_test_support.h"
#include "orvo/utils/paths.h"
#include "state_store.h"

namespace {

using daemontest::parse;
using orvo::variant::Variant;
namespace sim = orvo::sim;

class AdoptionControl : public ::testing::Test {
 protected:
  void SetUp() override {
    daemontest::cameraRoot();
    ASSERT_TRUE(sim::resetState(orvo::daemons::kAvclient));
  }
  static Variant answered() {
    return sim::handleRequest(orvo::daemons::kAvclient, parse(R"({"functionName": "GetAvclientState"})"));
  }
  static Variant published() {
    Variant file;
    EXPECT_TRUE(file.FromJSONFile(orvo::utils::devicePath("/etc/avclient_state.json")));
    return file;
  }
  static bool storedAdopted() {
    Variant state;
    EXPECT_TRUE(sim::readState(orvo::daemons::kAvclient, state));
    return state["adopted"] == true;
  }
};

TEST_F(AdoptionControl, SetsTheFlagInStateAnswerAndPublishedFile) {
  ASSERT_TRUE(sim::setAdoption(true));
  EXPECT_TRUE(answered()["adopted"] == true);
  EXPECT_TRUE(published() == answered());
  EXPECT_EQ(answered()["uuid"].ToString().size(), 36u);
  ASSERT_TRUE(sim::setAdoption(false));
  EXPECT_TRUE(answered()["adopted"] == false);
  EXPECT_TRUE(answered()["state"] == "waiting");
  EXPECT_TRUE(published() == answered());
}

TEST_F(AdoptionControl, KeepsTheControllerOfAnEarlierAdopt) {
  sim::handleRequest(orvo::daemons::kAvclient,
                     parse(R"({"functionName": "Adopt", "hosts": ["ctl.example.com:443"]})"));
  std::string const uuid = answered()["uuid"].ToString();
  ASSERT_TRUE(sim::setAdoption(false));
  ASSERT_TRUE(sim::setAdoption(true));
  EXPECT_TRUE(answered()["host"] == "ctl.example.com:443");
  EXPECT_EQ(answered()["uuid"].ToString(), uuid);
}

TEST_F(AdoptionControl, CamsimCtlSwitchesItBothWays) {
  std::string output;
  ASSERT_EQ(daemontest::camsim("ctl", std::string(orvo::daemons::kAvclient) + " adopted true", output), 0) << output;
  EXPECT_TRUE(storedAdopted());
  EXPECT_TRUE(published()["adopted"] == true);
  ASSERT_EQ(daemontest::camsim("ctl", std::string(orvo::daemons::kAvclient) + " adopted false", output), 0) << output;
  EXPECT_FALSE(storedAdopted());
  EXPECT_TRUE(published()["adopted"] == false);
}

TEST_F(AdoptionControl, CamsimRefusesOtherDaemonsAndValues) {
  std::string output;
  EXPECT_NE(daemontest::camsim("ctl", std::string(orvo::daemons::kOsd) + " adopted true", output), 0);
  EXPECT_NE(output.find("adopted is a control of orvo_avclient only"), std::string::npos)
      << output;
  for (char const* value : {"yes", "1", "TRUE", "true extra"}) {
    EXPECT_NE(daemontest::camsim("ctl", std::string(std::string(orvo::daemons::kAvclient) + " adopted ") + value, output), 0);
    EXPECT_NE(output.find("adopted takes true or false"), std::string::npos) << output;
  }
  EXPECT_NE(daemontest::camsim("ctl", std::string(orvo::daemons::kAvclient) + " adopted", output), 0);
  EXPECT_FALSE(storedAdopted());
}

TEST_F(AdoptionControl, SimdRefusesOtherDaemonsAndValues) {
  std::string output;
  EXPECT_EQ(daemontest::simd("ctl orvo_ctlserver adopted true", output), 2);
  EXPECT_NE(output.find("adopted is a control of orvo_avclient only"), std::string::npos)
      << output;
  EXPECT_EQ(daemontest::simd("ctl orvo_avclient adopted on", output), 2);
  EXPECT_NE(output.find("adopted is true or false, not 'on'"), std::string::npos) << output;
  EXPECT_FALSE(storedAdopted());
  EXPECT_EQ(daemontest::simd("ctl orvo_avclient adopted true", output), 0) << output;
  EXPECT_TRUE(storedAdopted());
}

}  // namespace
