/* The request handle: its variables, uploads and raw body, and their accessors. */
#define _POSIX_C_SOURCE 200809L /* strdup */
#include <stdlib.h>
#include <string.h>

#include "cgi_internal.h"

s_cgi* cgi_handle_new(void) { return calloc(1, sizeof(s_cgi)); }

static cgi_var* find_var(s_cgi* cgi, const char* name, size_t name_len) {
  for (size_t i = 0; i < cgi->var_count; ++i) {
    if (strlen(cgi->vars[i].name) == name_len && memcmp(cgi->vars[i].name, name, name_len) == 0) {
      return &cgi->vars[i];
    }
  }
  return NULL;
}

static char* copy_bytes(const char* data, size_t len) {
  char* copy = malloc(len + 1);
  if (copy == NULL) return NULL;
  memcpy(copy, data, len);
  copy[len] = '\0';
  return copy;
}

/* A repeated name keeps one entry; its values are joined by "\n". */
static cgi_error append_value(cgi_var* var, const char* value, size_t value_len) {
  size_t old_len = strlen(var->value);
  if (old_len + 1 + value_len > CGI_MAX_VALUE_LEN) return CGI_ERR_VALUE_TOO_LARGE;
  char* joined = realloc(var->value, old_len + 1 + value_len + 1);
  if (joined == NULL) return CGI_ERR_NO_MEMORY;
  joined[old_len] = '\n';
  memcpy(joined + old_len + 1, value, value_len);
  joined[old_len + 1 + value_len] = '\0';
  var->value = joined;
  return CGI_OK;
}

cgi_error cgi_handle_add_var(s_cgi* cgi, const char* name, size_t name_len, const char* value,
                             size_t value_len) {
  if (name_len > CGI_MAX_NAME_LEN) return CGI_ERR_NAME_TOO_LONG;
  if (value_len > CGI_MAX_VALUE_LEN) return CGI_ERR_VALUE_TOO_LARGE;
  if (memchr(name, '\0', name_len) != NULL || memchr(value, '\0', value_len) != NULL) {
    return CGI_ERR_NUL_BYTE;
  }
  cgi_var* existing = find_var(cgi, name, name_len);
  if (existing != NULL) return append_value(existing, value, value_len);
  if (cgi->var_count == CGI_MAX_VARIABLES) return CGI_ERR_TOO_MANY_VARIABLES;
  cgi_var* var = &cgi->vars[cgi->var_count];
  var->name = copy_bytes(name, name_len);
  var->value = copy_bytes(value, value_len);
  if (var->name == NULL || var->value == NULL) {
    free(var->name);
    free(var->value);
    var->name = var->value = NULL;
    return CGI_ERR_NO_MEMORY;
  }
  ++cgi->var_count;
  return CGI_OK;
}

/* NULL-terminated copy of the given strings, NULL when there is none. */
static char** make_list(const char* const* names, size_t count) {
  if (count == 0) return NULL;
  char** list = calloc(count + 1, sizeof *list);
  if (list == NULL) return NULL;
  for (size_t i = 0; i < count; ++i) {
    list[i] = strdup(names[i]);
    if (list[i] == NULL) {
      cgiFreeList(list);
      return NULL;
    }
  }
  return list;
}

char** cgiGetVariables(s_cgi* cgi) {
  if (cgi == NULL) return NULL;
  const char* names[CGI_MAX_VARIABLES];
  for (size_t i = 0; i < cgi->var_count; ++i) names[i] = cgi->vars[i].name;
  return make_list(names, cgi->var_count);
}

char* cgiGetValue(s_cgi* cgi, const char* name) {
  if (cgi == NULL || name == NULL) return NULL;
  cgi_var* var = find_var(cgi, name, strlen(name));
  return var ? var->value : NULL;
}

static s_file* find_file(s_cgi* cgi, const char* name, size_t before) {
  for (size_t i = 0; i < before; ++i) {
    if (strcmp(cgi->uploads[i].file.name, name) == 0) return &cgi->uploads[i].file;
  }
  return NULL;
}

char** cgiGetFiles(s_cgi* cgi) {
  if (cgi == NULL) return NULL;
  const char* names[CGI_MAX_PARTS];
  size_t count = 0;
  for (size_t i = 0; i < cgi->upload_count; ++i) {
    const char* name = cgi->uploads[i].file.name;
    if (find_file(cgi, name, i) == NULL) names[count++] = name;
  }
  return make_list(names, count);
}

s_file* cgiGetFile(s_cgi* cgi, const char* name) {
  if (cgi == NULL || name == NULL) return NULL;
  return find_file(cgi, name, cgi->upload_count);
}

char* cgiGetText(s_cgi* cgi) { return cgi ? cgi->text : NULL; }

void cgiFreeList(char** list) {
  if (list == NULL) return;
  for (char** p = list; *p != NULL; ++p) free(*p);
  free(list);
}

void cgi_handle_drop_multipart(s_cgi* cgi) {
  for (size_t i = 0; i < cgi->var_count; ++i) {
    free(cgi->vars[i].name);
    free(cgi->vars[i].value);
  }
  cgi->var_count = 0;
  for (size_t i = 0; i < cgi->upload_count; ++i) {
    cgi_upload* upload = &cgi->uploads[i];
    cgi_upload_discard(upload);
    free(upload->file.name);
    free(upload->file.type);
    free(upload->file.filename);
    free(upload->file.tmpfile);
  }
  cgi->upload_count = 0;
}

void cgiFree(s_cgi* cgi) {
  if (cgi == NULL) return;
  cgi_handle_drop_multipart(cgi);
  free(cgi->text);
  free(cgi->deferred_type);
  free(cgi);
}
