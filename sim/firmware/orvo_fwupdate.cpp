// The simulated camera's update tool, /sbin/fwupdate. "-m IMAGE" (IMAGE by
// default the staged image of rest.cgi's own folder, /tmp/.rest/fwupdate.bin)
// checks the image itself, "flashes" a valid one (maker's or third party's: the
// client has decided by asking for the upgrade), which takes a while, records
// the new version in the camera description, removes the staged image and
// asks for a reboot (and, with the control "reboot" on, restarts the camera
// as the device does). A missing or damaged image is refused: exit 1 and a
// line on standard error.
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>

#include "orvo/utils/file.h"
#include "orvo/utils/firmware.h"
#include "orvo/utils/paths.h"
#include "orvo/utils/reboot.h"
#include "orvo/variant/variant.h"

namespace {

constexpr char kStagedImage[] = "/tmp/.rest/fwupdate.bin";
constexpr char kCameraInfo[] = "/etc/orvo/camera_info.json";
// Test controls and records of the simulator, beside the camera's folders.
constexpr char kDurationControl[] = "/sim/fwupdate/duration-ms";
constexpr char kRebootRecord[] = "/sim/reboot-requested";
constexpr char kRebootControl[] = "/sim/fwupdate/reboot";
// Long enough for the upgrade's answer to leave before the restart.
constexpr int kRebootDelaySeconds = 1;
constexpr long kDefaultDurationMs = 1000;
constexpr std::size_t kControlLimit = 64;

int refuse(std::string const& why) {
  std::fprintf(stderr, "fwupdate: %s\n", why.c_str());
  return 1;
}

std::string simFile(char const* path) { return orvo::utils::cameraRoot() + path; }

long flashDurationMs() {
  std::string text;
  if (!orvo::utils::readFileBounded(simFile(kDurationControl), kControlLimit, text)) {
    return kDefaultDurationMs;
  }
  char* end = nullptr;
  long ms = std::strtol(text.c_str(), &end, 10);
  return (end != text.c_str() && ms >= 0) ? ms : kDefaultDurationMs;
}

void sleepMs(long ms) {
  timespec left{ms / 1000, (ms % 1000) * 1000000L};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

// "OV-B4.v4.24.0.68..." carries its semantic version after ".v".
std::string semanticVersion(std::string const& version) {
  static std::regex const shape(R"(\.v(\d+\.\d+\.\d+)(\.|$))");
  std::smatch match;
  return std::regex_search(version, match, shape) ? match[1].str() : std::string();
}

bool recordVersion(std::string const& version) {
  orvo::variant::Variant info;
  std::string const path = orvo::utils::devicePath(kCameraInfo);
  if (!info.FromJSONFile(path)) return false;
  info["version"] = version;
  std::string semver = semanticVersion(version);
  if (!semver.empty()) info["semVer"] = semver;
  return info.ToJSONFile(path, true);
}

// The request is always recorded; the restart itself only when a test (or a
// person trying the web console) asked for it: shared test cameras keep
// their sessions.
bool requestReboot(std::string const& version) {
  if (!orvo::utils::replaceFileAtomically(simFile(kRebootRecord), "fwupdate " + version + "\n",
                                          0644, false)) {
    return false;
  }
  std::string control;
  bool const restart = orvo::utils::readFileBounded(simFile(kRebootControl), kControlLimit, control) &&
                       control.rfind("on", 0) == 0;
  return !restart || orvo::utils::enqueueReboot(kRebootDelaySeconds);
}

// `staged` is a file-system path (under the camera root in the simulator).
int flash(std::string const& staged) {
  orvo::utils::File image;
  if (!image.Initialize(staged, 0, 0)) {
    return refuse("no image at " + staged + ": " + std::strerror(errno));
  }
  if (!orvo::utils::ValidateFw(image)) return refuse(staged + " is not a valid firmware image");
  std::string const version = orvo::utils::ExtractFwVersion(image);
  if (version.empty()) return refuse(staged + " carries no version");
  image.Close();
  sleepMs(flashDurationMs());
  if (!recordVersion(version)) return refuse("cannot record the new version in " + std::string(kCameraInfo));
  ::unlink(staged.c_str());
  if (!requestReboot(version)) return refuse("cannot request the reboot");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3 || std::strcmp(argv[1], "-m") != 0 || (argc == 3 && argv[2][0] == '\0')) {
    std::fprintf(stderr, "usage: fwupdate -m [IMAGE]\n");
    return 2;
  }
  return flash(argc == 3 ? argv[2] : orvo::utils::devicePath(kStagedImage));
}
