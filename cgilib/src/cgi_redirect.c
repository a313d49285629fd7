/* Redirection answer. A URL with CR, LF or another control byte could
 * smuggle extra headers into the response, so it is refused. */
#include <stdio.h>

#include "cgi.h"

static int is_safe_url(const char* url) {
  if (url == NULL || url[0] == '\0') return 0;
  for (const unsigned char* p = (const unsigned char*)url; *p != '\0'; ++p) {
    if (*p < 0x20 || *p == 0x7f) return 0;
  }
  return 1;
}

void cgiRedirect(const char* url) {
  if (!is_safe_url(url)) return;
  printf("Status: 302\r\nLocation: %s\r\n\r\n", url);
  fflush(stdout);
}
