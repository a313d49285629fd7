// One camera root for the whole test program: the platform reads ORVO_ROOT
// once per process, so the root is made, and the variable set, before main.
#include "support/camera_root.h"

namespace {

orvo::test::CameraRoot const& kRoot = orvo::test::processRoot();

}  // namespace
