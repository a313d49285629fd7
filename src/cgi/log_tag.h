// Logging for the program's own modules: every record carries the tag
// "orvo_cgi" and the module path the file defines once, as in
//   namespace orvo::rest::status { constexpr char kLogFile[] = "src/rest_status"; }
// The module paths are names the log's readers know ("src/rest_status" is
// endpoints/status.cpp), so they stay as they are when files move.
#pragma once

#include <syslog.h>

#include "orvo/log.h"

namespace orvo {
namespace rest {
constexpr char kLogTag[] = "orvo_cgi";
}  // namespace rest
}  // namespace orvo

// The entry points (rest_<endpoint>_main) live outside the module
// namespaces, as the registry names them; they log under the same tag.
using orvo::rest::kLogTag;
