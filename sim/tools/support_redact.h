// What keeps secrets out of a support bundle.
#pragma once

#include <string>
#include <vector>

namespace orvo {
namespace sim {

class Redactor {
 public:
  // Marks what stands where a secret was.
  static constexpr char kRemoved[] = "(removed)";
  // Knows the camera's live secrets: the account's password hash, the auth
  // token, the ids of the sessions in the session database, and every
  // credential the daemons hold (wireless passphrases, the adoption token).
  // Each is cut at any length: a short secret costs readability, never
  // the secret.
  static Redactor fromCamera();
  explicit Redactor(std::vector<std::string> secrets);

  // `text` with every known secret replaced.
  std::string text(std::string const& text) const;
  // A JSON document with the values under secret keys blanked and every
  // known secret replaced; a text that does not parse is treated as text.
  std::string json(std::string const& text) const;

  // Whether a member of this name holds a secret ("rtspPassword", "psk").
  static bool secretKey(std::string const& name);
  // Whether such a member's value is a credential to hunt in free text too
  // ("key", for one, names a key management, not a key).
  static bool credentialKey(std::string const& name);

 private:
  std::vector<std::string> secrets_;
};

}  // namespace sim
}  // namespace orvo
