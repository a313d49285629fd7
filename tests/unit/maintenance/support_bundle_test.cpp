// The support bundle's archive (read back with GNU tar) and what keeps
// secrets out of it.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "support_redact.h"
#include "tar_gz.h"

using orvo::sim::ArchiveEntry;
using orvo::sim::Redactor;
using orvo::sim::tarGz;

namespace {

std::string run(std::string const& command) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return "(popen failed)";
  char buffer[4096];
  for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
  int const status = pclose(pipe);
  return status == 0 ? out : "(exit " + std::to_string(status) + ") " + out;
}

class Archive {
 public:
  explicit Archive(std::string const& bytes) {
    std::string base = std::string(ORVO_BINARY_DIR) + "/tmp";
    mkdir(base.c_str(), 0755);
    path_ = base + "/bundle-XXXXXX";
    int fd = mkstemp(&path_[0]);
    if (fd >= 0) close(fd);
    std::ofstream(path_, std::ios::binary) << bytes;
  }
  ~Archive() { unlink(path_.c_str()); }
  std::string list() const { return run("tar -tzf '" + path_ + "'"); }
  std::string member(std::string const& name) const {
    return run("tar -xzOf '" + path_ + "' '" + name + "'");
  }
  std::string gzipTest() const { return run("gzip -t '" + path_ + "' && echo ok"); }

 private:
  std::string path_;
};

}  // namespace

TEST(TarGz, GnuTarReadsEveryMemberBack) {
  std::string binary("\x00\x01\xff", 3);
  std::string const exactBlock(512, 'b');
  std::vector<ArchiveEntry> entries{{"support/a.txt", "hello\n"},
                                    {"support/state/b.json", binary},
                                    {"support/empty", ""},
                                    {"support/block", exactBlock}};
  Archive archive(tarGz(entries, 1700000000));
  EXPECT_EQ(archive.gzipTest(), "ok\n");
  EXPECT_EQ(archive.list(), "support/a.txt\nsupport/state/b.json\nsupport/empty\nsupport/block\n");
  EXPECT_EQ(archive.member("support/a.txt"), "hello\n");
  EXPECT_EQ(archive.member("support/state/b.json"), binary);
  EXPECT_EQ(archive.member("support/empty"), "");
  EXPECT_EQ(archive.member("support/block"), exactBlock);
}

TEST(TarGz, NamesThatDoNotFitGiveNothing) {
  EXPECT_EQ(tarGz({{std::string(101, 'n'), "x"}}, 0), "");
  EXPECT_EQ(tarGz({{"", "x"}}, 0), "");
  EXPECT_FALSE(tarGz({{std::string(100, 'n'), "x"}}, 0).empty());
}

TEST(TarGz, EmptyArchiveIsStillATar) {
  Archive archive(tarGz({}, 0));
  EXPECT_EQ(archive.gzipTest(), "ok\n");
  EXPECT_EQ(archive.list(), "");
}

TEST(Redactor, SecretKeyNames) {
  for (char const* name : {"rtspPassword", "psk", "PSK", "token", "authToken", "passwordHash",
                           "clientSecret", "key", "privateKey", "passphrase"}) {
    EXPECT_TRUE(Redactor::secretKey(name)) << name;
  }
  for (char const* name : {"keyManagement", "ssid", "username", "hosts", "uuid", "rtspUsername"}) {
    EXPECT_FALSE(Redactor::secretKey(name)) << name;
  }
}

TEST(Redactor, CredentialKeyNames) {
  for (char const* name : {"rtspPassword", "psk", "wifiPsk", "token", "authToken", "passphrase",
                           "clientSecret", "wepKey", "privateKey"}) {
    EXPECT_TRUE(Redactor::credentialKey(name)) << name;
  }
  // "key" names a key management ("wpa", "none"): blanked in a document,
  // never hunted in the log, where it would cut ordinary words.
  for (char const* name : {"key", "keyManagement", "ssid", "username", "hosts", "uuid"}) {
    EXPECT_FALSE(Redactor::credentialKey(name)) << name;
  }
}

TEST(Redactor, TextLosesEveryKnownSecretAtAnyLength) {
  Redactor redactor({"0123456789abcdef", "$6$salt$hashhashhash", "tok-1", "adopt-1", "tok-1", ""});
  EXPECT_EQ(redactor.text("id 0123456789abcdef and 0123456789abcdef, hash $6$salt$hashhashhash"),
            "id (removed) and (removed), hash (removed)");
  // Short secrets too; the longer one holding a shorter one is cut whole.
  EXPECT_EQ(redactor.text("authToken 'tok-1' and adopt-1, tok-12"),
            "authToken '(removed)' and (removed), (removed)2");
}

TEST(Redactor, JsonBlanksSecretValuesAtAnyDepth) {
  Redactor redactor({"live-session-id-1"});
  std::string const out = redactor.json(
      R"({"wifi": {"ssid": "home", "wpa": {"psk": "hunter22"}, "keyManagement": "WPA2"},
          "list": [{"token": "t0k3n"}], "emptyToken": {"token": ""},
          "note": "seen live-session-id-1"})");
  EXPECT_EQ(out.find("hunter22"), std::string::npos) << out;
  EXPECT_EQ(out.find("t0k3n"), std::string::npos) << out;
  EXPECT_EQ(out.find("live-session-id-1"), std::string::npos) << out;
  EXPECT_NE(out.find("\"ssid\": \"home\""), std::string::npos) << out;
  EXPECT_NE(out.find("\"keyManagement\": \"WPA2\""), std::string::npos) << out;
  EXPECT_NE(out.find("\"psk\": \"(removed)\""), std::string::npos) << out;
  EXPECT_NE(out.find("\"token\": \"\""), std::string::npos) << out;
}

TEST(Redactor, BrokenJsonIsTreatedAsText) {
  Redactor redactor({"live-session-id-1"});
  EXPECT_EQ(redactor.json("{broken live-session-id-1"), "{broken (removed)");
}
