// The support tool a camera root gets as /bin/support:
//   support BUNDLE_PATH
// writes a diagnostic bundle, a gzip-compressed tar, to BUNDLE_PATH: the
// camera description, the system configuration, the system log, the
// published service list and every daemon's state. A bundle leaves the
// camera, so it never holds a secret: values under secret-sounding keys are
// blanked, and every live secret the camera keeps (the password hash, the
// auth token, session ids) is cut out of every text, the log included.
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "messages/daemons.h"
#include "orvo/utils/account.h"
#include "orvo/utils/file.h"
#include "orvo/utils/paths.h"
#include "orvo/utils/services.h"
#include "orvo/variant/variant.h"
#include "support_redact.h"
#include "tar_gz.h"

namespace {

using orvo::sim::ArchiveEntry;
using orvo::sim::Redactor;
using orvo::utils::devicePath;

constexpr std::size_t kMaxInputBytes = 32u << 20;
constexpr char kFolder[] = "support/";

struct Source {
  char const* devicePath;
  char const* nameInBundle;
  bool json;
};

constexpr Source kSources[] = {
    {"/etc/orvo/camera_info.json", "camera_info.json", true},
    {"/etc/orvo/system.cfg", "system.cfg", false},
    {"/etc/avclient_state.json", "avclient_state.json", true},
    {orvo::utils::kServicesFile, "services.json", true},
    {"/var/log/messages.0", "messages.0", false},
    {"/var/log/messages", "messages", false},
};

// Adds the file when it is there; a missing one is left out.
void addFile(std::vector<ArchiveEntry>& entries, Redactor const& redactor, std::string const& path,
             std::string const& name, bool json) {
  std::string text;
  if (!orvo::utils::readFileBounded(path, kMaxInputBytes, text)) return;
  entries.push_back({kFolder + name, json ? redactor.json(text) : redactor.text(text)});
}

std::vector<ArchiveEntry> collect(Redactor const& redactor) {
  std::vector<ArchiveEntry> entries;
  for (Source const& source : kSources) {
    addFile(entries, redactor, devicePath(source.devicePath), source.nameInBundle, source.json);
  }
  for (char const* daemon : orvo::daemons::kAll) {
    std::string const state = std::string("/sim/state/") + daemon + ".json";
    addFile(entries, redactor, devicePath(state), std::string("state/") + daemon + ".json", true);
  }
  return entries;
}

// Inside a simulated camera the bundle goes only into the root's /tmp.
bool acceptableTarget(std::string const& path) {
  if (!orvo::utils::insideSimulatedCamera()) return true;
  std::string const tmp = devicePath("/tmp/");
  return path.compare(0, tmp.size(), tmp) == 0 && path.find("/../") == std::string::npos;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || argv[1][0] == '\0') {
    std::fputs("usage: support BUNDLE_PATH\n", stderr);
    return 2;
  }
  std::string const target = argv[1];
  if (!acceptableTarget(target)) {
    std::fprintf(stderr, "support: %s is not inside the camera's /tmp\n", target.c_str());
    return 2;
  }
  Redactor const redactor = Redactor::fromCamera();
  std::string const bundle = orvo::sim::tarGz(collect(redactor), std::time(nullptr));
  if (bundle.empty() || !orvo::utils::replaceFileAtomically(target, bundle, 0600, false)) {
    std::fprintf(stderr, "support: cannot write %s\n", target.c_str());
    return 1;
  }
  return 0;
}
