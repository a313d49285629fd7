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
  // Shorter strings are not hunted in free text: they would cut ordinary
  // words. Every live secret of the camera is much longer.
  static constexpr std::size_t kMinSecretBytes = 8;

  // Knows the camera's live secrets: the account's password hash, the auth
  // token and the ids of the sessions in the session database.
  static Redactor fromCamera();
  explicit Redactor(std::vector<std::string> secrets);

  // `text` with every known secret replaced.
  std::string text(std::string const& text) const;
  // A JSON document with the values under secret keys blanked and every
  // known secret replaced; a text that does not parse is treated as text.
  std::string json(std::string const& text) const;

  // Whether a member of this name holds a secret ("rtspPassword", "psk").
  static bool secretKey(std::string const& name);

 private:
  std::vector<std::string> secrets_;
};

}  // namespace sim
}  // namespace orvo
