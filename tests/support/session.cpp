#include "support/session.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "orvo/variant/variant.h"

namespace orvo {
namespace test {

CgiResult callCgi(CameraRoot const& root, CgiCall const& call) {
  Environment env{{"REQUEST_METHOD", call.method},
                  {"QUERY_STRING", "id=" + call.id},
                  {"REMOTE_ADDR", call.remoteAddr}};
  if (!call.body.empty()) {
    env["CONTENT_TYPE"] = "application/json";
    env["CONTENT_LENGTH"] = std::to_string(call.body.size());
  }
  if (!call.cookie.empty()) env["HTTP_COOKIE"] = call.cookie;
  return runCgi(root, env, call.body, call.program);
}

CgiResult login(CameraRoot const& root, std::string const& body, std::string const& version,
                std::string const& addr) {
  return callCgi(root, {"POST", version + "/login", body, addr, ""});
}

std::string credentials(std::string const& user, std::string const& password) {
  return "{\"username\":\"" + user + "\",\"password\":\"" + password + "\"}";
}

std::string cgiSessionCookie(CameraRoot const& root, std::string const& version,
                             std::string const& addr) {
  CgiResult answer = login(root, credentials("admin", "admin"), version, addr);
  EXPECT_EQ(answer.status, "200") << answer.body;
  return "authId=" + cookieId(answer);
}


std::string loginId(CameraRoot const& root, std::string const& addr) {
  CgiResult answer = login(root, credentials("admin", "admin"), "0.1", addr);
  EXPECT_EQ(answer.status, "200") << answer.body;
  return cookieId(answer);
}

CgiResult sessionRequest(CameraRoot const& root, std::string const& id, std::string const& addr) {
  return callCgi(root, {"GET", "0.1/status", "", addr, id.empty() ? "" : "authId=" + id});
}

std::string cookieId(std::string const& setCookie) {
  std::string const prefix = "authId=";
  if (setCookie.compare(0, prefix.size(), prefix) != 0) return "";
  std::size_t end = setCookie.find(';');
  return setCookie.substr(prefix.size(), end == std::string::npos ? end : end - prefix.size());
}

std::string cookieId(CgiResult const& answer) {
  return cookieId(answer.header("Set-Cookie").value_or(""));
}

std::string sessionCookie(SimulatedCamera const& camera) {
  HttpResponse answer = camera.request({"POST", "/api/1.2/login",
                                        {"Content-Type: application/json"},
                                        credentials("admin", "admin")});
  EXPECT_EQ(answer.status, 200) << answer.body;
  return "Cookie: authId=" + cookieId(answer.header("Set-Cookie").value_or(""));
}

std::map<std::string, SessionRecord> readSessions(CameraRoot const& root) {
  std::map<std::string, SessionRecord> sessions;
  std::string text = root.read(kSessionDatabase);
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

namespace {

// AArch64's record (the virtual camera's): the same fields up to ut_exit,
// then 64-bit ut_session and ut_tv, 400 bytes in all.
constexpr std::size_t kAarch64Utmp = 400;
constexpr std::size_t kCommonPrefix = offsetof(struct utmp, ut_session);

struct utmp utmpOfAarch64(char const* record) {
  struct utmp out {};
  std::memcpy(&out, record, kCommonPrefix);
  std::int64_t session = 0, seconds = 0, microseconds = 0;
  std::memcpy(&session, record + 336, 8);
  std::memcpy(&seconds, record + 344, 8);
  std::memcpy(&microseconds, record + 352, 8);
  out.ut_session = static_cast<decltype(out.ut_session)>(session);
  out.ut_tv.tv_sec = static_cast<decltype(out.ut_tv.tv_sec)>(seconds);
  out.ut_tv.tv_usec = static_cast<decltype(out.ut_tv.tv_usec)>(microseconds);
  std::memcpy(out.ut_addr_v6, record + 360, sizeof out.ut_addr_v6);
  return out;
}

}  // namespace

std::vector<struct utmp> readBtmp(CameraRoot const& root) {
  std::string text = root.read(kFailedLogins);
  if (root.isVirtualCamera()) {
    EXPECT_EQ(text.size() % kAarch64Utmp, 0u) << "btmp holds a partial record";
    std::vector<struct utmp> records;
    for (std::size_t at = 0; at + kAarch64Utmp <= text.size(); at += kAarch64Utmp) {
      records.push_back(utmpOfAarch64(text.data() + at));
    }
    return records;
  }
  EXPECT_EQ(text.size() % sizeof(struct utmp), 0u) << "btmp holds a partial record";
  std::vector<struct utmp> records(text.size() / sizeof(struct utmp));
  if (!records.empty()) std::memcpy(records.data(), text.data(), records.size() * sizeof(utmp));
  return records;
}

std::string utmpText(char const* field, std::size_t size) {
  return std::string(field, strnlen(field, size));
}

}  // namespace test
}  // namespace orvo
