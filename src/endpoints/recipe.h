// The one shape of every endpoint handler. An endpoint declares one
// `Endpoint` row (its log identity, the methods it serves with the function
// for each, how it refuses the others, the lock a method runs under, the
// kind of reply) and its entry point hands the request to `serveEndpoint`,
// which opens the log, checks the method, takes the lock, runs the function
// and writes the reply.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "cgi/orvo_cgi.h"
#include "orvo/variant/variant.h"

namespace orvo::rest {

// One request as the dispatcher hands it to an endpoint.
struct Call {
  cgi::CGIRequest const& request;
  cgi::CGIResponse& response;
  std::string const& version;
  std::string const& endpoint;
  std::string const& rest;
};

// What a method function returns: `kReply` leaves the answer to its row's
// `Reply`; a number is the handler's result, the function having answered
// itself or left the preset status (500, or what it set) for the commit at exit.
using Outcome = std::optional<int>;
inline constexpr std::nullopt_t kReply = std::nullopt;

using MethodFunction = Outcome (*)(Call const& call, variant::Variant& document);

enum class Reply {
  kOk,        // 200 with the body the function wrote, if any
  kDocument,  // 200 with `document` as JSON
};

struct MethodRow {
  char const* method;  // "GET", ...; nullptr: every method
  MethodFunction serve;
  Reply reply;
  char const* lock;  // single-instance lock held while it runs; nullptr: none
  // kDocument: the step (null: the handler's name) and text logged when the
  // document cannot be written as JSON (the answer stays as it is, 500 unless
  // the function set another); a null text logs nothing.
  char const* jsonStep;
  char const* jsonFailure;
};

inline constexpr char const* kAnyMethod = nullptr;

// A method answered 200 with what its function wrote.
constexpr MethodRow okRow(char const* method, MethodFunction serve, char const* lock = nullptr) {
  return {method, serve, Reply::kOk, lock, nullptr, nullptr};
}

// What most endpoints log when a document cannot be written as JSON.
inline constexpr char kJsonFailure[] = "Failed to convert data to JSON format";

// A method answered 200 with its document. When the document cannot be
// written, `failure` is logged under `step` (null: the handler's name).
constexpr MethodRow documentRow(char const* method, MethodFunction serve,
                                char const* step = nullptr, char const* failure = kJsonFailure,
                                char const* lock = nullptr) {
  return {method, serve, Reply::kDocument, lock, step, failure};
}

// A method no row serves: `text` (a format taking the method) is logged
// under the handler's name unless null, then `status` is answered and the
// handler returns `result`.
struct Refusal {
  char const* text;
  char const* status;
  int result;
};

// The usual refusal: the text logged, the preset 500, result -1.
constexpr Refusal loggedRefusal(char const* text) {
  return {text, cgi::kHttpInternalError, -1};
}

inline constexpr std::size_t kMostMethods = 2;

struct Endpoint {
  char const* identity;  // the log identity (openlog), e.g. "rest_ap"
  char const* logFile;   // the module path records carry, e.g. "src/rest_ap"
  char const* handler;   // the step a refusal is logged under, e.g. "rest_ap_main"
  MethodRow methods[kMostMethods];  // unused rows have no function
  Refusal refusal;
};

int serveEndpoint(Endpoint const& endpoint, Call const& call);

}  // namespace orvo::rest
