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
  EXPECT_EQ(sim::stateFilePath(sim::kOsdDaemon), root_ + "/sim/state/orvo_osd.json");
  EXPECT_EQ(sim::controlFilePath(sim::kOsdDaemon), root_ + "/sim/ctl/orvo_osd.json");
}

TEST_F(StateFiles, FirstReadWritesTheDefaults) {
  Variant state;
  ASSERT_TRUE(sim::readState(sim::kNvrDaemon, state));
  EXPECT_TRUE(state == sim::defaultState(sim::kNvrDaemon));
  Variant onDisk;
  ASSERT_TRUE(onDisk.FromJSONFile(sim::stateFilePath(sim::kNvrDaemon)));
  EXPECT_TRUE(onDisk == state);
}

TEST_F(StateFiles, UpdateWritesOnlyWhenChanged) {
  ASSERT_TRUE(sim::updateState(sim::kOsdDaemon, [](Variant& state) {
    state["settings"]["textScale"] = 80;
    return true;
  }));
  ASSERT_TRUE(sim::updateState(sim::kOsdDaemon, [](Variant& state) {
    state["settings"]["textScale"] = 10;  // not reported as a change: not written
    return false;
  }));
  Variant onDisk;
  ASSERT_TRUE(onDisk.FromJSONFile(sim::stateFilePath(sim::kOsdDaemon)));
  EXPECT_EQ(static_cast<int>(onDisk["settings"]["textScale"]), 80);
}

TEST_F(StateFiles, BrokenFileFallsBackToDefaults) {
  ASSERT_TRUE(sim::makeFolders(root_ + "/sim/state"));
  FILE* file = std::fopen(sim::stateFilePath(sim::kIspDaemon).c_str(), "w");
  ASSERT_NE(file, nullptr);
  std::fputs("{not json", file);
  std::fclose(file);
  Variant state;
  ASSERT_TRUE(sim::readState(sim::kIspDaemon, state));
  EXPECT_TRUE(state == sim::defaultState(sim::kIspDaemon));
}

TEST_F(StateFiles, ResetRestoresDefaults) {
  ASSERT_TRUE(sim::updateState(sim::kIspDaemon, [](Variant& state) {
    state["settings"]["brightness"] = 90;
    return true;
  }));
  ASSERT_TRUE(sim::resetState(sim::kIspDaemon));
  Variant state;
  ASSERT_TRUE(sim::readState(sim::kIspDaemon, state));
  EXPECT_EQ(static_cast<int>(state["settings"]["brightness"]), 50);
}

TEST_F(StateFiles, ControlsRoundTripAndDefaultOff) {
  sim::DaemonControls controls = sim::readControls(sim::kAvclientDaemon);
  EXPECT_EQ(controls.latencyMs, 0u);
  EXPECT_FALSE(controls.silent);
  ASSERT_TRUE(sim::writeControls(sim::kAvclientDaemon, sim::DaemonControls{250, true}));
  controls = sim::readControls(sim::kAvclientDaemon);
  EXPECT_EQ(controls.latencyMs, 250u);
  EXPECT_TRUE(controls.silent);
}

TEST_F(StateFiles, ControlLatencyIsBounded) {
  Variant file;
  file["latencyMs"] = 99999999L;
  file["silent"] = "yes";  // not a boolean: off
  ASSERT_TRUE(sim::makeFolders(root_ + "/sim/ctl"));
  ASSERT_TRUE(file.ToJSONFile(sim::controlFilePath(sim::kNvrDaemon), false));
  sim::DaemonControls const controls = sim::readControls(sim::kNvrDaemon);
  EXPECT_EQ(controls.latencyMs, sim::kMaxLatencyMs);
  EXPECT_FALSE(controls.silent);
}

}  // namespace
