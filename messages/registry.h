// Construction of a request message from its function name, for callers that
// only know the name (the bus client for people, the daemons).
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "orvo/ipc/messages/base.h"

namespace orvo {
namespace ipc {
namespace messages {

// A request of the class named `functionName`, holding a copy of `body`
// (not yet normalised); nullptr for a name no class has. "CancelWait" has no
// class of its own and comes back as a plain BaseRequestMessage with that
// function name.
std::unique_ptr<BaseRequestMessage> makeRequestByName(std::string const& functionName,
                                                      orvo::variant::Variant const& body);

// The names makeRequestByName() knows, in registry order.
std::size_t requestNameCount();
char const* requestName(std::size_t index);

}  // namespace messages
}  // namespace ipc
}  // namespace orvo
