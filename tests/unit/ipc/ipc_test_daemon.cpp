// A daemon for the bus tests. It listens under a given name and answers every
// request in the way the mode asks, after a given latency, without holding up
// other requests. Every request received is appended as one JSON line to
// "<camera root>/received/<name>", so tests can tell what arrived.
//
//   ipc_test_daemon NAME MODE LATENCY_MS START_DELAY_MS
//
// Modes: echo           answer {"echo": <request>, "servedBy": NAME}
//        silent         never answer
//        garbage        write bytes that are not a frame
//        oversized      write a header announcing more than a frame may hold
//        unknown-first  an answer for another id, then the echo
//        not-json-first a frame that is not JSON, then the echo
//        huge-answer    try to answer with more than a frame may hold
//        crash          exit at the first request, leaving it unanswered
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <list>
#include <string>
#include <utility>

#include "orvo/ipc/bus_server.h"
#include "orvo/ipc/frame.h"
#include "orvo/utils/paths.h"

using orvo::ipc::BusServer;
using orvo::ipc::messages::BaseRequestMessage;
using orvo::variant::Variant;

namespace {

volatile sig_atomic_t gStop = 0;

int64_t monotonicMs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<int64_t>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

void record(std::string const& name, Variant const& request) {
  std::string folder = orvo::utils::devicePath("/received");
  mkdir(folder.c_str(), 0755);
  std::string line;
  request.ToJSON(line, false);
  line += "\n";
  int fd = open((folder + "/" + name).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) return;
  ssize_t ignored = write(fd, line.data(), line.size());
  (void)ignored;
  close(fd);
}

class TestDaemon : public BusServer {
 public:
  TestDaemon(std::string const& name, std::string mode, int latencyMs)
      : BusServer(name), mode_(std::move(mode)), latencyMs_(latencyMs) {}

  // Answers every request whose time has come; returns ms until the next one.
  int answerDue() {
    int64_t const now = monotonicMs();
    int wait = 1000;
    for (auto it = due_.begin(); it != due_.end();) {
      if (it->first <= now) {
        answer(it->second);
        it = due_.erase(it);
      } else {
        wait = std::min<int>(wait, static_cast<int>(it->first - now));
        ++it;
      }
    }
    return wait;
  }

 protected:
  void HandleRequest(BaseRequestMessage& request, bool& accept) override {
    record(name(), request);
    (void)accept;
    if (mode_ == "silent") return;  // kept open, never answered
    if (mode_ == "crash") _exit(3);
    due_.emplace_back(monotonicMs() + latencyMs_, request);
  }

 private:
  void answer(BaseRequestMessage& request) {
    Variant echo;
    echo["echo"] = static_cast<Variant const&>(request);
    echo["servedBy"] = name();
    if (mode_ == "garbage") {
      sendRaw(request, "this is not a frame of the bus\n");
    } else if (mode_ == "oversized") {
      sendRaw(request, std::string("ORVB\x7f\xff\xff\xff", 8));
    } else if (mode_ == "unknown-first" || mode_ == "not-json-first") {
      std::string first;
      if (mode_ == "unknown-first") {
        Variant other = echo;
        other["id"] = request.id() + 1;
        orvo::ipc::encodeMessage(other, first);
      } else {
        orvo::ipc::encodeFrame("{not json", first);
      }
      Variant answer = echo;
      answer["id"] = request.id();
      answer["from"] = name();
      answer["to"] = request.from();
      std::string second;
      orvo::ipc::encodeMessage(answer, second);
      sendRaw(request, first + second);
    } else if (mode_ == "huge-answer") {
      echo["padding"] = std::string(orvo::ipc::kMaxFramePayloadBytes + 1, 'x');
      respond(request, echo);
    } else {
      respond(request, echo);
    }
  }

  std::string mode_;
  int latencyMs_;
  std::list<std::pair<int64_t, BaseRequestMessage>> due_;
};

void onSignal(int) { gStop = 1; }

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: %s NAME MODE LATENCY_MS START_DELAY_MS\n", argv[0]);
    return 2;
  }
  struct sigaction action {};
  action.sa_handler = onSignal;
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  int const startDelayMs = std::atoi(argv[4]);
  if (startDelayMs > 0) usleep(static_cast<useconds_t>(startDelayMs) * 1000);
  TestDaemon daemon(argv[1], argv[2], std::atoi(argv[3]));
  if (!daemon.listen()) return 1;
  while (!gStop) {
    int const wait = daemon.answerDue();
    daemon.serve(static_cast<unsigned>(wait));
  }
  return 0;
}
