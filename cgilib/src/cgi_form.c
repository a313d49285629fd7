/* application/x-www-form-urlencoded: "a=1&b=x+y%21". "+" is a blank and
 * %XX a byte; a "%" without two hex digits stays as it is. Pieces without a
 * name are skipped; a piece without "=" has an empty value. */
#include <stdlib.h>
#include <string.h>

#include "cgi_internal.h"

static int hex_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

/* Decodes len bytes of in into out (room for len bytes); returns the length. */
static size_t form_decode(const char* in, size_t len, char* out) {
  size_t n = 0;
  for (size_t i = 0; i < len; ++i) {
    if (in[i] == '+') {
      out[n++] = ' ';
    } else if (in[i] == '%' && i + 2 < len && hex_value(in[i + 1]) >= 0 && hex_value(in[i + 2]) >= 0) {
      out[n++] = (char)(hex_value(in[i + 1]) * 16 + hex_value(in[i + 2]));
      i += 2;
    } else {
      out[n++] = in[i];
    }
  }
  return n;
}

static cgi_error add_piece(s_cgi* cgi, const char* piece, size_t len, char* scratch) {
  const char* eq = memchr(piece, '=', len);
  size_t name_len = eq ? (size_t)(eq - piece) : len;
  if (name_len == 0) return CGI_OK;
  const char* value = eq ? eq + 1 : piece + len;
  size_t value_len = (size_t)(piece + len - value);
  char* name_out = scratch;
  size_t decoded_name = form_decode(piece, name_len, name_out);
  char* value_out = scratch + decoded_name;
  size_t decoded_value = form_decode(value, value_len, value_out);
  return cgi_handle_add_var(cgi, name_out, decoded_name, value_out, decoded_value);
}

cgi_error cgi_form_parse(s_cgi* cgi, const char* text, size_t len) {
  /* decoding never grows a piece, so one buffer of the text's size serves all */
  char* scratch = malloc(len + 1);
  if (scratch == NULL) return CGI_ERR_NO_MEMORY;
  cgi_error e = CGI_OK;
  const char* end = text + len;
  for (const char* piece = text; piece < end && e == CGI_OK;) {
    const char* amp = memchr(piece, '&', (size_t)(end - piece));
    const char* piece_end = amp ? amp : end;
    e = add_piece(cgi, piece, (size_t)(piece_end - piece), scratch);
    piece = piece_end + 1;
  }
  free(scratch);
  return e;
}
