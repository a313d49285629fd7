// The serving side in this process, with raw sockets as clients: socket
// files, pairing of answers with requests, and the callbacks of a batch.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bus_test_support.h"
#include "orvo/ipc/bus.h"
#include "orvo/ipc/bus_server.h"
#include "orvo/ipc/frame.h"

using orvo::ipc::BusServer;
using orvo::ipc::FrameDecoder;
using orvo::ipc::messages::BaseRequestMessage;
using orvo::variant::Variant;

namespace {

// Keeps every request it is handed, to answer from the test body.
class RecordingServer : public BusServer {
 public:
  using BusServer::BusServer;
  std::vector<BaseRequestMessage> requests;

 protected:
  void HandleRequest(BaseRequestMessage& request, bool&) override { requests.push_back(request); }
};

int connectRaw(std::string const& name) {
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s",
                orvo::ipc::socketPathFor(name).c_str());
  if (connect(fd, reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

void writeMessage(int fd, char const* json) {
  std::string frame;
  ASSERT_TRUE(orvo::ipc::encodeFrame(json, frame));
  ASSERT_EQ(write(fd, frame.data(), frame.size()), static_cast<ssize_t>(frame.size()));
}

// Serves until the server has `count` requests (at most one second).
void serveUntil(RecordingServer& server, std::size_t count) {
  for (int round = 0; round < 100 && server.requests.size() < count; ++round) server.serve(10);
}

Variant readAnswer(int fd) {
  FrameDecoder decoder;
  std::string payload;
  char buffer[4096];
  while (decoder.next(payload) == FrameDecoder::Status::kNeedMore) {
    ssize_t n = read(fd, buffer, sizeof buffer);
    if (n <= 0) return Variant();
    decoder.feed(buffer, static_cast<std::size_t>(n));
  }
  Variant answer;
  orvo::ipc::decodeMessage(payload, answer);
  return answer;
}

class Server : public ::testing::Test {
 protected:
  void SetUp() override { bustest::cameraRoot(); }
};

}  // namespace

TEST_F(Server, ListenCreatesTheSocketFileAndTheDestructorRemovesIt) {
  std::string const name = bustest::uniqueName("orvo_files");
  std::string const path = orvo::ipc::socketPathFor(name);
  {
    BusServer server(name);
    ASSERT_TRUE(server.listen());
    struct stat st {};
    ASSERT_EQ(stat(path.c_str(), &st), 0);
    EXPECT_TRUE(S_ISSOCK(st.st_mode));
  }
  EXPECT_NE(access(path.c_str(), F_OK), 0);
}

TEST_F(Server, StaleSocketFileIsReplaced) {
  std::string const name = bustest::uniqueName("orvo_stale");
  // What a crashed daemon leaves behind: a file nobody listens on.
  mkdir((bustest::cameraRoot() + "/run").c_str(), 0755);
  mkdir(orvo::ipc::busFolder().c_str(), 0755);
  std::string const path = orvo::ipc::socketPathFor(name);
  FILE* stale = std::fopen(path.c_str(), "w");
  ASSERT_NE(stale, nullptr);
  std::fclose(stale);
  RecordingServer server(name);
  ASSERT_TRUE(server.listen());
  int fd = connectRaw(name);
  EXPECT_GE(fd, 0);
  if (fd >= 0) close(fd);
}

TEST_F(Server, InvalidNameCannotListen) {
  BusServer server("bad/name");
  EXPECT_FALSE(server.listen());
  EXPECT_FALSE(server.serve(0));
}

TEST_F(Server, AnswerCarriesTheRequestsIdAndIsSentOnce) {
  std::string const name = bustest::uniqueName("orvo_pairs");
  RecordingServer server(name);
  ASSERT_TRUE(server.listen());
  int fd = connectRaw(name);
  ASSERT_GE(fd, 0);
  writeMessage(fd, "{\"id\":77,\"from\":\"rest_x.9\",\"to\":\"orvo_pairs\",\"q\":1}");
  serveUntil(server, 1);
  ASSERT_EQ(server.requests.size(), 1u);
  EXPECT_EQ(server.pendingRequests(), 1u);

  Variant reply;
  reply["a"] = 2;
  EXPECT_TRUE(server.respond(server.requests[0], reply));
  EXPECT_FALSE(server.respond(server.requests[0], reply));  // already answered
  EXPECT_EQ(server.pendingRequests(), 0u);
  Variant answer = readAnswer(fd);
  EXPECT_EQ(static_cast<unsigned long>(answer["id"]), 77ul);
  EXPECT_EQ(static_cast<std::string const&>(answer["from"]), name);
  EXPECT_EQ(static_cast<std::string const&>(answer["to"]), "rest_x.9");
  EXPECT_EQ(static_cast<int>(answer["a"]), 2);
  close(fd);
}

TEST_F(Server, RequestWithoutNumericIdIsNotHandled) {
  std::string const name = bustest::uniqueName("orvo_noid");
  RecordingServer server(name);
  ASSERT_TRUE(server.listen());
  int fd = connectRaw(name);
  ASSERT_GE(fd, 0);
  writeMessage(fd, "{\"id\":\"77\",\"from\":\"rest_x.9\"}");
  writeMessage(fd, "{\"id\":78,\"from\":\"rest_x.9\"}");
  serveUntil(server, 1);
  ASSERT_EQ(server.requests.size(), 1u);
  EXPECT_EQ(server.requests[0].id(), 78ul);
  close(fd);
}

TEST_F(Server, ClientGoneDropsItsPendingRequests) {
  std::string const name = bustest::uniqueName("orvo_gone");
  RecordingServer server(name);
  ASSERT_TRUE(server.listen());
  int fd = connectRaw(name);
  ASSERT_GE(fd, 0);
  writeMessage(fd, "{\"id\":5,\"from\":\"rest_x.9\"}");
  serveUntil(server, 1);
  ASSERT_EQ(server.pendingRequests(), 1u);
  close(fd);
  for (int round = 0; round < 100 && server.pendingRequests() > 0; ++round) server.serve(10);
  EXPECT_EQ(server.pendingRequests(), 0u);
  EXPECT_FALSE(server.respond(server.requests[0], Variant()));
}

TEST_F(Server, EndpointThatDoesNotServeRefusesRequests) {
  std::string const name = bustest::uniqueName("orvo_plain");
  BusServer server(name);  // keeps the default HandleRequest
  ASSERT_TRUE(server.listen());
  int fd = connectRaw(name);
  ASSERT_GE(fd, 0);
  writeMessage(fd, "{\"id\":5,\"from\":\"rest_x.9\"}");
  for (int round = 0; round < 20; ++round) server.serve(5);
  EXPECT_EQ(server.pendingRequests(), 0u);
  EXPECT_EQ(bustest::logRecordsWith(name + " serves no requests; dropping 5 from rest_x.9").size(), 1u);
  close(fd);
}
