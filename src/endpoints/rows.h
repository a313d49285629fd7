// Every endpoint's row, defined by its module (endpoints/<endpoint>.cpp,
// access/login.cpp); the entry points (entry/entry_points.cpp) hand their
// requests to these.
#pragma once

#include "endpoints/recipe.h"

namespace orvo::rest {
namespace ap { extern Endpoint const kEndpoint; }
namespace check { extern Endpoint const kEndpoint; }
namespace connect { extern Endpoint const kEndpoint; }
namespace firmware { extern Endpoint const kEndpoint; }
namespace login { extern Endpoint const kEndpoint; }
namespace manage { extern Endpoint const kEndpoint; }
namespace reset { extern Endpoint const kReboot; }
namespace reset { extern Endpoint const kReset; }
namespace reset_image { extern Endpoint const kEndpoint; }
namespace services { extern Endpoint const kEndpoint; }
namespace settings { extern Endpoint const kEndpoint; }
namespace setup { extern Endpoint const kEndpoint; }
namespace snapshot { extern Endpoint const kEndpoint; }
namespace status { extern Endpoint const kEndpoint; }
namespace support { extern Endpoint const kEndpoint; }
namespace syslog { extern Endpoint const kEndpoint; }
namespace upgrade { extern Endpoint const kEndpoint; }
namespace version { extern Endpoint const kEndpoint; }
}  // namespace orvo::rest
