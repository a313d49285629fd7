// Every answer an end-to-end test receives from rest.cgi, held against
// docs/openapi.yaml (bundled to JSON at build time): path, method, status,
// content type and, for JSON, the body against its JSON Schema (RapidJSON's
// validator). runCgi and httpRequest hand their answers here.
#pragma once

#include <string>
#include <vector>

namespace orvo {
namespace test {

struct ApiAnswer {
  std::string request;      // the request string after "id=" ("1.2/status")
  std::string method;       // "GET", ...
  int status = 0;           // 0: no answer at all (nothing is checked)
  std::string contentType;  // the Content-Type header, "" when none
  std::string body;
};

// What the document says was wrong with the answer; empty when it fits.
// An answer to a target or method the document does not describe must have
// an empty body (the dispatcher's and the handlers' refusals).
std::vector<std::string> apiAnswerProblems(ApiAnswer const& answer);

// apiAnswerProblems, each problem an ADD_FAILURE of the calling test; a
// described answer is appended to the run's list of exercised answers as
// "<endpoint> <method> <status>".
void checkApiAnswer(ApiAnswer const& answer);

// The request string of a query string: everything after its first "id="
// (as rest.cgi takes it), "" when there is none.
std::string requestOfQuery(std::string const& query);
// The request string of an HTTP target ("/api/1.2/status?x=1" is
// "1.2/status&x=1", as the web server rewrites it), "" for other targets.
std::string requestOfTarget(std::string const& target);

// Every (endpoint, method, status) the document describes, as
// "<endpoint> <method> <status>", and those of the exercised list.
std::vector<std::string> documentedAnswers();
std::vector<std::string> exercisedAnswers();

}  // namespace test
}  // namespace orvo
