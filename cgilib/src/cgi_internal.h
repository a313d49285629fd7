/* Internals shared by the files of the CGI library. */
#ifndef ORVO_CGI_INTERNAL_H
#define ORVO_CGI_INTERNAL_H

#include <stddef.h>

#include "cgi.h"

/* One variable: a name and its value (repeated names joined by "\n"). */
typedef struct {
  char* name;
  char* value;
} cgi_var;

/* An upload on its way to a named file: fd stays open until the request
 * parsed; anonymous uploads (O_TMPFILE) get their name only then. */
typedef struct {
  s_file file;
  int fd;
  int anonymous;
} cgi_upload;

struct s_cgi {
  cgi_var vars[CGI_MAX_VARIABLES];
  size_t var_count;
  cgi_upload uploads[CGI_MAX_PARTS];
  size_t upload_count;
  char* text;
  /* A multipart body left on the input (cgiDeferMultipart). */
  char* deferred_type;
  size_t deferred_length;
  int deferred_fd;
  int deferred_state; /* 0 none, 1 waiting, 2 read */
  cgi_error deferred_result;
};

/* Handle store (cgi_handle.c). */
s_cgi* cgi_handle_new(void);
/* Frees every variable and removes every upload (a multipart body refused
 * after cgiInit). */
void cgi_handle_drop_multipart(s_cgi* cgi);
cgi_error cgi_handle_add_var(s_cgi* cgi, const char* name, size_t name_len, const char* value,
                             size_t value_len);

/* Form decoding (cgi_form.c): "a=1&b=x+y%21" into variables. */
cgi_error cgi_form_parse(s_cgi* cgi, const char* text, size_t len);

/* Uploads (cgi_upload.c). */
const char* cgi_temp_dir(void);
cgi_error cgi_upload_open(cgi_upload* upload);
cgi_error cgi_upload_write(cgi_upload* upload, const char* data, size_t len);
cgi_error cgi_upload_name(cgi_upload* upload);
void cgi_upload_discard(cgi_upload* upload);

/* Multipart body into the handle (cgi_multipart_sink.c). */
cgi_error cgi_read_multipart(s_cgi* cgi, const char* content_type, size_t length, int fd);

/* Header parameter ("name=value" or name="quoted") of a header value such as
 * 'form-data; name="x"'. 1 found (copied into out), 0 absent, -1 malformed or
 * longer than out_size - 1. Parameter names compare without case. */
int cgi_header_param(const char* value, const char* key, char* out, size_t out_size);

/* Reads exactly len bytes unless the input ends first; returns bytes read or
 * -1 on a read error. */
long cgi_read_full(int fd, char* buf, size_t len);

void cgi_debug_line(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

#endif
