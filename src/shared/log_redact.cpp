#include "shared/log_redact.h"

#include <strings.h>

namespace orvo {
namespace rest {

namespace {

using orvo::variant::Variant;

constexpr char const* kSecretMembers[] = {"password", "psk", "wifiPsk", "passphrase", "token", "authToken"};

// Parsed bodies are depth-bounded by the JSON reader, so recursion is too.
void maskSecrets(Variant& value) {
  if (value.Type() == orvo::variant::VT_ARRAY) {
    for (std::size_t i = 0; i < value.KeysCount(); ++i) maskSecrets(value[i]);
    return;
  }
  for (auto member = value.str_begin(); member != value.str_end(); ++member) {
    if (isSecretMember(member->first)) {
      member->second = kSecretMask;
    } else {
      maskSecrets(member->second);
    }
  }
}

}  // namespace

bool isSecretMember(std::string const& name) {
  for (char const* secret : kSecretMembers) {
    if (strcasecmp(name.c_str(), secret) == 0) return true;
  }
  return false;
}

std::string loggableJson(Variant const& value) {
  Variant masked(value);
  maskSecrets(masked);
  std::string text;
  masked.ToJSON(text, false);
  return text;
}

}  // namespace rest
}  // namespace orvo
