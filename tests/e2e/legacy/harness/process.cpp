#include "harness/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

extern char** environ;

namespace orvo {
namespace e2e {

namespace {

// How often the parent looks whether the child has ended.
constexpr int kPollSliceMs = 20;
constexpr size_t kReadChunk = 65536;

struct Pipe {
  int read = -1;
  int write = -1;
};

Pipe makePipe() {
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) throw std::runtime_error("pipe2 failed");
  return Pipe{fds[0], fds[1]};
}

void closeFd(int& fd) {
  if (fd >= 0) close(fd);
  fd = -1;
}

std::vector<char*> pointers(std::vector<std::string> const& strings) {
  std::vector<char*> out;
  for (auto const& s : strings) out.push_back(const_cast<char*>(s.c_str()));
  out.push_back(nullptr);
  return out;
}

// Runs in the child: the pipe ends become 0, 1 and 2, the signal set-up
// is the default one, and the program replaces the process.
[[noreturn]] void execChild(ProcessSpec const& process, Pipe& in, Pipe& out, Pipe& err) {
  // When the test runs with 0, 1 or 2 closed a pipe end may sit on one of
  // them; moving every end above 2 first keeps the dup2 calls from clashing.
  int const ends[3] = {fcntl(in.read, F_DUPFD_CLOEXEC, 3), fcntl(out.write, F_DUPFD_CLOEXEC, 3),
                       fcntl(err.write, F_DUPFD_CLOEXEC, 3)};
  for (int target = 0; target < 3; ++target) dup2(ends[target], target);
  signal(SIGPIPE, SIG_DFL);
  auto argv = pointers(process.argv);
  auto env = pointers(process.env);
  execve(process.program.c_str(), argv.data(), env.data());
  _exit(127);
}

// Reads what is available; returns false at end of file.
bool drain(int fd, std::string& into) {
  char buffer[kReadChunk];
  for (;;) {
    ssize_t n = read(fd, buffer, sizeof buffer);
    if (n > 0) {
      into.append(buffer, static_cast<size_t>(n));
      continue;
    }
    if (n == 0) return false;
    return errno == EAGAIN || errno == EINTR;
  }
}

void recordStatus(int status, ProcessResult& result) {
  if (WIFEXITED(status)) {
    result.exited = true;
    result.exitCode = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    result.signal = WTERMSIG(status);
  }
}

}  // namespace

std::vector<std::string> inheritedEnvironment() {
  std::vector<std::string> out;
  for (char** e = environ; *e; ++e) out.emplace_back(*e);
  return out;
}

ProcessResult runProcess(ProcessSpec const& process) {
  // `{}` in an aggregate initialiser gives a zero limit, not the default.
  if (process.limit.count() <= 0) throw std::invalid_argument("ProcessSpec::limit must be positive");
  // A child that exits without reading its input must not kill the test.
  signal(SIGPIPE, SIG_IGN);
  Pipe in = makePipe(), out = makePipe(), err = makePipe();
  ProcessResult result;
  result.pid = fork();
  if (result.pid < 0) throw std::runtime_error("fork failed");
  if (result.pid == 0) execChild(process, in, out, err);
  closeFd(in.read);
  closeFd(out.write);
  closeFd(err.write);
  for (int fd : {in.write, out.read, err.read}) fcntl(fd, F_SETFL, O_NONBLOCK);
  if (process.input.empty()) closeFd(in.write);

  auto const deadline = std::chrono::steady_clock::now() + process.limit;
  size_t written = 0;
  int status = 0;
  for (;;) {
    pollfd fds[3] = {{out.read, POLLIN, 0}, {err.read, POLLIN, 0}, {in.write, POLLOUT, 0}};
    poll(fds, in.write >= 0 ? 3 : 2, kPollSliceMs);
    if (out.read >= 0 && !drain(out.read, result.out)) closeFd(out.read);
    if (err.read >= 0 && !drain(err.read, result.err)) closeFd(err.read);
    if (in.write >= 0) {
      ssize_t n = write(in.write, process.input.data() + written, process.input.size() - written);
      if (n > 0) written += static_cast<size_t>(n);
      if ((n < 0 && errno != EAGAIN) || written == process.input.size()) closeFd(in.write);
    }
    // The child's own output is complete once it has exited; a daemon it
    // left behind may hold the pipes open, so end of file is not awaited.
    if (waitpid(result.pid, &status, WNOHANG) == result.pid) break;
    if (std::chrono::steady_clock::now() >= deadline) {
      result.timedOut = true;
      kill(result.pid, SIGKILL);
      waitpid(result.pid, &status, 0);
      break;
    }
  }
  if (out.read >= 0) drain(out.read, result.out);
  if (err.read >= 0) drain(err.read, result.err);
  closeFd(in.write);
  closeFd(out.read);
  closeFd(err.read);
  recordStatus(status, result);
  return result;
}

ProcessResult runCommand(std::vector<std::string> const& argv, std::vector<std::string> const& env) {
  ProcessSpec process;
  process.program = argv.at(0);
  process.argv = argv;
  process.env = env;
  return runProcess(process);
}

}  // namespace e2e
}  // namespace orvo
