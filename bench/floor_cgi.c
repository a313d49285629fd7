/* The floor: the smallest CGI program that gives the version answer (built
   twice, linked dynamically and statically). */
#include <stdio.h>

int main(void) {
  fputs("Content-Type: application/json\r\nStatus: 200\r\nConnection: close\r\n\r\n"
        "{\"version\":\"1.2\"}", stdout);
  return 0;
}
