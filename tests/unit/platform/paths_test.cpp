// Device paths move under the camera root, and only absolute ones.
#include <gtest/gtest.h>

#include "orvo/utils/paths.h"
#include "platform_test_support.h"

using orvo::utils::devicePath;
using platformtest::inChild;

TEST(DevicePath, MovesAbsolutePathsUnderTheRoot) {
  EXPECT_EQ(inChild("/cam/root/", [] {
              return devicePath("/tmp/.rest_0_1.db") == "/cam/root/tmp/.rest_0_1.db" &&
                     devicePath("relative/x") == "relative/x" && devicePath("") == "" &&
                     orvo::utils::insideSimulatedCamera() &&
                     orvo::utils::cameraRoot() == "/cam/root";
            }),
            0);
}

TEST(DevicePath, IsTheIdentityWithoutARoot) {
  EXPECT_EQ(inChild("", [] {
              return devicePath("/var/log/btmp") == "/var/log/btmp" &&
                     !orvo::utils::insideSimulatedCamera();
            }),
            0);
}
