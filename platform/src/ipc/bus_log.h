// Warnings of the bus library: LOG_WARNING, tag "orvo_ipc". Problems of peers
// (garbled frames, unknown answers, lost connections) are tolerated and only
// logged, never fatal.
#pragma once

#include "orvo/log.h"

#define ORVO_BUS_WARN(function, ...) \
  logInternal("orvo_ipc", "platform/ipc", (function), __LINE__, LOG_WARNING, 0, 0, __VA_ARGS__)
