// Running platform tools as child programs, and ending the process on
// purpose.
#pragma once

#include <string>
#include <vector>

namespace orvo {
namespace utils {

// Runs the program at device path `path` (mapped through devicePath) with
// `args` as its arguments (argv[0] is `path`), without a shell: every
// argument reaches the program unchanged, whatever characters it holds. The
// child inherits the environment; its standard input and output are
// /dev/null, so it can never write into this process's answer. Waits for
// it and returns its wait status (0: exited with 0), or -1 when it could not
// be started.
int sysExecSimple(char const* path, std::vector<std::string> const& args);

// Ends the process at once, by SIGABRT: nothing more is written, no
// destructor runs. For states the program must never continue from.
[[noreturn]] void forceCrash();

}  // namespace utils
}  // namespace orvo
