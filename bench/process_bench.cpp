// Whole-process benchmark: starts a CGI program many times, as a web server
// would, and reports the median time per start and the peak resident memory
// (an upper bound: the kernel counts this process's own memory into a
// spawned child's peak; bench/peak_rss measures a program alone).
// Two programs are measured in alternating rounds so that machine noise hits
// both alike; the result is reported as a ratio.
//
//   process_bench ROUNDS RUNS_PER_ROUND BASELINE CANDIDATE [NAME=VALUE ...]
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

struct Sample {
  double microsPerRun = 0;
  long peakKb = 0;
};

double nowMicros() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t.tv_sec * 1e6 + t.tv_nsec / 1e3;
}

// Runs `program` `runs` times with stdout to /dev/null; argv[0] is the
// program's path (the CGI checks its own name).
Sample measure(char const* program, int runs, std::vector<char*> const& env) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  char* argv[] = {const_cast<char*>(program), nullptr};
  Sample sample;
  double start = nowMicros();
  for (int i = 0; i < runs; ++i) {
    pid_t pid = 0;
    if (posix_spawn(&pid, program, &actions, nullptr, argv, env.data()) != 0) {
      std::perror(program);
      std::exit(1);
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      std::fprintf(stderr, "%s failed (status %d)\n", program, status);
      std::exit(1);
    }
    sample.peakKb = std::max(sample.peakKb, usage.ru_maxrss);
  }
  sample.microsPerRun = (nowMicros() - start) / runs;
  posix_spawn_file_actions_destroy(&actions);
  return sample;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) {
    std::fprintf(stderr, "usage: %s ROUNDS RUNS BASELINE CANDIDATE [NAME=VALUE ...]\n", argv[0]);
    return 2;
  }
  int rounds = std::atoi(argv[1]);
  int runs = std::atoi(argv[2]);
  std::vector<char*> env(argv + 5, argv + argc);
  env.push_back(nullptr);

  std::vector<double> base, cand, ratio;
  long basePeak = 0, candPeak = 0;
  for (int r = 0; r < rounds; ++r) {
    Sample b = measure(argv[3], runs, env);
    Sample c = measure(argv[4], runs, env);
    base.push_back(b.microsPerRun);
    cand.push_back(c.microsPerRun);
    ratio.push_back(c.microsPerRun / b.microsPerRun);
    basePeak = std::max(basePeak, b.peakKb);
    candPeak = std::max(candPeak, c.peakKb);
  }
  std::printf("baseline  %8.1f us/run  peak %6ld KiB  (%s)\n", median(base), basePeak, argv[3]);
  std::printf("candidate %8.1f us/run  peak %6ld KiB  (%s)\n", median(cand), candPeak, argv[4]);
  std::printf("time ratio %.2f (median of %d rounds x %d runs), memory ratio %.2f\n",
              median(ratio), rounds, runs, static_cast<double>(candPeak) / basePeak);
  return 0;
}
