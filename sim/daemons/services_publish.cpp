// The control server's public list of optional services: every entry of its
// "services" state section, published where the platform's service
// functions read it (orvo/utils/services.h).
#include "daemon_names.h"
#include "daemon_table.h"
#include "orvo/utils/file.h"
#include "orvo/utils/paths.h"
#include "orvo/utils/services.h"
#include "state_store.h"

namespace orvo {
namespace sim {

using orvo::variant::Variant;

bool publishServices() {
  Variant state;
  if (!readState(daemons::kCtlServer, state)) return false;
  Variant list;
  list.IsArray(true);
  for (auto it = state["services"].str_begin(); it != state["services"].str_end(); ++it) {
    Variant entry;
    entry["name"] = it->first;
    entry["running"] = it->second.AsBool();
    list.PushBack(entry);
  }
  Variant published;
  published["services"] = list;
  std::string text;
  std::string const path = orvo::utils::devicePath(orvo::utils::kServicesFile);
  std::string const folder = path.substr(0, path.rfind('/'));
  return published.ToJSON(text, true) && makeFolders(folder) &&
         orvo::utils::replaceFileAtomically(path, text + "\n", 0644, false);
}

}  // namespace sim
}  // namespace orvo
