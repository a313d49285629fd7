// Names on the message bus. Every endpoint has a name; a daemon that serves
// requests listens on the socket file "<bus folder>/<name>.sock". Senders
// need no socket file of their own: a request opens a connection to its
// destination and the answer comes back on that connection.
#pragma once

#include <string>

namespace orvo {
namespace ipc {

// Device path of the bus folder (moved under the camera root by devicePath).
constexpr char kBusFolder[] = "/run/orvo";
constexpr char kSocketExtension[] = ".sock";
// Endpoint names become file names: letters, digits, '_', '-', '.', not
// starting with '.', at most this long (sun_path also bounds the full path).
constexpr std::size_t kMaxEndpointNameBytes = 64;

// The endpoint name for a base name: "<base>.<pid>", so any number of
// processes may use the same base name at once.
std::string appendSuffix(std::string const& baseName);
std::string appendSuffix(char const* baseName);

bool isValidEndpointName(std::string const& name);
// The bus folder of this camera (device path mapped under the camera root).
std::string busFolder();
// "<bus folder>/<name>.sock"; "" when the name is invalid or the path would
// not fit a Unix socket address.
std::string socketPathFor(std::string const& name);

}  // namespace ipc
}  // namespace orvo
