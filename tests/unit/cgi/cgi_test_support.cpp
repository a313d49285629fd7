#include "cgi_test_support.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

namespace cgitest {

namespace {

std::string makeRoot() {
  std::string base = std::string(ORVO_BINARY_DIR) + "/tmp";
  mkdir(base.c_str(), 0755);
  std::string pattern = base + "/cgi-unit-XXXXXX";
  char* made = mkdtemp(&pattern[0]);
  if (!made) return "";
  for (char const* sub : {"/tmp", "/var", "/var/log", "/run", "/run/lock"}) {
    mkdir((pattern + sub).c_str(), 0755);
  }
  return pattern;
}

std::string readAll(int fd) {
  std::string out;
  char buffer[4096];
  ssize_t n;
  lseek(fd, 0, SEEK_SET);
  while ((n = read(fd, buffer, sizeof buffer)) > 0) out.append(buffer, static_cast<size_t>(n));
  return out;
}

void removeTree(std::string const& root) {
  std::string command = "rm -rf '" + root + "'";
  if (std::system(command.c_str()) != 0) std::perror("rm");
}

}  // namespace

Captured runAsCgi(std::map<std::string, std::string> const& env, std::string const& body,
                  std::function<int()> const& code) {
  Captured run;
  std::string root = makeRoot();
  FILE* in = tmpfile();
  FILE* out = tmpfile();
  fwrite(body.data(), 1, body.size(), in);
  fflush(in);
  fflush(stdout);
  pid_t child = fork();
  if (child == 0) {
    clearenv();
    for (auto const& entry : env) setenv(entry.first.c_str(), entry.second.c_str(), 1);
    setenv("ORVO_ROOT", root.c_str(), 1);
    lseek(fileno(in), 0, SEEK_SET);
    dup2(fileno(in), 0);
    dup2(fileno(out), 1);
    int result = code();
    fflush(stdout);
    _exit(result & 0xff);
  }
  int status = 0;
  waitpid(child, &status, 0);
  run.result = WIFEXITED(status) ? static_cast<signed char>(WEXITSTATUS(status)) : -1000;
  run.out = readAll(fileno(out));
  fclose(in);
  fclose(out);
  std::ifstream log(root + "/var/log/messages");
  for (std::string line; std::getline(log, line);) run.log.push_back(line);
  removeTree(root);
  return run;
}

bool logged(Captured const& run, std::string const& text) {
  for (auto const& line : run.log) {
    if (line.find(text) != std::string::npos) return true;
  }
  return false;
}

}  // namespace cgitest
