// Restarting the device from a program that must answer first.
#pragma once

namespace orvo {
namespace utils {

// The system's reboot tool; it takes "-d SECONDS" to wait before going down.
constexpr char kRebootTool[] = "/sbin/reboot";

// Hands a reboot after `delay` seconds (negative: none) to the reboot tool
// and returns at once. The tool runs detached from the caller: in a session
// of its own, with standard input, output and error on /dev/null and no
// other descriptor inherited, so a CGI answer ends when the caller exits and
// the caller's end does not stop the reboot. False when the tool could not
// be started.
bool enqueueReboot(int delay);

}  // namespace utils
}  // namespace orvo
