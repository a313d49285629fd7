/* Streaming multipart/form-data parser: a window of CGI_MP_WINDOW bytes and
 * a state machine that consumes it as far as the data allows. */
#define _GNU_SOURCE /* memmem */
#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include "cgi_internal.h"
#include "cgi_multipart.h"

typedef enum {
  MP_PREAMBLE,    /* before the first delimiter: skipped */
  MP_AFTER_DELIM, /* right after a delimiter: "--" closes, else a part follows */
  MP_PADDING,     /* blanks allowed before the CRLF that ends a delimiter line */
  MP_HEADERS,
  MP_CONTENT,
  MP_EPILOGUE /* after the closing delimiter: skipped */
} mp_state;

/* "\r\n--" + boundary */
enum { MP_DELIM_MAX = 4 + CGI_MAX_BOUNDARY };

struct cgi_mp_parser {
  cgi_mp_callbacks callbacks;
  void* ctx;
  mp_state state;
  cgi_error error;
  char delim[MP_DELIM_MAX + 1];
  size_t delim_len;
  size_t header_bytes; /* of the current part so far */
  int has_disposition;
  char name[CGI_MAX_PART_HEADER];
  char filename[CGI_MAX_PART_HEADER];
  int has_filename;
  char content_type[CGI_MAX_PART_HEADER];
  size_t start; /* unconsumed data is window[start, end) */
  size_t end;
  char window[CGI_MP_WINDOW];
};

cgi_mp_parser* cgi_mp_new(const char* boundary, const cgi_mp_callbacks* callbacks, void* ctx) {
  size_t len = strlen(boundary);
  if (len == 0 || len > CGI_MAX_BOUNDARY) return NULL;
  cgi_mp_parser* p = calloc(1, sizeof *p);
  if (p == NULL) return NULL;
  p->callbacks = *callbacks;
  p->ctx = ctx;
  p->state = MP_PREAMBLE;
  memcpy(p->delim, "\r\n--", 4);
  memcpy(p->delim + 4, boundary, len + 1);
  p->delim_len = len + 4;
  /* The body may open with the delimiter line itself; a virtual CRLF in
   * front lets one search find it there and after a preamble alike. */
  memcpy(p->window, "\r\n", 2);
  p->end = 2;
  return p;
}

void cgi_mp_free(cgi_mp_parser* parser) { free(parser); }

static size_t available(const cgi_mp_parser* p) { return p->end - p->start; }
static const char* cursor(const cgi_mp_parser* p) { return p->window + p->start; }

static const char* find_delim(const cgi_mp_parser* p) {
  return memmem(cursor(p), available(p), p->delim, p->delim_len);
}

/* Bytes at the cursor that cannot belong to a delimiter starting later. */
static size_t safe_prefix(const cgi_mp_parser* p) {
  size_t keep = p->delim_len - 1;
  return available(p) > keep ? available(p) - keep : 0;
}

static void begin_headers(cgi_mp_parser* p) {
  p->state = MP_HEADERS;
  p->header_bytes = 0;
  p->has_disposition = 0;
  p->has_filename = 0;
  p->name[0] = '\0';
  p->filename[0] = '\0';
  p->content_type[0] = '\0';
}

static cgi_error parse_disposition(cgi_mp_parser* p, const char* value) {
  size_t type_len = strcspn(value, "; \t");
  if (type_len != 9 || strncasecmp(value, "form-data", 9) != 0) return CGI_ERR_MALFORMED;
  if (cgi_header_param(value, "name", p->name, sizeof p->name) != 1) return CGI_ERR_MALFORMED;
  if (p->name[0] == '\0') return CGI_ERR_MALFORMED;
  int found = cgi_header_param(value, "filename", p->filename, sizeof p->filename);
  if (found < 0) return CGI_ERR_MALFORMED;
  p->has_filename = found;
  p->has_disposition = 1;
  return CGI_OK;
}

/* One header line, CRLF removed and zero-terminated in place. */
static cgi_error parse_header_line(cgi_mp_parser* p, char* line) {
  char* colon = strchr(line, ':');
  /* obs-fold continuation lines and lines without a name are refused */
  if (colon == NULL || colon == line || line[0] == ' ' || line[0] == '\t') return CGI_ERR_MALFORMED;
  *colon = '\0';
  char* value = colon + 1;
  while (*value == ' ' || *value == '\t') ++value;
  size_t len = strlen(value);
  while (len > 0 && (value[len - 1] == ' ' || value[len - 1] == '\t')) value[--len] = '\0';
  if (strcasecmp(line, "Content-Disposition") == 0) {
    if (p->has_disposition) return CGI_ERR_MALFORMED;
    return parse_disposition(p, value);
  }
  if (strcasecmp(line, "Content-Type") == 0) memcpy(p->content_type, value, len + 1);
  return CGI_OK; /* other headers carry nothing for form data */
}

static cgi_error end_headers(cgi_mp_parser* p) {
  if (!p->has_disposition) return CGI_ERR_MALFORMED;
  cgi_mp_part part = {p->name, p->has_filename ? p->filename : NULL, p->content_type};
  p->state = MP_CONTENT;
  return p->callbacks.part_begin(p->ctx, &part);
}

/* Each step consumes what it can; *progress tells whether it did. */
static cgi_error step_headers(cgi_mp_parser* p, int* progress) {
  char* line = p->window + p->start;
  char* crlf = memmem(line, available(p), "\r\n", 2);
  size_t line_len = crlf ? (size_t)(crlf - line) : available(p);
  if (p->header_bytes + line_len + 2 > CGI_MAX_PART_HEADER) return CGI_ERR_HEADER_TOO_LARGE;
  if (memchr(line, '\0', line_len) != NULL) return CGI_ERR_NUL_BYTE;
  if (crlf == NULL) return CGI_OK;
  *progress = 1;
  p->header_bytes += line_len + 2;
  p->start += line_len + 2;
  if (line_len == 0) return end_headers(p);
  *crlf = '\0';
  return parse_header_line(p, line);
}

static cgi_error step_content(cgi_mp_parser* p, int* progress) {
  const char* found = find_delim(p);
  size_t len = found ? (size_t)(found - cursor(p)) : safe_prefix(p);
  cgi_error e = CGI_OK;
  if (len > 0) e = p->callbacks.part_data(p->ctx, cursor(p), len);
  p->start += len;
  if (e != CGI_OK || found == NULL) {
    *progress = len > 0;
    return e;
  }
  *progress = 1;
  p->start += p->delim_len;
  p->state = MP_AFTER_DELIM;
  return p->callbacks.part_end(p->ctx);
}

static cgi_error step_preamble(cgi_mp_parser* p, int* progress) {
  const char* found = find_delim(p);
  size_t skip = found ? (size_t)(found - cursor(p)) + p->delim_len : safe_prefix(p);
  p->start += skip;
  if (found != NULL) p->state = MP_AFTER_DELIM;
  *progress = skip > 0;
  return CGI_OK;
}

static cgi_error step_after_delim(cgi_mp_parser* p, int* progress) {
  if (available(p) < 2) return CGI_OK;
  *progress = 1;
  if (memcmp(cursor(p), "--", 2) == 0) {
    p->start += 2;
    p->state = MP_EPILOGUE;
  } else {
    p->state = MP_PADDING;
  }
  return CGI_OK;
}

static cgi_error step_padding(cgi_mp_parser* p, int* progress) {
  while (available(p) > 0 && (*cursor(p) == ' ' || *cursor(p) == '\t')) {
    ++p->start;
    *progress = 1;
  }
  if (available(p) == 0) return CGI_OK;
  if (*cursor(p) != '\r') return CGI_ERR_MALFORMED; /* the delimiter showed up inside a part */
  if (available(p) < 2) return CGI_OK;
  if (cursor(p)[1] != '\n') return CGI_ERR_MALFORMED;
  p->start += 2;
  *progress = 1;
  begin_headers(p);
  return CGI_OK;
}

static cgi_error step(cgi_mp_parser* p, int* progress) {
  *progress = 0;
  switch (p->state) {
    case MP_PREAMBLE: return step_preamble(p, progress);
    case MP_AFTER_DELIM: return step_after_delim(p, progress);
    case MP_PADDING: return step_padding(p, progress);
    case MP_HEADERS: return step_headers(p, progress);
    case MP_CONTENT: return step_content(p, progress);
    case MP_EPILOGUE: p->start = p->end; return CGI_OK;
  }
  return CGI_ERR_MALFORMED;
}

static cgi_error run(cgi_mp_parser* p) {
  int progress = 1;
  while (progress && p->error == CGI_OK) p->error = step(p, &progress);
  return p->error;
}

cgi_error cgi_mp_feed(cgi_mp_parser* p, const char* data, size_t len) {
  while (len > 0 && p->error == CGI_OK) {
    memmove(p->window, cursor(p), available(p));
    p->end -= p->start;
    p->start = 0;
    size_t room = sizeof p->window - p->end;
    /* A full window that made no progress would be a header line longer
     * than the header limit, which step_headers refuses first. */
    size_t take = len < room ? len : room;
    memcpy(p->window + p->end, data, take);
    p->end += take;
    data += take;
    len -= take;
    run(p);
  }
  return p->error;
}

cgi_error cgi_mp_finish(cgi_mp_parser* p) {
  if (p->error == CGI_OK && p->state != MP_EPILOGUE) p->error = CGI_ERR_TRUNCATED;
  return p->error;
}
