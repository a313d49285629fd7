#include "support_redact.h"

#include <algorithm>
#include <cctype>

#include "messages/daemons.h"
#include "orvo/utils/account.h"
#include "orvo/utils/file.h"
#include "orvo/utils/paths.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace sim {

namespace {

using orvo::variant::Variant;

constexpr std::size_t kMaxSecretFileBytes = 1u << 20;
constexpr char kSessionDatabase[] = "/tmp/.rest/.rest_0_1.db";

// Key names holding secrets: exact (lower-cased) ...
constexpr char const* kSecretNames[] = {"key", "psk", "wepkey", "token"};
// ... or containing one of these.
constexpr char const* kSecretParts[] = {"password", "passwd", "passphrase", "secret",
                                        "token",    "hash",   "privatekey", "private_key"};
// Names whose values are hunted in every text: containing one of these.
constexpr char const* kCredentialParts[] = {"password", "passwd", "passphrase", "secret",
                                            "token",    "psk",    "wepkey",     "privatekey"};
// Where the daemons and the management client keep what they hold.
constexpr char kAvclientState[] = "/etc/avclient_state.json";

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::string readOrEmpty(char const* devicePathOfFile) {
  std::string text;
  orvo::utils::readFileBounded(orvo::utils::devicePath(devicePathOfFile), kMaxSecretFileBytes,
                               text);
  return text;
}

std::string firstLine(std::string const& text) { return text.substr(0, text.find('\n')); }

void blankSecrets(Variant& value) {
  if (value.Type() == orvo::variant::VT_ARRAY) {
    for (std::size_t i = 0; i < value.KeysCount(); ++i) blankSecrets(value[i]);
    return;
  }
  for (auto it = value.str_begin(); it != value.str_end(); ++it) {
    if (Redactor::secretKey(it->first) && it->second.Type() == orvo::variant::VT_STRING &&
        !static_cast<std::string const&>(it->second).empty()) {
      it->second = Redactor::kRemoved;
    } else {
      blankSecrets(it->second);
    }
  }
}

// Every non-empty string under a credential member, at any depth.
void collectCredentials(Variant const& value, std::vector<std::string>& out) {
  for (Variant const& element : value.Elements()) collectCredentials(element, out);
  for (auto it = value.str_begin(); it != value.str_end(); ++it) {
    if (Redactor::credentialKey(it->first) && it->second.Type() == orvo::variant::VT_STRING) {
      out.push_back(it->second);
    } else {
      collectCredentials(it->second, out);
    }
  }
}

void collectCredentialsOf(std::string const& devicePathOfFile, std::vector<std::string>& out) {
  Variant document;
  if (document.FromJSON(readOrEmpty(devicePathOfFile.c_str()))) collectCredentials(document, out);
}

}  // namespace

Redactor Redactor::fromCamera() {
  std::vector<std::string> secrets;
  // "<user>:<hash>"
  std::string const account = firstLine(readOrEmpty(orvo::utils::kAccountFile));
  std::string::size_type const colon = account.find(':');
  if (colon != std::string::npos) secrets.push_back(account.substr(colon + 1));
  secrets.push_back(firstLine(readOrEmpty(orvo::utils::kAuthTokenFile)));
  Variant sessions;
  if (sessions.FromJSON(readOrEmpty(kSessionDatabase))) {
    for (auto it = sessions.str_begin(); it != sessions.str_end(); ++it) {
      secrets.push_back(it->first);
    }
  }
  for (char const* daemon : orvo::daemons::kAll) {
    collectCredentialsOf(std::string("/sim/state/") + daemon + ".json", secrets);
  }
  collectCredentialsOf(kAvclientState, secrets);
  return Redactor(std::move(secrets));
}

Redactor::Redactor(std::vector<std::string> secrets) {
  for (std::string& secret : secrets) {
    if (!secret.empty()) secrets_.push_back(std::move(secret));
  }
  // Longest first, so a secret holding another is cut whole.
  std::sort(secrets_.begin(), secrets_.end(),
            [](std::string const& a, std::string const& b) {
              return a.size() != b.size() ? a.size() > b.size() : a < b;
            });
  secrets_.erase(std::unique(secrets_.begin(), secrets_.end()), secrets_.end());
}

std::string Redactor::text(std::string const& text) const {
  std::string out = text;
  for (std::string const& secret : secrets_) {
    for (std::string::size_type at = out.find(secret); at != std::string::npos;
         at = out.find(secret, at + sizeof kRemoved - 1)) {
      out.replace(at, secret.size(), kRemoved);
    }
  }
  return out;
}

std::string Redactor::json(std::string const& text) const {
  Variant document;
  std::string out;
  if (!document.FromJSON(text)) return this->text(text);
  blankSecrets(document);
  if (!document.ToJSON(out, true)) return this->text(text);
  return this->text(out + "\n");
}

bool Redactor::secretKey(std::string const& name) {
  std::string const key = lowered(name);
  for (char const* exact : kSecretNames) {
    if (key == exact) return true;
  }
  for (char const* part : kSecretParts) {
    if (key.find(part) != std::string::npos) return true;
  }
  return false;
}

bool Redactor::credentialKey(std::string const& name) {
  std::string const key = lowered(name);
  for (char const* part : kCredentialParts) {
    if (key.find(part) != std::string::npos) return true;
  }
  return false;
}

}  // namespace sim
}  // namespace orvo
