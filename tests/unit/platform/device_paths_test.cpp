// Built with ORVO_DEVICE_BUILD: the camera-root override is compiled out.
#include <gtest/gtest.h>
#include <stdlib.h>

#include "orvo/utils/paths.h"

TEST(DeviceBuild, IgnoresTheCameraRoot) {
  setenv("ORVO_ROOT", "/somewhere/else", 1);
  EXPECT_EQ(orvo::utils::devicePath("/tmp/.rest_0_1.db"), "/tmp/.rest_0_1.db");
  EXPECT_FALSE(orvo::utils::insideSimulatedCamera());
}
