// `camsim ctl orvo_networkd ap ...`: the visible wireless networks a test
// sets, and the refusals of anything else.
#include <gtest/gtest.h>

#include <string>

#include "daemon_names.h"
#include "daemon_test_support.h"
#include "state_store.h"

namespace {

using orvo::variant::Variant;
namespace sim = orvo::sim;

class AccessPointControl : public ::testing::Test {
 protected:
  void SetUp() override {
    daemontest::cameraRoot();
    ASSERT_TRUE(sim::resetState(orvo::daemons::kNetworkd));
  }
  static Variant accessPoint(std::string const& ssid) {
    Variant state;
    EXPECT_TRUE(sim::readState(orvo::daemons::kNetworkd, state));
    for (Variant const& ap : state["accessPoints"].Elements()) {
      if (ap.StringAt("essid") == ssid) return ap;
    }
    return Variant();
  }
};

TEST_F(AccessPointControl, CamsimAddsReplacesAndRemoves) {
  std::string output;
  ASSERT_EQ(daemontest::camsim("ctl", "orvo_networkd ap Garden garden-pass-1", output), 0)
      << output;
  Variant garden = accessPoint("Garden");
  EXPECT_TRUE(garden["passphrase"] == "garden-pass-1");
  EXPECT_EQ(static_cast<int>(garden["signalLevel"]), 60);
  ASSERT_EQ(daemontest::camsim("ctl", "orvo_networkd ap Garden open -35", output), 0) << output;
  garden = accessPoint("Garden");
  EXPECT_TRUE(garden["passphrase"] == "");
  EXPECT_TRUE(garden["auth"] == "none");
  EXPECT_EQ(static_cast<int>(garden["signalLevel"]), 35);
  ASSERT_EQ(daemontest::camsim("ctl", "orvo_networkd ap Garden remove", output), 0) << output;
  EXPECT_TRUE(accessPoint("Garden").IsEmpty());
  ASSERT_EQ(daemontest::camsim("ctl", "orvo_networkd ap HomeNet remove", output), 0) << output;
  EXPECT_TRUE(accessPoint("HomeNet").IsEmpty());
}

TEST_F(AccessPointControl, CamsimRefusesBadArguments) {
  std::string output;
  EXPECT_NE(daemontest::camsim("ctl", "orvo_osd ap Garden open", output), 0);
  EXPECT_NE(output.find("ap is a control of orvo_networkd only"), std::string::npos) << output;
  EXPECT_NE(daemontest::camsim("ctl", "orvo_networkd ap Garden", output), 0);
  EXPECT_NE(daemontest::camsim("ctl", "orvo_networkd ap Garden remove -40", output), 0);
  EXPECT_NE(daemontest::camsim("ctl", "orvo_networkd ap Garden short", output), 0);
  EXPECT_NE(output.find("passphrase"), std::string::npos) << output;
  EXPECT_NE(daemontest::camsim("ctl", "orvo_networkd ap Garden open loud", output), 0);
  EXPECT_NE(daemontest::camsim("ctl", "orvo_networkd ap Nowhere remove", output), 0);
  EXPECT_NE(output.find("no visible network 'Nowhere'"), std::string::npos) << output;
  EXPECT_TRUE(accessPoint("Garden").IsEmpty());
}

}  // namespace
