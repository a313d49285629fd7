// Request bodies are logged to say what was refused, and the log is read
// back through `syslog` and packed into support bundles: credentials are
// masked before any body reaches it.
#pragma once

#include <string>

#include "orvo/variant/variant.h"

namespace orvo {
namespace rest {

// What a masked credential reads as, whatever its value and type was.
constexpr char kSecretMask[] = "********";

// Whether a member of this name carries a credential ("password", "psk",
// "wifiPsk", "passphrase", "token", "authToken"; ASCII case ignored).
bool isSecretMember(std::string const& name);

// Compact JSON of `value` in which every credential member, at any depth,
// holds kSecretMask.
std::string loggableJson(orvo::variant::Variant const& value);

}  // namespace rest
}  // namespace orvo
