// Text forms of numbers and times shared by ToJSON and ToString.
#pragma once

#include <sys/time.h>

#include <string>

namespace orvo {
namespace variant {
namespace detail {

// Shortest text that reads back as the same double ("0.1", "1e+21").
// `keepDouble` adds ".0" to an integral result so a JSON reader sees a
// double again rather than an integer.
std::string FormatDouble(double value, bool keepDouble);
// "2026-11-21T23:08:12.123456Z"; "" when the time cannot be broken down.
std::string FormatTimeUtc(timeval const& value);

}  // namespace detail
}  // namespace variant
}  // namespace orvo
