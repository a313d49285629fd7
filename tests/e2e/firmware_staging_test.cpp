// What a hostile local user can do to the staged firmware image and the
// session database: "/tmp" is everybody's (1777), so they may plant a file,
// a link, a folder or a FIFO where rest.cgi keeps its state, before it does.
// Nothing planted is ever flashed, it costs at most the request that finds
// it, and a rest.cgi that is not root (run through setpriv) is not locked
// out by what the sticky bit keeps it from replacing.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/camera.h"
#include "support/firmware.h"
#include "support/json.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

namespace fs = std::filesystem;
using orvo::variant::Variant;

constexpr char kVersion[] = "OV-B4.v4.24.2.68.abc1234.230601.1200";
constexpr char kPlantedVersion[] = "OV-B4.v6.6.6.68.bad0bad.230601.1200";
constexpr unsigned kNeighbour = 4343;  // the hostile local user
constexpr unsigned kCgiUser = 4242;    // rest.cgi's user where it is not root
constexpr char kRebootRequest[] = "/sim/reboot-requested";

std::string versionOf(CameraRoot const& root) {
  return text(parsed(root.read("/etc/orvo/camera_info.json")), "version");
}

// A root of its own per test: what is planted stays where it was put.
struct PlantedRoot : CameraRoot {
  PlantedRoot() : CameraRoot(Layout::kCamsim) {
    // Others may reach the camera's /tmp, as on the device.
    fs::permissions(path(), fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec);
    // Nothing of rest.cgi's yet: the neighbour comes first.
    fs::remove(file(kPrivateFolder));
    image = makeImage(*this, "planted.bin", kPlantedVersion);
    fs::permissions(image, fs::perms::others_read, fs::perm_options::add);
  }
  // Runs `script` (sh, in the root's /tmp) as `uid`; the test fails unless it succeeds.
  void as(unsigned uid, std::string const& script) const {
    std::vector<std::string> command = asUser(uid);
    command.insert(command.end(), {"/bin/sh", "-ec", "cd \"$0\"; " + script, file("/tmp")});
    ProcessResult ran = runCommand(command, {"PATH=/usr/bin:/bin"});
    ASSERT_TRUE(ran.exited && ran.exitCode == 0) << script << ": " << ran.err;
  }
  std::string version() const {
    return text(parsed(read("/etc/orvo/camera_info.json")), "version");
  }
  bool logged(std::string const& summary) const { return hasSummary(logRecords(*this), summary); }

  std::string image;  // a valid image the neighbour would like flashed
};

std::string quoted(std::string const& text) { return "\"" + text + "\""; }

// What the neighbour puts at the staged image's place inside a folder of
// their own named like rest.cgi's, beside a copy at the old staging path.
std::string plantScript(std::string const& kind, std::string const& image) {
  std::string const at = ".rest/fwupdate.bin";
  std::string script = "cp '" + image + "' fwupdate.bin; mkdir -m 0777 .rest; ";
  if (kind == "file") return script + "cp '" + image + "' " + at + "; chmod 0600 " + at;
  if (kind == "link") return script + "ln -s '" + image + "' " + at;
  if (kind == "folder") return script + "mkdir " + at + "; touch " + at + "/x";
  return script + "mkfifo " + at;
}

class PlantedAsAnotherUser : public ::testing::TestWithParam<char const*> {};

TEST_P(PlantedAsAnotherUser, IsNeverFlashedAndCostsOneRequest) {
  if (::geteuid() != 0) GTEST_SKIP() << "acting as other users needs root";
  PlantedRoot root;
  root.as(kNeighbour, plantScript(GetParam(), root.image));
  std::string const before = root.version();

  // The first request to use the folder finds it, logs it and moves it aside.
  std::string const cookie = cgiSessionCookie(root);
  EXPECT_TRUE(
      root.logged("rest_login err orvo_cgi: src/private_dir:PrivateDir: Refusing '/tmp/.rest': "
                  "it is owned by uid 4343, not 0"));
  CgiResult upgrade = runUpload(root, {"GET", "upgrade", cookie, "", "", "0"});
  EXPECT_EQ(upgrade.status, "500");
  EXPECT_TRUE(
      root.logged("rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: Refusing the "
                  "staged image '/tmp/.rest/fwupdate.bin': it does not exist"));
  EXPECT_EQ(root.version(), before) << "a planted image was flashed";
  EXPECT_FALSE(root.exists(kRebootRequest));
  EXPECT_TRUE(root.exists("/tmp/fwupdate.bin"));  // left alone: nothing reads it any more

  // Later uploads, checks and upgrades work.
  std::string const ours = makeImage(root, "ours.bin", kVersion);
  EXPECT_EQ(postMultipart(root, "check", cookie, fileBody(ours)).status, "200");
  EXPECT_EQ(postMultipart(root, "firmware", cookie, fileBody(ours)).status, "200");
  EXPECT_EQ(runUpload(root, {"GET", "upgrade", cookie, "", "", "0"}).status, "200");
  EXPECT_EQ(root.version(), quoted(kVersion));
}

INSTANTIATE_TEST_SUITE_P(EachKind, PlantedAsAnotherUser,
                         ::testing::Values("file", "link", "folder", "fifo"));

// In rest.cgi's own folder only root could plant anything; whatever is not
// the file the upload recorded is refused, removed, and never flashed.
// Each refusal removes what was planted, so the tests share one root.
class PlantedInOurFolder : public SharedRootTest {
 protected:
  void SetUp() override {
    keep({kStagedImage, kStagedRecord, kRebootRequest});
    cookie_ = cgiSessionCookie(root_);
    before_ = versionOf(root_);
    image_ = makeImage(root_, "planted.bin", kPlantedVersion);
  }
  // The upgrade refuses with `why` and the tool never runs.
  void expectRefused(std::string const& why) {
    LogMark const mark(root_);
    CgiResult result = runUpload(root_, {"GET", "upgrade", cookie_, "", "", "0"});
    EXPECT_EQ(result.status, "500");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(
        mark.summaries(),
        (std::vector<std::string>{
            "rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: Refusing "
            "the staged image '/tmp/.rest/fwupdate.bin': it " +
                why,
            "rest_upgrade err orvo_cgi: src/rest_upgrade:rest_upgrade_main: FW update failed"}));
    EXPECT_EQ(versionOf(root_), before_);
    EXPECT_FALSE(root_.exists(kRebootRequest));
    EXPECT_FALSE(stagedImageExists(root_));
  }
  void stageOurs() {
    ASSERT_EQ(
        postMultipart(root_, "firmware", cookie_, fileBody(makeImage(root_, "o.bin", kVersion)))
            .status,
        "200");
  }

  CameraRoot const& root_ = sharedRoot_;
  std::string cookie_, before_, image_;
};

TEST_F(PlantedInOurFolder, AFileNoUploadStaged) {
  fs::copy_file(image_, root_.file(kStagedImage));
  fs::permissions(root_.file(kStagedImage), fs::perms::owner_read | fs::perms::owner_write);
  expectRefused("was not staged by an upload");
}

TEST_F(PlantedInOurFolder, AnotherFileInTheStagedOnesPlace) {
  stageOurs();
  std::string const other = root_.file("/tmp/.rest/other");
  fs::copy_file(image_, other);
  fs::permissions(other, fs::perms::owner_read | fs::perms::owner_write);
  fs::rename(other, root_.file(kStagedImage));
  expectRefused("is not the file the upload staged");
}

TEST_F(PlantedInOurFolder, TheStagedFileWithASecondLink) {
  stageOurs();
  std::string const second = root_.file("/tmp/.rest/second");
  ASSERT_EQ(::link(root_.file(kStagedImage).c_str(), second.c_str()), 0);
  expectRefused("has 2 links");
  fs::remove(second);
}

TEST_F(PlantedInOurFolder, TheStagedFileMadeReadableByOthers) {
  stageOurs();
  ASSERT_EQ(::chmod(root_.file(kStagedImage).c_str(), 0644), 0);
  expectRefused("has mode 0644");
}

TEST_F(PlantedInOurFolder, ALinkAFolderAndAFifo) {
  stageOurs();  // a record that a later plant must not inherit
  ASSERT_EQ(::unlink(root_.file(kStagedImage).c_str()), 0);
  ASSERT_EQ(::symlink(image_.c_str(), root_.file(kStagedImage).c_str()), 0);
  expectRefused("is a symbolic link");
  ASSERT_EQ(::mkdir(root_.file(kStagedImage).c_str(), 0700), 0);
  expectRefused("is a folder");
  ASSERT_EQ(::mkfifo(root_.file(kStagedImage).c_str(), 0600), 0);
  expectRefused("is not a regular file");
}

// rest.cgi as a user of its own: the camera's files are that user's, /tmp
// is root's 1777, and the neighbour has been there first.
class NotRoot : public ::testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "acting as other users needs root";
    for (auto const& entry : fs::recursive_directory_iterator(root_.path())) {
      if (entry.path().string().rfind(root_.file("/tmp"), 0) == 0) continue;
      ASSERT_EQ(::lchown(entry.path().c_str(), kCgiUser, kCgiUser), 0) << entry.path();
    }
    ASSERT_EQ(::chown(root_.path().c_str(), kCgiUser, kCgiUser), 0);
    root_.as(kNeighbour,
             plantScript("file", root_.image) +
                 "; echo '{\"x\":{\"max-age\":1,\"remote-addr\":\"10.1.2.3\"}}' >.rest_0_1.db"
                 "; cp .rest_0_1.db .rest/.rest_0_1.db");
  }
  CgiResult login() {
    CgiCall call{"POST", "0.1/login", credentials("admin", "admin"), "10.1.2.3", ""};
    call.program = CgiProgram::restCgiAsUser(kCgiUser);
    return callCgi(root_, call);
  }
  CgiResult as(UploadCall call) {
    call.program = CgiProgram::restCgiAsUser(kCgiUser);
    return runUpload(root_, call);
  }

  PlantedRoot root_;
};

TEST_F(NotRoot, PlantedSessionDatabasesDoNotKeepLoginsOut) {
  CgiResult first = login();
  ASSERT_EQ(first.status, "200") << first.err;
  EXPECT_TRUE(
      root_.logged("rest_login err orvo_cgi: src/private_dir:PrivateDir: Refusing '/tmp/.rest': "
                   "it is owned by uid 4343, not 4242"));
  std::string const cookie = "authId=" + cookieId(first);
  CgiCall check{"GET", "0.1/status", "", "10.1.2.3", cookie};
  check.program = CgiProgram::restCgiAsUser(kCgiUser);
  EXPECT_EQ(callCgi(root_, check).status, "200");
  // The planted files are still there: the sticky bit keeps them from us.
  EXPECT_TRUE(root_.exists("/tmp/.rest_0_1.db"));
  EXPECT_TRUE(root_.exists("/tmp/.rest/.rest_0_1.db"));
  // A second login finds the same folder of ours.
  EXPECT_EQ(login().status, "200");
  EXPECT_EQ(callCgi(root_, check).status, "200");
}

TEST_F(NotRoot, OnlyTheImageWeStagedIsFlashed) {
  std::string const cookie = "authId=" + cookieId(login());
  std::string const ours = makeImage(root_, "ours.bin", kVersion);
  fs::permissions(ours, fs::perms::others_read, fs::perm_options::add);
  CgiResult staged =
      as({"POST", "firmware", cookie, fileBody(ours), "multipart/form-data; boundary=fwtest", ""});
  EXPECT_EQ(staged.status, "200") << staged.out;
  EXPECT_EQ(staged.body,
            std::string("{\"updateStatus\":\"ok\",\"updatedFwVersion\":\"") + kVersion + "\"}");
  CgiResult upgraded = as({"GET", "upgrade", cookie, "", "", "0"});
  EXPECT_EQ(upgraded.status, "200") << upgraded.err;
  EXPECT_EQ(root_.version(), quoted(kVersion));
}

}  // namespace
}  // namespace test
}  // namespace orvo
