// The wireless scan's reply, as the tests see it.
#pragma once

#include <string>

namespace orvo::rest::ap {

// The body sent for the serialised scan reply: the reply itself, or "[]"
// (no access points) when it serialised to nothing.
std::string ReplyBody(std::string const& serialised);

}  // namespace orvo::rest::ap
