/* Streaming multipart/form-data parser (RFC 7578 on RFC 2046). Input is fed
 * in chunks of any size; the parser keeps at most CGI_MP_WINDOW bytes, so its
 * memory does not grow with the body. Part contents go out through callbacks
 * as they arrive. Used by cgiInit, and on its own by tests and the fuzzer. */
#ifndef ORVO_CGI_MULTIPART_H
#define ORVO_CGI_MULTIPART_H

#include <stddef.h>

#include "cgi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Bytes the parser buffers: one read chunk, plus room for a whole part header. */
enum { CGI_MP_WINDOW = CGI_READ_CHUNK + CGI_MAX_PART_HEADER };

/* What a part's headers say. filename is NULL for a text part; content_type
 * is "" when the part has none. Valid during the part_begin call only. */
typedef struct {
  const char* name;
  const char* filename;
  const char* content_type;
} cgi_mp_part;

/* Each callback returns CGI_OK to go on, or an error that stops the parse. */
typedef struct {
  cgi_error (*part_begin)(void* ctx, const cgi_mp_part* part);
  cgi_error (*part_data)(void* ctx, const char* data, size_t len);
  cgi_error (*part_end)(void* ctx);
} cgi_mp_callbacks;

typedef struct cgi_mp_parser cgi_mp_parser;

/* Takes the boundary from a Content-Type value ("multipart/form-data;
 * boundary=..." with a token or quoted value) into out (CGI_MAX_BOUNDARY + 1
 * bytes). CGI_ERR_BOUNDARY when it is missing, empty, too long or holds a
 * character RFC 2046 does not allow. */
cgi_error cgi_mp_boundary(const char* content_type, char* out);

/* NULL when out of memory. The boundary must have passed cgi_mp_boundary. */
cgi_mp_parser* cgi_mp_new(const char* boundary, const cgi_mp_callbacks* callbacks, void* ctx);

/* Parses the next chunk. After the first error every later call returns it. */
cgi_error cgi_mp_feed(cgi_mp_parser* parser, const char* data, size_t len);

/* End of input: CGI_OK only when the closing delimiter was seen. */
cgi_error cgi_mp_finish(cgi_mp_parser* parser);

void cgi_mp_free(cgi_mp_parser* parser);

#ifdef __cplusplus
}
#endif

#endif
