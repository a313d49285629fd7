/* Our CGI library: reads one CGI request (environment and body) and offers
 * its form variables, uploaded files and raw body. Every input is bounded by
 * the limits below; a request that breaks one is refused as a whole (cgiInit
 * returns NULL and leaves no temporary file behind). */
#ifndef ORVO_CGI_H
#define ORVO_CGI_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Limits. */
enum {
  /* Raw body of a non-multipart POST/PUT, held in memory. */
  CGI_MAX_BODY_IN_MEMORY = 1024 * 1024,
  /* QUERY_STRING of a request. */
  CGI_MAX_QUERY_STRING = 64 * 1024,
  /* Headers of one multipart part, all lines together. */
  CGI_MAX_PART_HEADER = 8 * 1024,
  /* Parts of one multipart body (text and file parts together). */
  CGI_MAX_PARTS = 64,
  /* Distinct variable names of one request (form, query or multipart). */
  CGI_MAX_VARIABLES = 64,
  /* Decoded variable name. */
  CGI_MAX_NAME_LEN = 256,
  /* Decoded value of one variable (repeated names joined included). */
  CGI_MAX_VALUE_LEN = 64 * 1024,
  /* Multipart boundary, 1 to 70 characters (RFC 2046). */
  CGI_MAX_BOUNDARY = 70,
  /* Bytes read from the input at a time. */
  CGI_READ_CHUNK = 64 * 1024
};

/* A multipart body may carry large uploads (firmware images); they stream to
 * files, so this bound is about disk space, not memory. */
#define CGI_MAX_MULTIPART_BODY (256L * 1024L * 1024L)

/* Why the last cgiInit/cgiInitFrom returned NULL (CGI_OK after a success). */
typedef enum {
  CGI_OK = 0,
  CGI_ERR_NO_METHOD,       /* REQUEST_METHOD unset or empty */
  CGI_ERR_NOTHING,         /* no query string and no body: nothing to parse */
  CGI_ERR_LENGTH_MISSING,  /* POST/PUT without CONTENT_LENGTH */
  CGI_ERR_LENGTH_INVALID,  /* CONTENT_LENGTH not a plain decimal number */
  CGI_ERR_TOO_LARGE,       /* body or query string above its limit */
  CGI_ERR_SHORT_BODY,      /* input ended before CONTENT_LENGTH bytes */
  CGI_ERR_READ,            /* read error on the input */
  CGI_ERR_NO_MEMORY,
  CGI_ERR_BOUNDARY,        /* multipart boundary missing or malformed */
  CGI_ERR_MALFORMED,       /* multipart syntax error */
  CGI_ERR_TRUNCATED,       /* multipart body without its closing delimiter */
  CGI_ERR_HEADER_TOO_LARGE,
  CGI_ERR_NUL_BYTE,        /* NUL byte in a name, header or text value */
  CGI_ERR_TOO_MANY_PARTS,
  CGI_ERR_TOO_MANY_VARIABLES,
  CGI_ERR_NAME_TOO_LONG,
  CGI_ERR_VALUE_TOO_LARGE,
  CGI_ERR_UPLOAD,          /* temporary upload file could not be written */
  CGI_ERR_COUNT
} cgi_error;

/* An uploaded file. All four strings are set (possibly empty), never NULL.
 * type is the client's Content-Type ("" when none was sent), filename the
 * client's file name as sent, tmpfile the path of the upload on this host. */
typedef struct {
  char* name;
  char* type;
  char* filename;
  char* tmpfile;
} s_file;

typedef struct s_cgi s_cgi;

/* Reads REQUEST_METHOD, CONTENT_TYPE, CONTENT_LENGTH (HTTP_CONTENT_LENGTH
 * when unset), QUERY_STRING and standard input. NULL on refusal or when
 * there is nothing to parse. */
s_cgi* cgiInit(void);

/* cgiInit with explicit inputs (NULL = unset) and body descriptor; reads at
 * most contentLength bytes from fd and never closes it. */
s_cgi* cgiInitFrom(const char* method, const char* contentType, const char* contentLength,
                   const char* queryString, int fd);

/* Reason of the last refusal of this process, and its text. */
cgi_error cgiLastError(void);
const char* cgiErrorText(cgi_error error);

/* Folder for uploads (copied); "/tmp" until set. */
void cgiSetTempDir(const char* dir);

/* With defer set before cgiInit, a multipart body is checked (length,
 * boundary) but left unread on the input until cgiReadMultipart asks for it:
 * a program that reads uploads only for some callers never stores one for
 * the others. Off until set. */
void cgiDeferMultipart(int defer);

/* Reads a deferred multipart body into the handle (once; later calls return
 * the first result). CGI_OK also when there is nothing deferred. On an error
 * no upload file is left and the handle holds no multipart data. */
cgi_error cgiReadMultipart(s_cgi* cgi);

/* Debug lines on stderr when level > 0; where is kept for compatibility. */
void cgiDebug(int level, int where);

/* NULL-terminated list of distinct variable names (free with cgiFreeList),
 * or NULL when there is none. A repeated name has its values joined by "\n". */
char** cgiGetVariables(s_cgi* cgi);
char* cgiGetValue(s_cgi* cgi, const char* name);

/* NULL-terminated list of distinct field names of uploads, or NULL; the
 * record of the first upload of a field. */
char** cgiGetFiles(s_cgi* cgi);
s_file* cgiGetFile(s_cgi* cgi, const char* name);

/* Raw, undecoded body of a non-multipart POST/PUT (zero-terminated), or NULL. */
char* cgiGetText(s_cgi* cgi);

void cgiFreeList(char** list);

/* Releases the handle and removes every upload file still in place (rename
 * an upload away first to keep it). Accepts NULL. */
void cgiFree(s_cgi* cgi);

/* Writes "Status: 302" and "Location: <url>" to stdout and flushes; writes
 * nothing for NULL, an empty URL or one holding control bytes. */
void cgiRedirect(const char* url);

#ifdef __cplusplus
}
#endif

#endif
