/* Peak resident memory of one run of a CGI program, in KiB, or with
 * --faults the page faults it took.
 *   peak_rss [--faults] PROGRAM [NAME=VALUE ...]
 * The kernel counts into a child's peak the memory of the process it was
 * before exec, so the measuring process must be small itself: this one is
 * a static C program that forks and waits, nothing more. */
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char** argv) {
  int faults = argc > 1 && strcmp(argv[1], "--faults") == 0;
  if (faults) {
    argv[1] = argv[0];
    argv++;
    argc--;
  }
  if (argc < 2) {
    fprintf(stderr, "usage: %s [--faults] PROGRAM [NAME=VALUE ...]\n", argv[0]);
    return 2;
  }
  pid_t pid = fork();
  if (pid < 0) return 1;
  if (pid == 0) {
    int null = open("/dev/null", O_RDWR);
    dup2(null, 0);
    dup2(null, 1);
    char* child_argv[] = {argv[1], NULL};
    execve(argv[1], child_argv, argv + 2);
    _exit(127);
  }
  int status = 0;
  struct rusage usage;
  if (wait4(pid, &status, 0, &usage) != pid) return 1;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    fprintf(stderr, "%s failed (status %d)\n", argv[1], status);
    return 1;
  }
  printf("%ld\n", faults ? usage.ru_minflt + usage.ru_majflt : usage.ru_maxrss);
  return 0;
}
