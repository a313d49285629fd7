/* Upload files. An upload is written to an anonymous O_TMPFILE file where
 * the file system allows it, and linked to a name only once the request
 * parsed; a crash or refusal then leaves nothing behind. Elsewhere it falls
 * back to mkstemp, and every failure path unlinks the file. */
#define _GNU_SOURCE /* O_TMPFILE, AT_EMPTY_PATH */
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/random.h>
#include <unistd.h>

#include "cgi_internal.h"

static const char kDefaultTempDir[] = "/tmp";
static const char kUploadPrefix[] = "cgi-upload-";
enum { kNameAttempts = 32, kRandomChars = 6 };

static char temp_dir[PATH_MAX] = "/tmp";

void cgiSetTempDir(const char* dir) {
  const char* chosen = (dir != NULL && dir[0] != '\0') ? dir : kDefaultTempDir;
  if (strlen(chosen) >= sizeof temp_dir) return; /* keep the previous folder */
  strcpy(temp_dir, chosen);
}

const char* cgi_temp_dir(void) { return temp_dir; }

/* "<dir>/cgi-upload-" followed by room for the random part; NULL on overflow. */
static char* upload_path_template(void) {
  size_t len = strlen(temp_dir) + 1 + strlen(kUploadPrefix) + kRandomChars + 1;
  char* path = malloc(len);
  if (path != NULL) snprintf(path, len, "%s/%sXXXXXX", temp_dir, kUploadPrefix);
  return path;
}

cgi_error cgi_upload_open(cgi_upload* upload) {
  upload->fd = open(temp_dir, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (upload->fd >= 0) {
    upload->anonymous = 1;
    return CGI_OK;
  }
  upload->anonymous = 0;
  upload->file.tmpfile = upload_path_template();
  if (upload->file.tmpfile == NULL) return CGI_ERR_NO_MEMORY;
  upload->fd = mkostemp(upload->file.tmpfile, O_CLOEXEC);
  if (upload->fd < 0) {
    cgi_debug_line("cannot create an upload file in %s: %s", temp_dir, strerror(errno));
    free(upload->file.tmpfile);
    upload->file.tmpfile = NULL;
    return CGI_ERR_UPLOAD;
  }
  return CGI_OK;
}

cgi_error cgi_upload_write(cgi_upload* upload, const char* data, size_t len) {
  while (len > 0) {
    ssize_t n = write(upload->fd, data, len);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      cgi_debug_line("cannot write an upload file: %s", strerror(errno));
      return CGI_ERR_UPLOAD;
    }
    data += n;
    len -= (size_t)n;
  }
  return CGI_OK;
}

static void random_suffix(char* out) {
  static const char kChars[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  unsigned char bytes[kRandomChars];
  if (getrandom(bytes, sizeof bytes, 0) != (ssize_t)sizeof bytes) {
    /* no entropy: uniqueness still comes from the EEXIST retry */
    for (size_t i = 0; i < sizeof bytes; ++i) bytes[i] = (unsigned char)rand();
  }
  for (size_t i = 0; i < sizeof bytes; ++i) out[i] = kChars[bytes[i] % (sizeof kChars - 1)];
}

/* linkat with AT_EMPTY_PATH needs privilege; /proc/self/fd works for all. */
static int link_anonymous(int fd, const char* path) {
  if (linkat(fd, "", AT_FDCWD, path, AT_EMPTY_PATH) == 0) return 0;
  if (errno == EEXIST) return -1;
  char proc_path[64];
  snprintf(proc_path, sizeof proc_path, "/proc/self/fd/%d", fd);
  return linkat(AT_FDCWD, proc_path, AT_FDCWD, path, AT_SYMLINK_FOLLOW);
}

static cgi_error name_anonymous(cgi_upload* upload) {
  char* path = upload_path_template();
  if (path == NULL) return CGI_ERR_NO_MEMORY;
  char* suffix = path + strlen(path) - kRandomChars;
  for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
    random_suffix(suffix);
    if (link_anonymous(upload->fd, path) == 0) {
      upload->file.tmpfile = path;
      upload->anonymous = 0;
      return CGI_OK;
    }
    if (errno != EEXIST) break;
  }
  cgi_debug_line("cannot name an upload file in %s: %s", temp_dir, strerror(errno));
  free(path);
  return CGI_ERR_UPLOAD;
}

cgi_error cgi_upload_name(cgi_upload* upload) {
  cgi_error e = upload->anonymous ? name_anonymous(upload) : CGI_OK;
  if (upload->fd >= 0) close(upload->fd);
  upload->fd = -1;
  return e;
}

void cgi_upload_discard(cgi_upload* upload) {
  if (upload->fd >= 0) close(upload->fd);
  upload->fd = -1;
  if (upload->file.tmpfile != NULL && upload->file.tmpfile[0] != '\0') unlink(upload->file.tmpfile);
}
