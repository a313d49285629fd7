// Which daemon answers which function, and how. One row per (daemon,
// function): the table reads like the routing table of the bus.
#pragma once

#include <string>

#include "orvo/variant/variant.h"
#include "state_store.h"

namespace orvo {
namespace sim {

// Applies one request to the daemon's state and returns the answer.
using Handler = orvo::variant::Variant (*)(std::string const& daemon,
                                           orvo::variant::Variant const& request);

struct FunctionEntry {
  char const* daemon;
  char const* functionName;
  Handler handler;
};

// The answer of `daemon` to `request`: the handler's, or an error answer when
// the daemon does not serve the request's "functionName". Never throws.
orvo::variant::Variant handleRequest(std::string const& daemon,
                                     orvo::variant::Variant const& request);


// How long the daemon works on `request` before its answer is ready, on
// top of the latency control: a wireless scan lasts the scan duration.
unsigned workTimeMs(std::string const& daemon, orvo::variant::Variant const& request,
                    DaemonControls const& controls);

// {"error": text}: the one shape of every refusal.
orvo::variant::Variant errorAnswer(std::string const& text);

// Handlers (settings_handlers.cpp, network_handlers.cpp, ctl_handlers.cpp,
// avclient_handlers.cpp).
orvo::variant::Variant changeSettings(std::string const& daemon,
                                      orvo::variant::Variant const& request);
orvo::variant::Variant resetIspSettings(std::string const& daemon,
                                        orvo::variant::Variant const& request);
orvo::variant::Variant networkStatus(std::string const& daemon,
                                     orvo::variant::Variant const& request);
orvo::variant::Variant changeNetworkSettings(std::string const& daemon,
                                             orvo::variant::Variant const& request);
orvo::variant::Variant testAndApplyNetworkSettings(std::string const& daemon,
                                                   orvo::variant::Variant const& request);
orvo::variant::Variant scanAccessPoints(std::string const& daemon,
                                        orvo::variant::Variant const& request);
orvo::variant::Variant startOrStopService(std::string const& daemon,
                                          orvo::variant::Variant const& request);
orvo::variant::Variant resetToDefaults(std::string const& daemon,
                                       orvo::variant::Variant const& request);
orvo::variant::Variant changeDeviceSettings(std::string const& daemon,
                                            orvo::variant::Variant const& request);
orvo::variant::Variant changeUsernamePassword(std::string const& daemon,
                                              orvo::variant::Variant const& request);
orvo::variant::Variant avclientState(std::string const& daemon,
                                     orvo::variant::Variant const& request);
orvo::variant::Variant adopt(std::string const& daemon, orvo::variant::Variant const& request);
orvo::variant::Variant cancelWait(std::string const& daemon,
                                  orvo::variant::Variant const& request);

// Every daemon's state back to its defaults (and the management client's
// published view with it); nothing else of the camera changes.
bool resetDaemonStates();
// Publishes the control server's services and their running state
// (services_publish.cpp).
bool publishServices();

// Writes the management client's public state to /etc/avclient_state.json.
bool publishAvclientState();
// Sets the management client's adoption flag in its state and republishes
// it (a test control; the next request sees it). False when not stored.
bool setAdoption(bool adopted);

// The wired/wireless status the network daemon reports for its state.
orvo::variant::Variant composeNetworkStatus(orvo::variant::Variant const& state);

}  // namespace sim
}  // namespace orvo
