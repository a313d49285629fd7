#include "orvo/utils/services.h"

#include "orvo/utils/file.h"
#include "orvo/utils/paths.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace utils {

namespace {

using orvo::variant::Variant;

// A list of a few services; anything near this is not one.
constexpr std::size_t kMaxListBytes = 64 * 1024;

std::vector<ServiceEntry> readEntries() {
  std::string text;
  if (!readFileBounded(devicePath(kServicesFile), kMaxListBytes, text)) return {};
  return parseServiceList(text);
}

}  // namespace

std::vector<ServiceEntry> parseServiceList(std::string const& text) {
  Variant file;
  if (!file.FromJSON(text)) return {};
  Variant const* list = file.GetKeyChain(orvo::variant::VT_ARRAY, "services", false);
  if (list == nullptr || list->Type() != orvo::variant::VT_ARRAY) return {};
  std::vector<ServiceEntry> entries;
  for (Variant const& item : list->Elements()) {
    if (!item.Has(orvo::variant::VT_STRING, "name")) continue;
    ServiceEntry entry;
    entry.name = item.StringAt("name");
    entry.stateKnown = item.Has(orvo::variant::VT_BOOL, "running");
    entry.running = item.BoolAt("running");
    entries.push_back(entry);
  }
  return entries;
}

std::vector<std::string> ListServices() {
  std::vector<std::string> names;
  for (ServiceEntry const& entry : readEntries()) names.push_back(entry.name);
  return names;
}

bool ServiceStatus(std::string const& name, int& state) {
  for (ServiceEntry const& entry : readEntries()) {
    if (entry.name != name) continue;
    if (!entry.stateKnown) return false;
    state = entry.running ? 1 : 0;
    return true;
  }
  return false;
}

}  // namespace utils
}  // namespace orvo
