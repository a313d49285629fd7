// GET id=<version>/version: the API version this program speaks.
#include "endpoints/rows.h"

namespace orvo::rest::version {

constexpr char kApiVersion[] = "1.2";

namespace {

Outcome serveGet(Call const&, variant::Variant& document) {
  document["version"] = kApiVersion;
  return kReply;
}

}  // namespace

Endpoint const kEndpoint = {"rest_version", "src/rest_version", "rest_version_main",
                            {documentRow("GET", serveGet)},
                            loggedRefusal("Cannot process %s request")};

}  // namespace orvo::rest::version
