/* Feeds a multipart body from the input to the parser and stores what it
 * delivers: text parts as variables, file parts as uploads. */
#define _POSIX_C_SOURCE 200809L /* strdup */
#include <stdlib.h>
#include <string.h>

#include "cgi_internal.h"
#include "cgi_multipart.h"

typedef struct {
  s_cgi* cgi;
  size_t parts;
  cgi_upload* upload; /* the file part being written, or NULL */
  char name[CGI_MAX_NAME_LEN + 1];
  char* value;        /* CGI_MAX_VALUE_LEN bytes, for text parts */
  size_t value_len;
} sink;

static char* dup_or_empty(const char* s) { return strdup(s ? s : ""); }

static cgi_error begin_file(sink* s, const cgi_mp_part* part) {
  cgi_upload* upload = &s->cgi->uploads[s->cgi->upload_count];
  memset(upload, 0, sizeof *upload);
  upload->fd = -1;
  ++s->cgi->upload_count; /* counted at once so that cgiFree cleans up after a failure */
  upload->file.name = dup_or_empty(part->name);
  upload->file.type = dup_or_empty(part->content_type);
  upload->file.filename = dup_or_empty(part->filename);
  if (!upload->file.name || !upload->file.type || !upload->file.filename) return CGI_ERR_NO_MEMORY;
  s->upload = upload;
  return cgi_upload_open(upload);
}

static cgi_error on_begin(void* ctx, const cgi_mp_part* part) {
  sink* s = ctx;
  if (++s->parts > CGI_MAX_PARTS) return CGI_ERR_TOO_MANY_PARTS;
  size_t name_len = strlen(part->name);
  if (name_len > CGI_MAX_NAME_LEN) return CGI_ERR_NAME_TOO_LONG;
  if (part->filename != NULL) return begin_file(s, part);
  memcpy(s->name, part->name, name_len + 1);
  s->upload = NULL;
  s->value_len = 0;
  return CGI_OK;
}

static cgi_error on_data(void* ctx, const char* data, size_t len) {
  sink* s = ctx;
  if (s->upload != NULL) return cgi_upload_write(s->upload, data, len);
  if (len > CGI_MAX_VALUE_LEN - s->value_len) return CGI_ERR_VALUE_TOO_LARGE;
  if (s->value == NULL && (s->value = malloc(CGI_MAX_VALUE_LEN)) == NULL) return CGI_ERR_NO_MEMORY;
  memcpy(s->value + s->value_len, data, len);
  s->value_len += len;
  return CGI_OK;
}

static cgi_error on_end(void* ctx) {
  sink* s = ctx;
  if (s->upload != NULL) return CGI_OK;
  return cgi_handle_add_var(s->cgi, s->name, strlen(s->name), s->value ? s->value : "", s->value_len);
}

static cgi_error feed_input(cgi_mp_parser* parser, size_t length, int fd) {
  char* chunk = malloc(CGI_READ_CHUNK);
  if (chunk == NULL) return CGI_ERR_NO_MEMORY;
  cgi_error e = CGI_OK;
  while (length > 0 && e == CGI_OK) {
    long n = cgi_read_full(fd, chunk, length < CGI_READ_CHUNK ? length : CGI_READ_CHUNK);
    if (n < 0) {
      e = CGI_ERR_READ;
    } else if (n == 0) {
      e = CGI_ERR_SHORT_BODY;
    } else {
      length -= (size_t)n;
      e = cgi_mp_feed(parser, chunk, (size_t)n);
    }
  }
  free(chunk);
  return e != CGI_OK ? e : cgi_mp_finish(parser);
}

static cgi_error name_uploads(s_cgi* cgi) {
  for (size_t i = 0; i < cgi->upload_count; ++i) {
    cgi_error e = cgi_upload_name(&cgi->uploads[i]);
    if (e != CGI_OK) return e;
  }
  return CGI_OK;
}

cgi_error cgi_read_multipart(s_cgi* cgi, const char* content_type, size_t length, int fd) {
  char boundary[CGI_MAX_BOUNDARY + 1];
  cgi_error e = cgi_mp_boundary(content_type, boundary);
  if (e != CGI_OK) return e;
  sink s = {.cgi = cgi};
  static const cgi_mp_callbacks kCallbacks = {on_begin, on_data, on_end};
  cgi_mp_parser* parser = cgi_mp_new(boundary, &kCallbacks, &s);
  if (parser == NULL) return CGI_ERR_NO_MEMORY;
  e = feed_input(parser, length, fd);
  cgi_mp_free(parser);
  free(s.value);
  return e != CGI_OK ? e : name_uploads(cgi);
}
