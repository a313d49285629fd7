/* Header parameters ('form-data; name="x"', 'multipart/form-data;
 * boundary=y') and the multipart boundary rules. */
#include <string.h>
#include <strings.h>

#include "cgi_internal.h"
#include "cgi_multipart.h"

static const char* skip_blanks(const char* p) {
  while (*p == ' ' || *p == '\t') ++p;
  return p;
}

/* Copies a quoted string starting after its opening quote; "\x" stands for
 * x. Returns the position after the closing quote, NULL when unterminated or
 * too long. A NULL out only skips the string. */
static const char* copy_quoted(const char* p, char* out, size_t out_size) {
  size_t n = 0;
  while (*p != '"') {
    if (*p == '\0') return NULL;
    if (*p == '\\' && p[1] != '\0') ++p;
    if (out != NULL) {
      if (n + 1 >= out_size) return NULL;
      out[n++] = *p;
    }
    ++p;
  }
  if (out != NULL) out[n] = '\0';
  return p + 1;
}

/* Copies a token up to ";" or the end, without trailing blanks (a NULL out
 * only skips it). */
static const char* copy_token(const char* p, char* out, size_t out_size) {
  const char* end = p;
  while (*end != '\0' && *end != ';') ++end;
  const char* next = end;
  if (out == NULL) return next;
  while (end > p && (end[-1] == ' ' || end[-1] == '\t')) --end;
  size_t n = (size_t)(end - p);
  if (n + 1 > out_size) return NULL;
  memcpy(out, p, n);
  out[n] = '\0';
  return next;
}

int cgi_header_param(const char* value, const char* key, char* out, size_t out_size) {
  size_t key_len = strlen(key);
  const char* p = strchr(value, ';');
  while (p != NULL && *p == ';') {
    p = skip_blanks(p + 1);
    const char* name = p;
    while (*p != '\0' && *p != '=' && *p != ';') ++p;
    const char* name_end = p;
    while (name_end > name && (name_end[-1] == ' ' || name_end[-1] == '\t')) --name_end;
    if (*p != '=') continue; /* a parameter without value */
    p = skip_blanks(p + 1);
    int wanted = (size_t)(name_end - name) == key_len && strncasecmp(name, key, key_len) == 0;
    /* Unwanted values are walked too, so that a ";" inside quotes never
     * starts a parameter. */
    char* target = wanted ? out : NULL;
    p = (*p == '"') ? copy_quoted(p + 1, target, out_size) : copy_token(p, target, out_size);
    if (p == NULL) return -1;
    if (wanted) return 1;
    p = skip_blanks(p);
    if (*p != ';' && *p != '\0') return -1;
  }
  return 0;
}

/* RFC 2046 bchars: digits, letters, "'()+_,-./:=?" and space (not last). */
static int is_boundary_char(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c != '\0' && strchr("'()+_,-./:=? ", c) != NULL);
}

cgi_error cgi_mp_boundary(const char* content_type, char* out) {
  /* Room for one more byte than allowed, so that too long is seen. */
  char value[CGI_MAX_BOUNDARY + 2];
  if (content_type == NULL) return CGI_ERR_BOUNDARY;
  if (cgi_header_param(content_type, "boundary", value, sizeof value) != 1) return CGI_ERR_BOUNDARY;
  size_t len = strlen(value);
  if (len == 0 || len > CGI_MAX_BOUNDARY || value[len - 1] == ' ') return CGI_ERR_BOUNDARY;
  for (size_t i = 0; i < len; ++i) {
    if (!is_boundary_char(value[i])) return CGI_ERR_BOUNDARY;
  }
  memcpy(out, value, len + 1);
  return CGI_OK;
}
