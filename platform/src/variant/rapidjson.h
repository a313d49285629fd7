// RapidJSON, included in one place. Its internal stack computes
// `nullptr + size` before its first allocation (rapidjson 1.1.0, stack.h),
// which UBSan's pointer-overflow check reports on every parse and write;
// the arithmetic is harmless there, so that one check is off for RapidJSON's
// own functions and stays on for ours.
#pragma once

#if defined(__clang__)
#pragma clang attribute push(__attribute__((no_sanitize("pointer-overflow"))), apply_to = function)
#endif

#include <rapidjson/memorystream.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#if defined(__clang__)
#pragma clang attribute pop
#endif
