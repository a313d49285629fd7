// The virtual AArch64 camera (`./camsim vm up`) as the camera of the HTTP
// end-to-end programs. With ORVO_TEST_CAMERA=vm the shared camera of
// support/camera.h is the one virtual camera already running (its port in
// ORVO_TEST_VM_PORT, 8090 unless set) instead of a `camsim up` of the
// program's own: requests go to its BusyBox httpd, and what the fixtures do
// to the camera's files (the log, the state kept and put back around each
// test, the test controls) runs in its shell through `camsim vm exec`.
// Programs then run one after the other: there is one camera.
#pragma once

#include <string>
#include <vector>

#include "support/process.h"

namespace orvo {
namespace test {

// Whether the tests run against the virtual camera.
bool onVirtualCamera();
// Why a test that runs rest.cgi directly is skipped there.
constexpr char kDirectRun[] = "runs this machine's rest.cgi directly, without the camera";
// Its web server's port on 127.0.0.1.
int virtualCameraPort();
// The camera root its disk was made from, which holds the maker's signing
// key (<vm dir>/factory).
std::string virtualCameraFactory();

// The address the camera sees the tests' HTTP requests come from: the
// loopback address, or on the virtual camera the emulator's gateway
// (10.0.2.2), since its network reaches this machine through the
// emulator's address translation.
std::string clientAddress();

// Runs `script` in the virtual camera's shell (`camsim vm exec`): its exit
// status, output and error output.
ProcessResult runInVirtualCamera(std::string const& script);
// The same; a failure fails the calling test. The script's output.
std::string inVirtualCamera(std::string const& script);
// `text` as one word of the camera's shell ('...').
std::string shellWord(std::string const& text);

// The guest's log line as the simulated camera writes it. BusyBox's syslogd
// writes "Nov 24 03:05:09 <host> user.err orvo_cgi[12]: <record>"; the
// simulated camera "<time> orvo_cgi[12]: <err> <record>". "" for a line
// of another shape: the camera's own system (syslogd, init) writes lines
// a simulated camera's log never holds.
std::string simulatedLogLine(std::string const& syslogLine);

// The camsim command that changes or asks the running camera (ctl, token,
// clock, call, state) as a script of the camera's shell; "" for a command
// it cannot do.
std::string virtualCameraCommand(std::string const& command,
                                 std::vector<std::string> const& arguments);

// Before a program's first test: the camera as it booted, for what a
// program before may have left that a camera of the program's own would
// not hold (sessions, failed logins, test controls, the clock), and, as
// in the tests' simulated cameras, no restart after a flash.
void prepareVirtualCamera();
// After the program: the update tool restarts the camera again.
void releaseVirtualCamera();

// What `camsim vm status` says: the boots counted on the camera's disk and
// its daemons and web server that run.
struct VirtualCameraStatus {
  int boots = -1;
  int running = 0;
};
VirtualCameraStatus virtualCameraStatus();

}  // namespace test
}  // namespace orvo

namespace orvo {
namespace test {

// A device file of the virtual camera (see CameraRoot's kVirtualCamera).
std::string virtualCameraRead(std::string const& path);
bool virtualCameraExists(std::string const& path);
void virtualCameraWrite(std::string const& path, std::string const& content);
void virtualCameraRemove(std::string const& path);
void virtualCameraAge(std::string const& path, long seconds);
// Whether a process of the camera holds the lock file at `path` (its
// /proc/locks: trying the lock would itself turn a holder's rival away).
bool virtualCameraLockHeld(std::string const& path);

// The files under `paths` kept on the camera's disk (/data/orvo-test), to be
// put back as they were: files changed or removed since are rewritten,
// new ones removed, a path absent then is absent again. Its name for
// restoreVirtualCamera.
std::string keepInVirtualCamera(std::vector<std::string> const& paths);
void restoreVirtualCamera(std::string const& name, std::vector<std::string> const& paths);

}  // namespace test
}  // namespace orvo
