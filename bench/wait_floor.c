/* The floor of a request that must wait for a daemon: does nothing but wait
 * FLOOR_WAIT_MS milliseconds (from the environment), then exits. */
#include <stdlib.h>
#include <time.h>

int main(void) {
  const char* text = getenv("FLOOR_WAIT_MS");
  long ms = text ? strtol(text, NULL, 10) : 0;
  struct timespec wait = {ms / 1000, (ms % 1000) * 1000000L};
  while (nanosleep(&wait, &wait) != 0) {
  }
  return 0;
}
