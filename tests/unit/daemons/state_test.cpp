// State and control files in the camera root.
#include <gtest/gtest.h>

#include <string>

#include "daemon_names.h"
#include "daemon_test_support.h"
#include "default_state.h"
#include "state_store.h"

namespace {

using orvo::variant::Variant;
namespace sim = orvo::sim;

class StateFiles : public ::testing::Test {
 protected:
  void SetUp() override { root_ = daemontest::cameraRoot(); }
  std::string root_;
};

TEST_F(StateFiles, LiveUnderTheCameraRoot) {
  EXPECT_EQ(sim::stateFilePath(orvo::daemons::kOsd), root_ + "/sim/state/orvo_osd.json");
  EXPECT_EQ(sim::controlFilePath(orvo::daemons::kOsd), root_ + "/sim/ctl/orvo_osd.json");
}

TEST_F(StateFiles, FirstReadWritesTheDefaults) {
  Variant state;
  ASSERT_TRUE(sim::readState(orvo::daemons::kNvr, state));
  EXPECT_TRUE(state == sim::defaultState(orvo::daemons::kNvr));
  Variant onDisk;
  ASSERT_TRUE(onDisk.FromJSONFile(sim::stateFilePath(orvo::daemons::kNvr)));
  EXPECT_TRUE(onDisk == state);
}

TEST_F(StateFiles, UpdateWritesOnlyWhenChanged) {
  ASSERT_TRUE(sim::updateState(orvo::daemons::kOsd, [](Variant& state) {
    state["settings"]["textScale"] = 80;
    return true;
  }));
  ASSERT_TRUE(sim::updateState(orvo::daemons::kOsd, [](Variant& state) {
    state["settings"]["textScale"] = 10;  // not reported as a change: not written
    return false;
  }));
  Variant onDisk;
  ASSERT_TRUE(onDisk.FromJSONFile(sim::stateFilePath(orvo::daemons::kOsd)));
  EXPECT_EQ(static_cast<int>(onDisk["settings"]["textScale"]), 80);
}

TEST_F(StateFiles, BrokenFileFallsBackToDefaults) {
  ASSERT_TRUE(sim::makeFolders(root_ + "/sim/state"));
  FILE* file = std::fopen(sim::stateFilePath(orvo::daemons::kIspServer).c_str(), "w");
  ASSERT_NE(file, nullptr);
  std::fputs("{not json", file);
  std::fclose(file);
  Variant state;
  ASSERT_TRUE(sim::readState(orvo::daemons::kIspServer, state));
  EXPECT_TRUE(state == sim::defaultState(orvo::daemons::kIspServer));
}

TEST_F(StateFiles, ResetRestoresDefaults) {
  ASSERT_TRUE(sim::updateState(orvo::daemons::kIspServer, [](Variant& state) {
    state["settings"]["brightness"] = 90;
    return true;
  }));
  ASSERT_TRUE(sim::resetState(orvo::daemons::kIspServer));
  Variant state;
  ASSERT_TRUE(sim::readState(orvo::daemons::kIspServer, state));
  EXPECT_EQ(static_cast<int>(state["settings"]["brightness"]), 50);
}

TEST_F(StateFiles, ControlsRoundTripAndDefaultOff) {
  sim::DaemonControls controls = sim::readControls(orvo::daemons::kAvclient);
  EXPECT_EQ(controls.latencyMs, 0u);
  EXPECT_FALSE(controls.silent);
  ASSERT_TRUE(sim::writeControls(orvo::daemons::kAvclient, sim::DaemonControls{250, true}));
  controls = sim::readControls(orvo::daemons::kAvclient);
  EXPECT_EQ(controls.latencyMs, 250u);
  EXPECT_TRUE(controls.silent);
}

TEST_F(StateFiles, ControlLatencyIsBounded) {
  Variant file;
  file["latencyMs"] = 99999999L;
  file["silent"] = "yes";  // not a boolean: off
  ASSERT_TRUE(sim::makeFolders(root_ + "/sim/ctl"));
  ASSERT_TRUE(file.ToJSONFile(sim::controlFilePath(orvo::daemons::kNvr), false));
  sim::DaemonControls const controls = sim::readControls(orvo::daemons::kNvr);
  EXPECT_EQ(controls.latencyMs, sim::kMaxLatencyMs);
  EXPECT_FALSE(controls.silent);
}

}  // namespace
