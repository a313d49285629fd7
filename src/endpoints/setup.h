// The first-time setup form: one flat JSON object that shows and sets the
// controller, the wireless client and the IP settings. GET reads it from the
// network daemon and the system configuration; PUT checks it, answers at
// once and applies it in a child process.
#pragma once

#include <string>
#include <vector>

#include "cgi/orvo_cgi.h"
#include "endpoints/recipe.h"
#include "messages/network.h"
#include "orvo/variant/variant.h"

namespace orvo::rest::setup {

constexpr char kLockName[] = "rest_setup_put";
// The configuration writer that records the controller.
constexpr char kSystemCfgTool[] = "/bin/orvo_system_cfg";

// The form checks of a PUT, logging the first problem.
bool isValidPutRequest(orvo::variant::Variant const& body);

// The network change of a PUT: only the fields the form names, sent as
// built (the booleans stay booleans).
orvo::ipc::messages::ChangeNetworkSettings networkChange(orvo::variant::Variant const& body);

// What the controller fields of a PUT ask of the configuration writer.
enum class ControllerCommand {
  kNone,          // neither address nor UUID: nothing to run
  kRun,           // run the writer with the arguments given back
  kInconsistent,  // one of the two without "ctlOverride"
  kAddrMissing,   // a UUID alone, even with "ctlOverride"
};
ControllerCommand controllerCommand(orvo::variant::Variant const& body,
                                    std::vector<std::string>& arguments);

// The form a GET answers, from the network settings and status answers and
// the three configuration values (controller address, UUID, device name).
orvo::variant::Variant setupForm(orvo::variant::Variant const& settings,
                                 orvo::variant::Variant const& status,
                                 std::vector<std::string> const& configuration);

Outcome handle_get(Call const& call, orvo::variant::Variant& document);
Outcome handle_put(Call const& call, orvo::variant::Variant& document);
// Runs in the child of a PUT: 0, or -1 when the controller could not be
// recorded.
int do_apply_settings(orvo::variant::Variant const& body);

}  // namespace orvo::rest::setup
