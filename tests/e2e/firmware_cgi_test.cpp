// The firmware, check and upgrade endpoints, rest.cgi run directly with a
// multipart upload on standard input: every answer byte for byte, the log
// record it leaves, and what stays in the camera's /tmp.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/camera.h"
#include "support/firmware.h"
#include "support/session.h"

namespace orvo {
namespace test {
namespace {

constexpr char kVersion[] = "OV-B4.v4.24.0.68.abc1234.230601.1200";
constexpr char kEmpty400[] = "Status: 400\r\nConnection: close\r\n\r\n";
constexpr char kMoveFailedNoUpload[] =
    "Can't move received file '' (errno 2: No such file or directory)";

std::string readFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string json200(std::string const& body) {
  return "Status: 200\r\nContent-Type: application/json\r\nConnection: close\r\n\r\n" + body;
}

// Direct runs in one shared root; whatever a test left at the staged
// image's path goes with it.
class FirmwareCgi : public SharedRootTest {
 protected:
  void SetUp() override {
    keep({kStagedImage, kStagedRecord});
    cookie_ = cgiSessionCookie(root_);
  }
  CgiResult upload(std::string const& endpoint, std::string const& imagePath) {
    return postMultipart(root_, endpoint, cookie_, fileBody(imagePath));
  }
  std::vector<LogRecord> records(std::string const& identity) {
    std::vector<LogRecord> out;
    for (LogRecord const& r : log()) {
      if (r.identity == identity) out.push_back(r);
    }
    return out;
  }
  // The one record the endpoint logged, as a summary.
  std::string onlyRecord(std::string const& identity) {
    auto found = records(identity);
    EXPECT_EQ(found.size(), 1u);
    return found.empty() ? "" : found.front().summary();
  }

  CameraRoot const& root_ = sharedRoot_;
  std::string cookie_;
};

TEST_F(FirmwareCgi, MakersImageIsStagedWithItsVersion) {
  std::string const image = makeImage(root_, "maker.bin", kVersion, {"--payload-size", "70000"});
  CgiResult result = upload("firmware", image);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, json200(std::string("{\"updateStatus\":\"ok\",\"updatedFwVersion\":\"") +
                                kVersion + "\"}"));
  EXPECT_EQ(root_.read(kStagedImage), readFile(image));
  EXPECT_TRUE(leftoverUploads(root_).empty());
  EXPECT_TRUE(records("rest_firmware").empty());
}

TEST_F(FirmwareCgi, UnsignedImageIsThirdPartyAndStaysStaged) {
  std::string const image = makeImage(root_, "unsigned.bin", "4.0-custom", {"--unsigned"});
  CgiResult result = upload("firmware", image);
  EXPECT_EQ(result.out, json200("{\"updateStatus\":\"thirdPartyFw\",\"updatedFwVersion\":\"4.0-custom\"}"));
  EXPECT_EQ(root_.read(kStagedImage), readFile(image));
}

TEST_F(FirmwareCgi, ImageSignedByAnotherKeyIsThirdParty) {
  std::string const key = root_.file("/sim/other.key");
  camsim(root_, "fwimage", {"--new-key", key});
  std::string const image = makeImage(root_, "other.bin", "9.9.9", {"--key", key});
  CgiResult result = upload("firmware", image);
  EXPECT_EQ(result.out, json200("{\"updateStatus\":\"thirdPartyFw\",\"updatedFwVersion\":\"9.9.9\"}"));
  EXPECT_TRUE(stagedImageExists(root_));
}

TEST_F(FirmwareCgi, EachKindOfDamageIsABadImageAndIsRemoved) {
  for (char const* part : {"header", "payload", "signature"}) {
    SCOPED_TRACE(part);
    std::string const image = makeImage(root_, std::string(part) + ".bin", kVersion, {"--corrupt", part});
    CgiResult result = upload("firmware", image);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, json200("{\"updateStatus\":\"badFwImage\"}"));
    EXPECT_FALSE(stagedImageExists(root_));
    EXPECT_TRUE(leftoverUploads(root_).empty());
  }
  auto found = records("rest_firmware");
  ASSERT_EQ(found.size(), 3u);
  for (LogRecord const& r : found) {
    EXPECT_EQ(r.summary(), "rest_firmware err orvo_cgi: src/rest_firmware:PrepareUpgrade: Bad firmware image");
  }
}

TEST_F(FirmwareCgi, ImageWithoutVersionIsBadButNamesTheEmptyVersion) {
  std::string const image = makeImage(root_, "noversion.bin", "");
  CgiResult result = upload("firmware", image);
  EXPECT_EQ(result.out, json200("{\"updateStatus\":\"badFwImage\",\"updatedFwVersion\":\"\"}"));
  EXPECT_FALSE(stagedImageExists(root_));
  EXPECT_EQ(onlyRecord("rest_firmware"),
            "rest_firmware err orvo_cgi: src/rest_firmware:PrepareUpgrade: "
            "Cannot retrieve FW version from the image");
}

TEST_F(FirmwareCgi, RequestWithoutFwfileAnswers400) {
  std::string const image = makeImage(root_, "maker.bin", kVersion);
  CgiResult result = postMultipart(root_, "firmware", cookie_, fileBody(image, "other"));
  EXPECT_EQ(result.exitCode, 255);
  EXPECT_EQ(result.out, kEmpty400);
  EXPECT_EQ(onlyRecord("rest_firmware"),
            std::string("rest_firmware err orvo_cgi: src/rest_firmware:PrepareUpgrade: ") + kMoveFailedNoUpload);
  EXPECT_FALSE(stagedImageExists(root_));
  EXPECT_TRUE(leftoverUploads(root_).empty());  // the other part's file too
}

TEST_F(FirmwareCgi, AnyMethodIsServedAlike) {
  // A GET carries no upload: the same 400 as a POST without one, no method refusal.
  CgiResult result = runUpload(root_, {"GET", "firmware", cookie_, "", "", "0"});
  EXPECT_EQ(result.out, kEmpty400);
  EXPECT_EQ(onlyRecord("rest_firmware"),
            std::string("rest_firmware err orvo_cgi: src/rest_firmware:PrepareUpgrade: ") + kMoveFailedNoUpload);
}

TEST_F(FirmwareCgi, MultipartBodyCutShortAnswers400AndLeavesNothing) {
  std::string const image = makeImage(root_, "maker.bin", kVersion, {"--payload-size", "200000"});
  std::string body = fileBody(image);
  std::string const full = std::to_string(body.size());
  body.resize(body.size() / 2);
  // The client announced more than it sent.
  CgiResult shortRead =
      runUpload(root_, {"POST", "firmware", cookie_, body, "multipart/form-data; boundary=fwtest", full});
  EXPECT_EQ(shortRead.out, kEmpty400);
  // A body that ends without its closing delimiter.
  CgiResult unterminated = postMultipart(root_, "firmware", cookie_, body);
  EXPECT_EQ(unterminated.out, kEmpty400);
  EXPECT_EQ(records("rest_firmware").size(), 2u);
  EXPECT_FALSE(stagedImageExists(root_));
  EXPECT_TRUE(leftoverUploads(root_).empty());
}

TEST_F(FirmwareCgi, UploadThatCannotBeMovedIsRemovedAndCostsOneRequest) {
  // A folder holding a file where the image goes: the rename fails.
  ASSERT_EQ(mkdir(root_.file(kStagedImage).c_str(), 0755), 0);
  std::ofstream(root_.file(std::string(kStagedImage) + "/keep")) << "x";
  std::string const image = makeImage(root_, "maker.bin", kVersion);
  CgiResult result = upload("firmware", image);
  EXPECT_EQ(result.exitCode, 255);
  EXPECT_EQ(result.out, kEmpty400);
  auto found = records("rest_firmware");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].function, "PrepareUpgrade");
  EXPECT_EQ(found[0].text.rfind("Can't move received file '" + root_.file("/tmp/.rest/cgi-upload-"), 0), 0u)
      << found[0].text;
  EXPECT_NE(found[0].text.find("(errno 21: Is a directory)"), std::string::npos) << found[0].text;
  EXPECT_TRUE(leftoverUploads(root_).empty());
  // The folder was moved aside: the next upload is staged.
  EXPECT_EQ(upload("firmware", image).out,
            json200(std::string("{\"updateStatus\":\"ok\",\"updatedFwVersion\":\"") + kVersion + "\"}"));
  EXPECT_EQ(root_.read(kStagedImage), readFile(image));
  for (auto const& entry : std::filesystem::directory_iterator(root_.file(kPrivateFolder))) {
    if (entry.path().filename().string().rfind("fwupdate.bin.refused-", 0) == 0) {
      std::filesystem::remove_all(entry.path());
    }
  }
}

TEST_F(FirmwareCgi, SecondUploadReplacesTheFirst) {
  std::string const first = makeImage(root_, "first.bin", "1.0.0");
  std::string const second = makeImage(root_, "second.bin", "2.0.0", {"--unsigned"});
  upload("firmware", first);
  CgiResult result = upload("firmware", second);
  EXPECT_EQ(result.out, json200("{\"updateStatus\":\"thirdPartyFw\",\"updatedFwVersion\":\"2.0.0\"}"));
  EXPECT_EQ(root_.read(kStagedImage), readFile(second));
}

TEST_F(FirmwareCgi, CheckOfAValidHeaderAnswers200AndKeepsNothing) {
  std::string const image = makeImage(root_, "maker.bin", kVersion);
  CgiResult result = upload("check", image);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "Status: 200\r\nConnection: close\r\n\r\n");
  EXPECT_FALSE(stagedImageExists(root_));
  EXPECT_TRUE(leftoverUploads(root_).empty());
  EXPECT_TRUE(records("rest_check").empty());
}

TEST_F(FirmwareCgi, CheckLooksAtTheHeaderAlone) {
  // A damaged payload under a valid header passes the check.
  std::string const image = makeImage(root_, "payload.bin", kVersion, {"--corrupt", "payload"});
  EXPECT_EQ(upload("check", image).out, "Status: 200\r\nConnection: close\r\n\r\n");
}

TEST_F(FirmwareCgi, CheckOfABadHeaderAnswers400) {
  std::string const image = makeImage(root_, "header.bin", kVersion, {"--corrupt", "header"});
  CgiResult result = upload("check", image);
  EXPECT_EQ(result.exitCode, 0);  // the commit's result, unlike the upload endpoint
  EXPECT_EQ(result.out, kEmpty400);
  EXPECT_EQ(onlyRecord("rest_check"), "rest_check err orvo_cgi: src/rest_check:rest_check_main: Bad firmware image");
  EXPECT_FALSE(stagedImageExists(root_));
}

TEST_F(FirmwareCgi, CheckWithoutFwfileAnswers400) {
  std::string const image = makeImage(root_, "maker.bin", kVersion);
  CgiResult result = postMultipart(root_, "check", cookie_, fileBody(image, "image"));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, kEmpty400);
  EXPECT_EQ(onlyRecord("rest_check"),
            std::string("rest_check err orvo_cgi: src/rest_check:rest_check_main: ") + kMoveFailedNoUpload);
  EXPECT_TRUE(leftoverUploads(root_).empty());
}

TEST_F(FirmwareCgi, CheckDiscardsAStagedImage) {
  std::string const staged = makeImage(root_, "maker.bin", kVersion);
  ASSERT_EQ(upload("firmware", staged).exitCode, 0);
  ASSERT_TRUE(stagedImageExists(root_));
  EXPECT_EQ(upload("check", makeImage(root_, "other.bin", "1.2.3")).out,
            "Status: 200\r\nConnection: close\r\n\r\n");
  EXPECT_FALSE(stagedImageExists(root_));
}

// Roots of their own: each `camsim init` makes a maker of its own.
TEST(FirmwareCamsim, InitMakesTheMakersKeyPairAndTheUpdateTool) {
  CameraRoot root(CameraRoot::Layout::kCamsim);
  struct stat secret {};
  ASSERT_EQ(stat(root.file("/sim/fw-signing.key").c_str(), &secret), 0);
  EXPECT_EQ(secret.st_mode & 0777, 0600u);
  std::string const publicKey = root.read("/etc/orvo/fw-signing.pub");
  EXPECT_EQ(publicKey.size(), 65u);
  EXPECT_EQ(publicKey.find_first_not_of("0123456789abcdef"), 64u);
  EXPECT_EQ(access(root.file("/sbin/fwupdate").c_str(), X_OK), 0);
  // Another root, another maker.
  CameraRoot other(CameraRoot::Layout::kCamsim);
  EXPECT_NE(other.read("/etc/orvo/fw-signing.pub"), publicKey);
}

TEST(FirmwareCamsim, ImageOptionsThatContradictAreRefused) {
  CameraRoot root(CameraRoot::Layout::kCamsim);
  std::string const out = root.file("/sim/x.bin");
  for (std::vector<std::string> const& args :
       {std::vector<std::string>{"--version", "1", "--unsigned", "--key", out, out},
        {"--version", "1", "--unsigned", "--corrupt", "signature", out},
        {"--version", "1", "--corrupt", "trailer", out},
        {"--version", "1 2", out},
        {"--version", "1", "--payload-size", "-5", out},
        {"--version", "1"}}) {
    ProcessResult made = runCamsim("fwimage", root.path(), args);
    EXPECT_NE(made.exitCode, 0) << made.err;
    EXPECT_FALSE(made.err.empty());
  }
  EXPECT_EQ(access(out.c_str(), F_OK), -1);
}

}  // namespace
}  // namespace test
}  // namespace orvo
