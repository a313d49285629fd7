// Session database benchmark: the time of a session check (GET status with
// the cookie) and of a login, with the database at its cap of live sessions
// against a database holding one session. Runs alternate between the two
// camera roots so that machine noise hits both alike; medians are reported,
// of the wall time and of the CPU time the process used (user + system),
// which a busy machine disturbs less, and of the minor page faults.
//
//   session_bench RUNS REST_CGI EMPTY_ROOT FULL_ROOT
// The roots must be fresh camera roots (`camsim init`); REST_CGI a path
// ending in "/rest.cgi".
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kCap = 1024;  // the program's cap on live sessions
constexpr char kLoginBody[] = "{\"username\":\"admin\",\"password\":\"admin\"}";
constexpr char kAddr[] = "192.168.100.123";

double nowMicros() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t.tv_sec * 1e6 + t.tv_nsec / 1e3;
}

struct Call {
  std::vector<std::string> env;
  std::string input;  // a file for standard input
};

struct Took {
  double wall = 0;  // microseconds
  double cpu = 0;
  double faults = 0;  // minor page faults: unlike times, the load does not move them
};

// Runs one CGI call; its output goes to `output`.
Took run(std::string const& program, Call const& call, std::string const& output) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, call.input.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  std::vector<char*> env;
  for (auto const& e : call.env) env.push_back(const_cast<char*>(e.c_str()));
  env.push_back(nullptr);
  char* argv[] = {const_cast<char*>(program.c_str()), nullptr};
  double start = nowMicros();
  pid_t pid = 0;
  if (posix_spawn(&pid, program.c_str(), &actions, nullptr, argv, env.data()) != 0) {
    std::perror(program.c_str());
    std::exit(1);
  }
  int status = 0;
  rusage usage{};
  wait4(pid, &status, 0, &usage);
  Took took;
  took.wall = nowMicros() - start;
  took.cpu = usage.ru_utime.tv_sec * 1e6 + usage.ru_utime.tv_usec + usage.ru_stime.tv_sec * 1e6 +
             usage.ru_stime.tv_usec;
  took.faults = static_cast<double>(usage.ru_minflt);
  posix_spawn_file_actions_destroy(&actions);
  return took;
}

std::string readAll(std::string const& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// `count` live sessions as the program writes them, the first expiring first.
void writeSessions(std::string const& root, std::size_t count) {
  using namespace std::chrono;
  unsigned long long first =
      duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count() + 3600000;
  std::string text = "{";
  char id[40];
  for (std::size_t i = 0; i < count; ++i) {
    std::snprintf(id, sizeof id, "B%031zu", i);
    text += std::string(i ? ",\n" : "\n") + "  \"" + id + "\": {\n    \"max-age\": " +
            std::to_string(first + i) + ",\n    \"remote-addr\": \"" + kAddr + "\"\n  }";
  }
  text += "\n}";
  mkdir((root + "/tmp/.rest").c_str(), 0700);  // rest.cgi's own folder, as it makes it
  std::string path = root + "/tmp/.rest/.rest_0_1.db";
  std::ofstream(path, std::ios::trunc) << text;
  chmod(path.c_str(), 0600);
}

struct Root {
  std::string path;
  std::string cookie;
  std::vector<Took> checks, logins;
};

Call loginCall(Root const& root, std::string const& bodyFile) {
  return {{"REQUEST_METHOD=POST", "QUERY_STRING=id=0.1/login", "CONTENT_TYPE=application/json",
           "CONTENT_LENGTH=" + std::to_string(sizeof kLoginBody - 1),
           std::string("REMOTE_ADDR=") + kAddr, "ORVO_ROOT=" + root.path},
          bodyFile};
}

Call checkCall(Root const& root) {
  return {{"REQUEST_METHOD=GET", "QUERY_STRING=id=0.1/status", std::string("REMOTE_ADDR=") + kAddr,
           "HTTP_COOKIE=" + root.cookie, "ORVO_ROOT=" + root.path},
          "/dev/null"};
}

// Logs in once and keeps the cookie.
void prepare(std::string const& program, Root& root, std::size_t sessions,
             std::string const& bodyFile) {
  writeSessions(root.path, sessions);
  std::string out = root.path + "/tmp/bench-answer";
  run(program, loginCall(root, bodyFile), out);
  std::string answer = readAll(out);
  std::size_t at = answer.find("authId=");
  if (at == std::string::npos) {
    std::fprintf(stderr, "login failed in %s:\n%s\n", root.path.c_str(), answer.c_str());
    std::exit(1);
  }
  root.cookie = answer.substr(at, answer.find(';', at) - at);
}

double median(std::vector<Took> const& runs, double Took::*field) {
  std::vector<double> v;
  for (Took const& t : runs) v.push_back(t.*field);
  std::sort(v.begin(), v.end());
  return v.empty() ? 0 : v[v.size() / 2];
}

void report(char const* what, std::vector<Took> const& empty, std::vector<Took> const& full) {
  for (auto [kind, field] : {std::pair{"wall", &Took::wall}, std::pair{"cpu", &Took::cpu}}) {
    double e = median(empty, field), f = median(full, field);
    std::printf("%-18s %-6s %9.0f us %9.0f us %7.2fx\n", what, kind, e, f, f / e);
  }
  double e = median(empty, &Took::faults), f = median(full, &Took::faults);
  std::printf("%-18s %-6s %12.0f %12.0f %7.2fx\n", what, "faults", e, f, f / e);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: %s RUNS REST_CGI EMPTY_ROOT FULL_ROOT\n", argv[0]);
    return 2;
  }
  int runs = std::atoi(argv[1]);
  std::string program = argv[2];
  Root empty{argv[3], "", {}, {}};
  Root full{argv[4], "", {}, {}};
  std::string bodyFile = full.path + "/tmp/bench-login-body";
  std::ofstream(bodyFile) << kLoginBody;
  prepare(program, empty, 0, bodyFile);
  prepare(program, full, kCap - 1, bodyFile);
  std::string sink = full.path + "/tmp/bench-answer";
  for (int i = 0; i < runs; ++i) {
    for (Root* root : {&empty, &full}) root->checks.push_back(run(program, checkCall(*root), sink));
  }
  std::string const emptyDb = readAll(empty.path + "/tmp/.rest/.rest_0_1.db");
  for (int i = 0; i < runs; ++i) {
    // The empty root starts each login from its one session again; the full
    // one stays at the cap, each login evicting the oldest.
    std::ofstream(empty.path + "/tmp/.rest/.rest_0_1.db", std::ios::trunc) << emptyDb;
    for (Root* root : {&empty, &full}) {
      root->logins.push_back(run(program, loginCall(*root, bodyFile), sink));
    }
  }
  std::printf("%-24s %12s %12s %8s\n", "median per call", "1 session", "1024 (cap)", "ratio");
  report("session check", empty.checks, full.checks);
  report("login", empty.logins, full.logins);
  return 0;
}
