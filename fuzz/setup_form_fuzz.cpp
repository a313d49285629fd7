// Fuzzes what the setup endpoint builds from untrusted JSON without logging:
// the network change and the configuration writer's arguments from a PUT
// form, and the GET form from a daemon's answers (the same document serves
// as settings and status answer).
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "endpoints/setup.h"

using namespace orvo::rest::setup;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  orvo::variant::Variant body;
  if (!body.FromJSON(reinterpret_cast<char const*>(data), size)) return 0;
  orvo::variant::Variant const change = networkChange(body);
  if (change.StringAt("functionName") != "ChangeNetworkSettings") __builtin_trap();
  std::vector<std::string> arguments;
  ControllerCommand const command = controllerCommand(body, arguments);
  bool const runs = command == ControllerCommand::kRun;
  if (runs != !arguments.empty()) __builtin_trap();
  if (runs && (arguments[0] != "ctl" || arguments.size() < 3 || arguments.size() > 4)) {
    __builtin_trap();
  }
  orvo::variant::Variant const form = setupForm(body, body, {"a", "u", "n"});
  if (form.KeysCount() != 12) __builtin_trap();
  return 0;
}
