#include "orvo/utils/services.h"

#include "orvo/utils/paths.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace utils {

namespace {

using orvo::variant::Variant;

// The published entries; empty when the file is missing or not the list.
std::vector<Variant> readEntries() {
  Variant file;
  if (!file.FromJSONFile(devicePath(kServicesFile))) return {};
  Variant const* list = file.GetKeyChain(orvo::variant::VT_ARRAY, "services", false);
  if (list == nullptr || list->Type() != orvo::variant::VT_ARRAY) return {};
  std::vector<Variant> entries;
  for (Variant const& entry : list->Elements()) {
    if (entry.Has(orvo::variant::VT_STRING, "name")) entries.push_back(entry);
  }
  return entries;
}

}  // namespace

std::vector<std::string> ListServices() {
  std::vector<std::string> names;
  for (Variant const& entry : readEntries()) names.push_back(entry.StringAt("name"));
  return names;
}

bool ServiceStatus(std::string const& name, int& state) {
  for (Variant const& entry : readEntries()) {
    if (entry.StringAt("name") != name) continue;
    if (!entry.Has(orvo::variant::VT_BOOL, "running")) return false;
    state = entry.BoolAt("running") ? 1 : 0;
    return true;
  }
  return false;
}

}  // namespace utils
}  // namespace orvo
