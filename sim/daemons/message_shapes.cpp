#include "message_shapes.h"

#include <map>

#include "messages/registry.h"
#include "settings_merge.h"

namespace orvo {
namespace sim {

using orvo::variant::Variant;

bool normalizedFields(std::string const& functionName, Variant const& received, Variant& fields) {
  auto message = orvo::ipc::messages::makeRequestByName(functionName, received);
  if (!message) return false;
  message->NormalizeFields();
  fields = withoutHeader(*message);
  return true;
}

Variant notSetMarkers(std::string const& functionName) {
  // Normalising is cheap, but every request of a daemon needs the markers.
  static std::map<std::string, Variant> cache;
  auto found = cache.find(functionName);
  if (found != cache.end()) return found->second;
  Variant empty;
  empty.IsArray(false);
  Variant markers;
  if (!normalizedFields(functionName, empty, markers)) markers.IsArray(false);
  cache[functionName] = markers;
  return markers;
}

}  // namespace sim
}  // namespace orvo
