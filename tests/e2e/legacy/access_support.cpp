#include "access_support.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

#include "harness/http.h"
#include "orvo/ipc/bus_server.h"
#include "orvo/variant/variant.h"

namespace orvo {
namespace e2e {

CgiAnswer parseCgiAnswer(ProcessResult const& result) {
  CgiAnswer answer;
  answer.exitCode = result.exited ? result.exitCode : -1;
  std::string const& out = result.out;
  std::size_t end = out.find("\r\n\r\n");
  if (end == std::string::npos) return answer;
  std::istringstream head(out.substr(0, end + 2));
  for (std::string line; std::getline(head, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::size_t colon = line.find(": ");
    if (colon == std::string::npos) continue;
    answer.headers[line.substr(0, colon)] = line.substr(colon + 2);
  }
  answer.status = answer.headers.count("Status") ? answer.headers["Status"] : "";
  answer.body = out.substr(end + 4);
  return answer;
}

CgiAnswer callCgi(CameraRoot const& root, CgiCall const& call) {
  Environment env{{"REQUEST_METHOD", call.method},
                  {"QUERY_STRING", "id=" + call.id},
                  {"REMOTE_ADDR", call.remoteAddr}};
  if (!call.body.empty()) {
    env["CONTENT_TYPE"] = "application/json";
    env["CONTENT_LENGTH"] = std::to_string(call.body.size());
  }
  if (!call.cookie.empty()) env["HTTP_COOKIE"] = call.cookie;
  CgiOptions options;
  options.limit = std::chrono::seconds(20);
  return parseCgiAnswer(runCgi(root, env, call.body, options));
}

CgiAnswer login(CameraRoot const& root, std::string const& body, std::string const& version,
                std::string const& addr) {
  return callCgi(root, {"POST", version + "/login", body, addr, ""});
}

std::string credentials(std::string const& user, std::string const& password) {
  return "{\"username\":\"" + user + "\",\"password\":\"" + password + "\"}";
}

std::string cookieId(std::string const& setCookie) {
  std::string const prefix = "authId=";
  if (setCookie.compare(0, prefix.size(), prefix) != 0) return "";
  std::size_t end = setCookie.find(';');
  return setCookie.substr(prefix.size(), end == std::string::npos ? end : end - prefix.size());
}

std::string readFileText(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::map<std::string, SessionRecord> readSessions(CameraRoot const& root) {
  std::map<std::string, SessionRecord> sessions;
  std::string text = readFileText(root.file("/tmp/.rest_0_1.db"));
  orvo::variant::Variant db;
  EXPECT_TRUE(db.FromJSON(text)) << "database does not parse: " << text;
  EXPECT_EQ(db.Type(), orvo::variant::VT_OBJECT) << text;
  for (auto it = db.str_begin(); it != db.str_end(); ++it) {
    auto const* addr = it->second.GetKeyChain(orvo::variant::VT_STRING, "remote-addr", false);
    auto const* maxAge = it->second.GetKeyChain(orvo::variant::VT_ANY, "max-age", false);
    EXPECT_TRUE(addr && maxAge) << "record " << it->first << " incomplete in " << text;
    EXPECT_EQ(it->second.KeysCount(), 2u) << text;
    if (!addr || !maxAge) continue;
    EXPECT_NE(maxAge->Type() & 0x4000u, 0u) << "max-age is not a number";
    sessions[it->first] = {*addr, static_cast<unsigned long>(*maxAge)};
  }
  return sessions;
}

std::vector<struct utmp> readBtmp(CameraRoot const& root) {
  std::string text = readFileText(root.file("/var/log/btmp"));
  EXPECT_EQ(text.size() % sizeof(struct utmp), 0u) << "btmp holds a partial record";
  std::vector<struct utmp> records(text.size() / sizeof(struct utmp));
  if (!records.empty()) std::memcpy(records.data(), text.data(), records.size() * sizeof(utmp));
  return records;
}

std::string utmpText(char const* field, std::size_t size) {
  return std::string(field, strnlen(field, size));
}

namespace {

void camsim(CameraRoot const& root, std::string const& command, std::string const& argument) {
  ProcessResult result = runCamsim(command, root.path(), {argument});
  ASSERT_TRUE(result.exited && result.exitCode == 0) << command << " failed: " << result.err;
}

}  // namespace

void moveClock(CameraRoot const& root, std::string const& step) { camsim(root, "clock", step); }
void setToken(CameraRoot const& root, std::string const& token) { camsim(root, "token", token); }

std::vector<std::string> summaries(CameraRoot const& root) { return logSummaries(root); }

bool hasLine(CameraRoot const& root, std::string const& summary) {
  for (auto const& line : logSummaries(root)) {
    if (line == summary) return true;
  }
  return false;
}

std::size_t countLines(CameraRoot const& root, std::string const& textPart) {
  std::size_t count = 0;
  for (auto const& line : logLines(root)) count += line.find(textPart) != std::string::npos;
  return count;
}

namespace {

class AdoptionAnswer : public orvo::ipc::BusServer {
 public:
  AdoptionAnswer(bool adopted) : BusServer("orvo_avclient"), adopted_(adopted) {}
  void HandleRequest(orvo::ipc::messages::BaseRequestMessage& request, bool& accept) override {
    accept = true;
    orvo::variant::Variant answer;
    answer["adopted"] = adopted_;
    respond(request, answer);
  }

 private:
  bool adopted_;
};

// The child: never returns.
[[noreturn]] void serveAdoption(std::string const& root, bool adopted, int ready) {
  setenv("ORVO_ROOT", root.c_str(), 1);
  AdoptionAnswer server(adopted);
  char ok = server.listen() ? 1 : 0;
  (void)!write(ready, &ok, 1);
  close(ready);
  for (;;) server.serve(1000);
}

}  // namespace

FakeAvclient::FakeAvclient(CameraRoot const& root, bool adopted) {
  int pipeFds[2];
  if (pipe(pipeFds) != 0) throw std::runtime_error("pipe failed");
  pid_ = fork();
  if (pid_ == 0) {
    close(pipeFds[0]);
    serveAdoption(root.path(), adopted, pipeFds[1]);
  }
  close(pipeFds[1]);
  char ok = 0;
  ssize_t n = read(pipeFds[0], &ok, 1);
  close(pipeFds[0]);
  if (n != 1 || ok != 1) throw std::runtime_error("stand-in avclient did not listen");
}

FakeAvclient::~FakeAvclient() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
}

}  // namespace e2e
}  // namespace orvo
