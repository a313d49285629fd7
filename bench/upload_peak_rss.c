/* Runs a CGI program once with a file on standard input, as a web server
 * passes a request body, and prints its exit status and peak resident
 * memory in KiB (from wait4, so the child's own peak alone):
 *   upload_peak_rss BODY_FILE PROGRAM [NAME=VALUE ...]
 * argv[0] is the program's path; the environment is exactly the pairs given. */
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char** argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: upload_peak_rss BODY_FILE PROGRAM [NAME=VALUE ...]\n");
    return 2;
  }
  pid_t child = fork();
  if (child < 0) return 1;
  if (child == 0) {
    int in = open(argv[1], O_RDONLY);
    int out = open("/dev/null", O_WRONLY);
    if (in < 0 || out < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0) _exit(127);
    char* args[] = {argv[2], NULL};
    execve(argv[2], args, argv + 3);
    _exit(127);
  }
  int status = 0;
  struct rusage usage;
  if (wait4(child, &status, 0, &usage) != child) return 1;
  printf("exit %d peak %ld KiB\n", WIFEXITED(status) ? WEXITSTATUS(status) : -1, usage.ru_maxrss);
  return 0;
}
