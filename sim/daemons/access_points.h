// The wireless networks visible to the simulated camera (the network
// daemon's "accessPoints") and the test control that changes them.
#pragma once

#include <string>

#include "orvo/variant/variant.h"

namespace orvo {
namespace sim {

constexpr std::size_t kMaxSsidBytes = 32;
constexpr int kMinSignalDbm = -100;
constexpr int kMaxSignalDbm = -20;
// The signal of a network added without one.
constexpr int kDefaultSignalDbm = -60;

// The visible network that the wireless settings (WirelessSettingsElement's
// shape) join, or null: the SSID must be visible, an open network needs the
// key management "none", a protected one "wpa" with its passphrase.
orvo::variant::Variant const* joinedAccessPoint(orvo::variant::Variant const& wifi,
                                                orvo::variant::Variant const& accessPoints);

// Adds or replaces the network `ssid` ("" passphrase: open). "" when done,
// else what is wrong.
std::string setAccessPoint(std::string const& ssid, std::string const& passphrase,
                           int signalDbm);
// Removes the network `ssid`. "" when done, else what is wrong.
std::string removeAccessPoint(std::string const& ssid);

}  // namespace sim
}  // namespace orvo
