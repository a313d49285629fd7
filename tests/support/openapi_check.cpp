#include "support/openapi_check.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>

#if defined(__clang__)
#pragma clang attribute push(__attribute__((no_sanitize("pointer-overflow"))), apply_to = function)
#endif
#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/pointer.h>
#include <rapidjson/schema.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#if defined(__clang__)
#pragma clang attribute pop
#endif

namespace orvo {
namespace test {

namespace {

using rapidjson::Document;
using rapidjson::Value;

constexpr char kPathPrefix[] = "/api/{version}/";
constexpr char const* kMethods[] = {"get", "put", "post", "delete", "options", "head", "patch"};

// The bundled document, read once per process.
Document const& openApi() {
  static Document const document = [] {
    Document parsed;
    std::ifstream in(ORVO_OPENAPI_JSON);
    std::stringstream text;
    text << in.rdbuf();
    parsed.Parse(text.str().c_str());
    if (parsed.HasParseError() || !parsed.IsObject() || !parsed.HasMember("paths")) {
      parsed.SetObject();
      parsed.AddMember("paths", Value(rapidjson::kObjectType), parsed.GetAllocator());
    }
    return parsed;
  }();
  return document;
}

// A member, following one "$ref" to a place in the same document.
Value const* memberOf(Value const* object, char const* name) {
  if (object == nullptr || !object->IsObject()) return nullptr;
  auto found = object->FindMember(name);
  if (found == object->MemberEnd()) return nullptr;
  Value const* value = &found->value;
  if (value->IsObject() && value->HasMember("$ref") && (*value)["$ref"].IsString()) {
    std::string const ref = (*value)["$ref"].GetString();
    if (ref.empty() || ref[0] != '#') return nullptr;
    return rapidjson::Pointer(ref.substr(1).c_str()).Get(openApi());
  }
  return value;
}

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// "application/json; charset=utf-8" is "application/json".
std::string mediaType(std::string const& contentType) {
  std::string type = contentType.substr(0, contentType.find(';'));
  while (!type.empty() && type.back() == ' ') type.pop_back();
  return lower(type);
}

struct Target {
  std::string version;
  std::string endpoint;
};

// Version and endpoint as the dispatcher splits the request string; the
// rest path after a second "/" is the handler's and is not looked at.
Target targetOf(std::string const& request) {
  Target target;
  std::size_t const slash = request.find('/');
  if (slash == std::string::npos) return target;
  target.version = request.substr(0, slash);
  std::size_t const second = request.find('/', slash + 1);
  target.endpoint = request.substr(slash + 1, second == std::string::npos ? second : second - slash - 1);
  return target;
}

bool acceptsVersion(Value const* pathItem, std::string const& version) {
  Value const* parameters = memberOf(pathItem, "parameters");
  if (parameters == nullptr || !parameters->IsArray()) return false;
  for (Value const& entry : parameters->GetArray()) {
    Value const* parameter = &entry;
    if (entry.HasMember("$ref")) {
      parameter = rapidjson::Pointer(std::string(entry["$ref"].GetString()).substr(1).c_str()).Get(openApi());
    }
    Value const* versions = memberOf(memberOf(parameter, "schema"), "enum");
    if (versions == nullptr || !versions->IsArray()) continue;
    for (Value const& accepted : versions->GetArray()) {
      if (accepted.IsString() && version == accepted.GetString()) return true;
    }
  }
  return false;
}

// The operation the answer belongs to, or null when the document does not
// describe the target, the version or the method.
Value const* operationOf(ApiAnswer const& answer, Target const& target) {
  if (target.endpoint.empty()) return nullptr;
  std::string const path = kPathPrefix + target.endpoint;
  Value const* pathItem = memberOf(memberOf(&openApi(), "paths"), path.c_str());
  if (pathItem == nullptr || !acceptsVersion(pathItem, target.version)) return nullptr;
  return memberOf(pathItem, lower(answer.method).c_str());
}

// A schema of the document as a schema document of its own: a copy of the
// schema with the document's components beside its keywords, where its
// references point.
rapidjson::SchemaDocument const& schemaAt(Value const& schema) {
  static std::map<Value const*, std::pair<std::unique_ptr<Document>,
                                          std::unique_ptr<rapidjson::SchemaDocument>>> cache;
  // Tests send requests from several threads; a made schema document is
  // only read, and a map's entries stay where they are.
  static std::mutex cacheMutex;
  std::lock_guard<std::mutex> const lock(cacheMutex);
  auto& entry = cache[&schema];
  if (!entry.second) {
    entry.first = std::make_unique<Document>();
    Document& copy = *entry.first;
    copy.CopyFrom(schema, copy.GetAllocator());
    if (copy.IsObject() && !copy.HasMember("components")) {
      copy.AddMember("components", Value(openApi()["components"], copy.GetAllocator()), copy.GetAllocator());
    }
    entry.second = std::make_unique<rapidjson::SchemaDocument>(copy);
  }
  return *entry.second;
}

std::string jsonText(Value const& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return buffer.GetString();
}

void checkJsonBody(std::string const& body, Value const& schema, std::vector<std::string>& problems) {
  Document parsed;
  parsed.Parse(body.c_str());
  if (parsed.HasParseError()) {
    problems.push_back(std::string("body is not JSON: ") + rapidjson::GetParseError_En(parsed.GetParseError()));
    return;
  }
  rapidjson::SchemaValidator validator(schemaAt(schema));
  if (parsed.Accept(validator)) return;
  rapidjson::StringBuffer where;
  validator.GetInvalidDocumentPointer().StringifyUriFragment(where);
  rapidjson::StringBuffer rule;
  validator.GetInvalidSchemaPointer().StringifyUriFragment(rule);
  problems.push_back(std::string("body does not fit its schema: at ") + where.GetString() + " the rule '" +
                     validator.GetInvalidSchemaKeyword() + "' of " + rule.GetString() + " fails");
}

void checkContent(ApiAnswer const& answer, Value const* response, std::vector<std::string>& problems) {
  Value const* content = memberOf(response, "content");
  if (content == nullptr || content->MemberCount() == 0) {
    if (!answer.body.empty()) problems.push_back("a body where the document says there is none");
    return;
  }
  // An empty body carries no content type; only a file may be empty.
  std::string const type = mediaType(answer.contentType);
  if (answer.body.empty() && type.empty() && !content->HasMember("application/json")) return;
  Value const* media = memberOf(content, type.c_str());
  if (media == nullptr) {
    problems.push_back("content type '" + answer.contentType + "' is not one of " + jsonText(*content).substr(0, 200));
    return;
  }
  Value const* schema = memberOf(media, "schema");
  if (type == "application/json" && schema != nullptr) checkJsonBody(answer.body, *schema, problems);
}

std::string answerLine(Target const& target, ApiAnswer const& answer) {
  return target.endpoint + " " + lower(answer.method) + " " + std::to_string(answer.status);
}

void record(std::string const& line) {
  int const fd = open(ORVO_OPENAPI_EXERCISED, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) return;
  std::string const text = line + "\n";
  // One short write per line: appends of parallel test programs stay whole.
  ssize_t const written = write(fd, text.data(), text.size());
  (void)written;
  close(fd);
}

}  // namespace

std::vector<std::string> apiAnswerProblems(ApiAnswer const& answer) {
  std::vector<std::string> problems;
  if (answer.status == 0) return problems;
  Target const target = targetOf(answer.request);
  Value const* operation = operationOf(answer, target);
  if (operation == nullptr) {
    if (!answer.body.empty()) problems.push_back("a body in the answer to a request the document does not describe");
    return problems;
  }
  Value const* response = memberOf(memberOf(operation, "responses"), std::to_string(answer.status).c_str());
  if (response == nullptr) {
    problems.push_back("status " + std::to_string(answer.status) + " is not documented");
    return problems;
  }
  checkContent(answer, response, problems);
  return problems;
}

void checkApiAnswer(ApiAnswer const& answer) {
  // A cross build's tests run without the bundled document.
  if (answer.status == 0 || std::string(ORVO_OPENAPI_JSON).empty()) return;
  for (std::string const& problem : apiAnswerProblems(answer)) {
    ADD_FAILURE() << "answer to " << answer.method << " " << answer.request << " (status " << answer.status
                  << ") does not match docs/openapi.yaml: " << problem << "\nbody: " << answer.body.substr(0, 400);
  }
  Target const target = targetOf(answer.request);
  if (operationOf(answer, target) != nullptr) record(answerLine(target, answer));
}

std::string requestOfQuery(std::string const& query) {
  std::size_t const at = query.find("id=");
  return at == std::string::npos ? std::string() : query.substr(at + 3);
}

std::string requestOfTarget(std::string const& target) {
  static std::string const api = "/api/";
  static std::string const cgi = "/cgi-bin/rest.cgi?";
  if (target.compare(0, api.size(), api) == 0) {
    std::string request = target.substr(api.size());
    std::size_t const query = request.find('?');
    if (query != std::string::npos) request[query] = '&';
    return request;
  }
  if (target.compare(0, cgi.size(), cgi) == 0) return requestOfQuery(target.substr(cgi.size()));
  return "";
}

std::vector<std::string> documentedAnswers() {
  std::vector<std::string> answers;
  Value const* paths = memberOf(&openApi(), "paths");
  for (auto const& path : paths->GetObject()) {
    std::string const endpoint = std::string(path.name.GetString()).substr(sizeof kPathPrefix - 1);
    for (char const* method : kMethods) {
      Value const* responses = memberOf(memberOf(&path.value, method), "responses");
      if (responses == nullptr) continue;
      for (auto const& status : responses->GetObject()) {
        answers.push_back(endpoint + " " + method + " " + status.name.GetString());
      }
    }
  }
  return answers;
}

std::vector<std::string> exercisedAnswers() {
  std::set<std::string> lines;
  std::ifstream in(ORVO_OPENAPI_EXERCISED);
  for (std::string line; std::getline(in, line);) lines.insert(line);
  return {lines.begin(), lines.end()};
}

}  // namespace test
}  // namespace orvo
