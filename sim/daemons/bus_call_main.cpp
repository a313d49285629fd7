// orvo_bus_call: sends one message to a daemon and prints its answer.
//   orvo_bus_call DAEMON 'JSON' [LIMIT_MS]
// The JSON is normalised as the class its "functionName" names. Without a
// "responseExpected" member the message asks for an answer. Exit status: 0
// answered (or delivered, when no answer was asked for), 1 no answer in time,
// 2 bad arguments.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "messages/registry.h"
#include "orvo/ipc/blocking_ipc_handler.h"

namespace {

using orvo::variant::Variant;

constexpr unsigned kDefaultLimitMs = 5000;
constexpr unsigned long kMaxLimitMs = 600000;
constexpr char kSource[] = "orvo_bus_call";

int usage() {
  std::fputs("usage: orvo_bus_call DAEMON 'JSON' [LIMIT_MS]\n", stderr);
  return 2;
}

bool parseLimit(char const* text, unsigned& ms) {
  char* end = nullptr;
  unsigned long const value = std::strtoul(text, &end, 10);
  if (*text < '0' || *text > '9' || *end != '\0' || value > kMaxLimitMs) return false;
  ms = static_cast<unsigned>(value);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  unsigned limitMs = kDefaultLimitMs;
  if (argc < 3 || argc > 4 || (argc == 4 && !parseLimit(argv[3], limitMs))) return usage();
  Variant body;
  if (!body.FromJSON(argv[2]) || body.Type() != orvo::variant::VT_OBJECT) {
    std::fputs("orvo_bus_call: the message must be a JSON object\n", stderr);
    return 2;
  }
  if (body.GetKeyChain(orvo::variant::VT_ANY, "responseExpected", false) == nullptr) {
    body["responseExpected"] = true;
  }
  Variant const* name = body.GetKeyChain(orvo::variant::VT_STRING, "functionName", false);
  std::string const functionName = name != nullptr ? static_cast<std::string>(*name) : "";
  auto message = orvo::ipc::messages::makeRequestByName(functionName, body);
  // A name no class has still goes out as it is: the daemon's refusal is the answer.
  if (!message) message = std::make_unique<orvo::ipc::messages::BaseRequestMessage>(body);
  message->NormalizeFields();
  bool const wantAnswer = message->responseExpected();
  Variant answer;
  if (!orvo::ipc::BlockingIpcHandler::sendIpcBlocking(orvo::ipc::appendSuffix(kSource), argv[1],
                                                     *message, &answer, true, limitMs)) {
    std::fprintf(stderr, "orvo_bus_call: no answer from %s within %u ms\n", argv[1], limitMs);
    return 1;
  }
  if (!wantAnswer) return 0;
  std::string text;
  if (!answer.ToJSON(text, true)) return 1;
  std::printf("%s\n", text.c_str());
  return 0;
}
