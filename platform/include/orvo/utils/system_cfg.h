// The system configuration: a flat text file of "key=value" lines with
// dotted keys ("device.language", "httpd.anonSnapshot"). The program only
// reads it; the tool /bin/orvo_system_cfg writes it.
#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "orvo/variant/variant.h"

namespace orvo {
namespace utils {

// Device path of the file (mapped through devicePath).
constexpr char kSystemCfgPath[] = "/etc/orvo/system.cfg";
// Named lock that writers of the file hold.
constexpr char kSystemCfgLock[] = "orvo_system_cfg";

// Limits of the file format; a file beyond them is refused whole.
constexpr std::size_t kMaxSystemCfgBytes = 64 * 1024;
constexpr std::size_t kMaxSystemCfgEntries = 1024;
constexpr std::size_t kMaxSystemCfgKeyBytes = 128;
constexpr std::size_t kMaxSystemCfgValueBytes = 1024;

using SystemCfgEntries = std::map<std::string, std::string>;

// Keys: letters, digits, '_', '-' and '.', not empty, within the limit.
bool isValidSystemCfgKey(std::string const& key);
// Values: any bytes but control characters (so one entry is one line),
// within the limit.
bool isValidSystemCfgValue(std::string const& value);

// Parses the file's text. Empty lines and lines starting with '#' are
// skipped; every other line must be "key=value" (the key as is, the value
// everything after the first '=', a trailing CR dropped). False, with
// `entries` cleared, when the text breaks a rule or a limit; a later line
// with the same key replaces the earlier one.
bool parseSystemCfg(std::string const& text, SystemCfgEntries& entries);
// The file's text for `entries`, one "key=value" line each, in key order.
std::string formatSystemCfg(SystemCfgEntries const& entries);

// Reads the file at `path`; false when it cannot be read or parsed.
bool loadSystemCfg(std::string const& path, SystemCfgEntries& entries);
// Replaces the file at `path` atomically (temporary file, fsync, rename).
bool storeSystemCfg(std::string const& path, SystemCfgEntries const& entries);

class SystemCfgManager {
 public:
  // Loads the camera's configuration; false when it cannot be read.
  bool init();

  // Each get returns false when the manager is not initialised or the stored
  // text is not of the asked type. `notSet` is set true (and `value` left
  // alone) when the key has no stored value, false otherwise.
  bool get(std::string const& key, int* value, bool* notSet) const;
  bool get(std::string const& key, std::string* value, bool* notSet) const;
  bool get(std::string const& key, bool* value, bool* notSet) const;
  // The stored value as a Variant: a decimal integer as a signed 64-bit
  // number, "true"/"false" as a boolean, anything else as a string. An
  // absent key gives an empty Variant with `notSet` true.
  bool getVariant(std::string const& key, orvo::variant::Variant* value, bool* notSet) const;

 private:
  bool lookup(std::string const& key, std::string const** text, bool* notSet) const;

  bool initialised_ = false;
  SystemCfgEntries entries_;
};

}  // namespace utils
}  // namespace orvo

using orvo::utils::SystemCfgManager;
