#include "endpoints/recipe.h"

#include "cgi/log_tag.h"
#include "orvo/utils/mutex.h"

namespace orvo::rest {

namespace {

MethodRow const* rowFor(Endpoint const& endpoint, std::string const& method) {
  for (MethodRow const& row : endpoint.methods) {
    if (row.serve == nullptr) continue;
    if (row.method == nullptr || method == row.method) return &row;
  }
  return nullptr;
}

int refuse(Endpoint const& endpoint, Call const& call) {
  Refusal const& refusal = endpoint.refusal;
  if (refusal.text != nullptr) {
    // The format is one of the endpoints' own constant texts.
    logInternal(kLogTag, endpoint.logFile, endpoint.handler, __LINE__, LOG_ERR, 0, 0, refusal.text,
                call.request.Method().c_str());
  }
  call.response.SetStatus(refusal.status);
  call.response.Commit();
  return refusal.result;
}

int reply(Endpoint const& endpoint, MethodRow const& row, Call const& call,
          variant::Variant const& document) {
  if (row.reply == Reply::kDocument) {
    std::string text;
    if (!document.ToJSON(text, false)) {
      if (row.jsonFailure != nullptr) {
        char const* step = row.jsonStep != nullptr ? row.jsonStep : endpoint.handler;
        logInternal(kLogTag, endpoint.logFile, step, __LINE__, LOG_ERR, 0, 0, "%s",
                    row.jsonFailure);
      }
      return -1;
    }
    call.response.body << text;
  }
  call.response.SetStatus(cgi::kHttpOk);
  return call.response.Commit();
}

int serveRow(Endpoint const& endpoint, MethodRow const& row, Call const& call) {
  variant::Variant document;
  Outcome const outcome = row.serve(call, document);
  if (outcome) return *outcome;
  return reply(endpoint, row, call, document);
}

}  // namespace

int serveEndpoint(Endpoint const& endpoint, Call const& call) {
  openlog(endpoint.identity, LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);
  MethodRow const* row = rowFor(endpoint, call.request.Method());
  if (row == nullptr) return refuse(endpoint, call);
  if (row->lock == nullptr) return serveRow(endpoint, *row, call);
  InterProcessMutex mutex(row->lock, false);
  if (!cgi::lock(row->lock, mutex, call.response)) return call.response.Commit();
  return serveRow(endpoint, *row, call);
}

}  // namespace orvo::rest
