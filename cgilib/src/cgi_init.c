/* Reading one request: the method decides between query string and body,
 * the content type between raw text (plus form decoding) and multipart. */
#define _POSIX_C_SOURCE 200809L /* strdup */
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <unistd.h>

#include "cgi_internal.h"
#include "cgi_multipart.h"

static const char* const kErrorTexts[CGI_ERR_COUNT] = {
    [CGI_OK] = "no error",
    [CGI_ERR_NO_METHOD] = "REQUEST_METHOD missing",
    [CGI_ERR_NOTHING] = "nothing to parse",
    [CGI_ERR_LENGTH_MISSING] = "CONTENT_LENGTH missing",
    [CGI_ERR_LENGTH_INVALID] = "CONTENT_LENGTH is not a number",
    [CGI_ERR_TOO_LARGE] = "request larger than allowed",
    [CGI_ERR_SHORT_BODY] = "body shorter than CONTENT_LENGTH",
    [CGI_ERR_READ] = "cannot read the body",
    [CGI_ERR_NO_MEMORY] = "out of memory",
    [CGI_ERR_BOUNDARY] = "multipart boundary missing or malformed",
    [CGI_ERR_MALFORMED] = "malformed multipart body",
    [CGI_ERR_TRUNCATED] = "multipart body truncated",
    [CGI_ERR_HEADER_TOO_LARGE] = "multipart part header too large",
    [CGI_ERR_NUL_BYTE] = "NUL byte in a name, header or value",
    [CGI_ERR_TOO_MANY_PARTS] = "too many multipart parts",
    [CGI_ERR_TOO_MANY_VARIABLES] = "too many variables",
    [CGI_ERR_NAME_TOO_LONG] = "variable name too long",
    [CGI_ERR_VALUE_TOO_LARGE] = "variable value too large",
    [CGI_ERR_UPLOAD] = "cannot store an uploaded file",
};

static cgi_error last_error = CGI_OK;
static int debug_level = 0;
static int defer_multipart = 0;

void cgiDeferMultipart(int defer) { defer_multipart = defer != 0; }

cgi_error cgiLastError(void) { return last_error; }

const char* cgiErrorText(cgi_error error) {
  if ((int)error < 0 || error >= CGI_ERR_COUNT) return "unknown error";
  return kErrorTexts[error];
}

void cgiDebug(int level, int where) {
  (void)where; /* output always goes to stderr: stdout carries the response */
  debug_level = level;
}

void cgi_debug_line(const char* fmt, ...) {
  if (debug_level <= 0) return;
  va_list args;
  va_start(args, fmt);
  fputs("cgilib: ", stderr);
  vfprintf(stderr, fmt, args);
  fputc('\n', stderr);
  va_end(args);
}

long cgi_read_full(int fd, char* buf, size_t len) {
  size_t done = 0;
  while (done < len) {
    ssize_t n = read(fd, buf + done, len - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -1;
    if (n == 0) break;
    done += (size_t)n;
  }
  return (long)done;
}

/* Plain decimal digits only: no sign, blank or suffix. */
static cgi_error parse_length(const char* text, long limit, size_t* out) {
  if (text == NULL || text[0] == '\0') return CGI_ERR_LENGTH_MISSING;
  long value = 0;
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p < '0' || *p > '9') return CGI_ERR_LENGTH_INVALID;
    value = value * 10 + (*p - '0');
    if (value > limit) return CGI_ERR_TOO_LARGE; /* also stops before overflow */
  }
  *out = (size_t)value;
  return CGI_OK;
}

/* The media type without parameters, compared without case. */
static int has_media_type(const char* content_type, const char* type) {
  if (content_type == NULL) return 0;
  while (*content_type == ' ' || *content_type == '\t') ++content_type;
  size_t len = strcspn(content_type, "; \t");
  return len == strlen(type) && strncasecmp(content_type, type, len) == 0;
}

static cgi_error read_text(s_cgi* cgi, const char* content_type, size_t length, int fd) {
  cgi->text = malloc(length + 1);
  if (cgi->text == NULL) return CGI_ERR_NO_MEMORY;
  long n = cgi_read_full(fd, cgi->text, length);
  if (n < 0) return CGI_ERR_READ;
  if ((size_t)n < length) return CGI_ERR_SHORT_BODY;
  cgi->text[length] = '\0';
  if (has_media_type(content_type, "application/json")) return CGI_OK;
  return cgi_form_parse(cgi, cgi->text, length);
}

/* Checks what can be checked without reading and keeps the rest for later. */
static cgi_error defer_body(s_cgi* cgi, const char* content_type, size_t length, int fd) {
  char boundary[CGI_MAX_BOUNDARY + 1];
  cgi_error e = cgi_mp_boundary(content_type, boundary);
  if (e != CGI_OK) return e;
  cgi->deferred_type = strdup(content_type);
  if (cgi->deferred_type == NULL) return CGI_ERR_NO_MEMORY;
  cgi->deferred_length = length;
  cgi->deferred_fd = fd;
  cgi->deferred_state = 1;
  return CGI_OK;
}

cgi_error cgiReadMultipart(s_cgi* cgi) {
  if (cgi == NULL || cgi->deferred_state == 0) return CGI_OK;
  if (cgi->deferred_state == 2) return cgi->deferred_result;
  cgi->deferred_state = 2;
  cgi_error e = cgi_read_multipart(cgi, cgi->deferred_type, cgi->deferred_length, cgi->deferred_fd);
  if (e != CGI_OK) {
    cgi_debug_line("multipart body refused: %s", cgiErrorText(e));
    cgi_handle_drop_multipart(cgi);
  }
  cgi->deferred_result = e;
  return e;
}

static cgi_error read_body(s_cgi* cgi, const char* content_type, const char* content_length, int fd) {
  int multipart = has_media_type(content_type, "multipart/form-data");
  size_t length = 0;
  cgi_error e = parse_length(content_length, multipart ? CGI_MAX_MULTIPART_BODY : CGI_MAX_BODY_IN_MEMORY, &length);
  if (e != CGI_OK) return e;
  if (length == 0) return CGI_ERR_NOTHING;
  if (multipart && defer_multipart) return defer_body(cgi, content_type, length, fd);
  return multipart ? cgi_read_multipart(cgi, content_type, length, fd) : read_text(cgi, content_type, length, fd);
}

static cgi_error read_query(s_cgi* cgi, const char* query) {
  if (query == NULL || query[0] == '\0') return CGI_ERR_NOTHING;
  size_t len = strlen(query);
  if (len > CGI_MAX_QUERY_STRING) return CGI_ERR_TOO_LARGE;
  return cgi_form_parse(cgi, query, len);
}

s_cgi* cgiInitFrom(const char* method, const char* contentType, const char* contentLength,
                   const char* queryString, int fd) {
  last_error = CGI_OK;
  if (method == NULL || method[0] == '\0') {
    last_error = CGI_ERR_NO_METHOD;
    return NULL;
  }
  s_cgi* cgi = cgi_handle_new();
  if (cgi == NULL) {
    last_error = CGI_ERR_NO_MEMORY;
    return NULL;
  }
  int has_body = strcmp(method, "POST") == 0 || strcmp(method, "PUT") == 0;
  cgi_error e = has_body ? read_body(cgi, contentType, contentLength, fd) : read_query(cgi, queryString);
  if (e != CGI_OK) {
    cgi_debug_line("request refused: %s", cgiErrorText(e));
    cgiFree(cgi); /* removes any upload file made so far */
    last_error = e;
    return NULL;
  }
  return cgi;
}

s_cgi* cgiInit(void) {
  /* BusyBox's httpd sets CONTENT_LENGTH for POST only; a PUT's length comes
   * as the client's header, HTTP_CONTENT_LENGTH. */
  const char* length = getenv("CONTENT_LENGTH");
  if (!length) length = getenv("HTTP_CONTENT_LENGTH");
  return cgiInitFrom(getenv("REQUEST_METHOD"), getenv("CONTENT_TYPE"), length,
                     getenv("QUERY_STRING"), STDIN_FILENO);
}
