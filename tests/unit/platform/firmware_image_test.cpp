// Firmware image files: what each check accepts and refuses, the maker's key
// against other keys and unsigned images, and files that are not images.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "fw_builder.h"
#include "orvo/utils/firmware.h"
#include "platform_test_support.h"

namespace fw = orvo::utils::fw;
using orvo::sim::Corruption;
using orvo::sim::FwImageRecipe;
using orvo::sim::SigningKey;
using orvo::utils::File;

namespace {

constexpr char kVersion[] = "OV-B4.v4.24.0.68.abc1234.230601.1200";

SigningKey keyOf(unsigned char fill) {
  unsigned char seed[orvo::sim::kSeedBytes];
  std::fill(std::begin(seed), std::end(seed), fill);
  SigningKey key;
  EXPECT_TRUE(orvo::sim::KeyFromSeed(seed, key));
  return key;
}

SigningKey const& makerKey() {
  static SigningKey const key = keyOf(1);
  return key;
}

class FirmwareImage : public ::testing::Test {
 protected:
  void SetUp() override {
    ::mkdir(root_.file("/etc").c_str(), 0755);
    ::mkdir(root_.file("/etc/orvo").c_str(), 0755);
    root_.write(orvo::utils::kFwSigningKeyPath,
                fw::ToHex(makerKey().publicKey, orvo::sim::kPublicKeyBytes) + "\n");
  }

  // Builds an image into the root's /tmp; returns its path.
  std::string image(SigningKey const* key, Corruption corruption = Corruption::kNone,
                    std::uint64_t payloadBytes = 3 * orvo::utils::kChunkBytes + 5,
                    std::string const& version = kVersion) {
    FwImageRecipe recipe;
    recipe.version = version;
    recipe.payloadBytes = payloadBytes;
    recipe.key = key;
    recipe.corruption = corruption;
    std::string path = root_.file("/tmp/image.bin");
    std::string error;
    EXPECT_TRUE(orvo::sim::WriteFwImage(path, recipe, error)) << error;
    return path;
  }

  // IsThirdPartyFw of `path` with this root as the camera's.
  bool thirdParty(std::string const& path) {
    return platformtest::inChild(root_.path(), [&] {
             File file;
             return file.Initialize(path, 0, 0) && orvo::utils::IsThirdPartyFw(file);
           }) == 0;
  }

  platformtest::Root root_;
};

struct Verdicts {
  bool header, valid, makers;
  std::string version;
};

Verdicts check(std::string const& path) {
  File file;
  EXPECT_TRUE(file.Initialize(path, 0, 0)) << path;
  return {orvo::utils::ValidateFwHdr(file), orvo::utils::ValidateFw(file),
          orvo::utils::IsSignedBy(file, makerKey().publicKey), orvo::utils::ExtractFwVersion(file)};
}

void truncateBy(std::string const& path, off_t delta) {
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  ASSERT_EQ(::truncate(path.c_str(), info.st_size + delta), 0);
}

TEST_F(FirmwareImage, MakersImageIsValidAndNotForeign) {
  std::string const path = image(&makerKey());
  Verdicts v = check(path);
  EXPECT_TRUE(v.header);
  EXPECT_TRUE(v.valid);
  EXPECT_TRUE(v.makers);
  EXPECT_EQ(v.version, kVersion);
  EXPECT_FALSE(thirdParty(path));
}

TEST_F(FirmwareImage, UnsignedImageIsValidButForeign) {
  std::string const path = image(nullptr);
  Verdicts v = check(path);
  EXPECT_TRUE(v.valid);
  EXPECT_FALSE(v.makers);
  EXPECT_TRUE(thirdParty(path));
}

TEST_F(FirmwareImage, ImageSignedByAnotherKeyIsForeign) {
  SigningKey const other = keyOf(2);
  std::string const path = image(&other);
  Verdicts v = check(path);
  EXPECT_TRUE(v.valid);
  EXPECT_FALSE(v.makers);
  EXPECT_TRUE(thirdParty(path));
}

TEST_F(FirmwareImage, WithoutTheMakersKeyEveryImageIsForeign) {
  std::string const path = image(&makerKey());
  ASSERT_EQ(::unlink(root_.file(orvo::utils::kFwSigningKeyPath).c_str()), 0);
  EXPECT_TRUE(thirdParty(path));
  root_.write(orvo::utils::kFwSigningKeyPath, "not a key\n");
  EXPECT_TRUE(thirdParty(path));
}

TEST_F(FirmwareImage, DamagedHeaderFailsEveryCheck) {
  std::string const path = image(&makerKey(), Corruption::kHeader);
  Verdicts v = check(path);
  EXPECT_FALSE(v.header);
  EXPECT_FALSE(v.valid);
  EXPECT_FALSE(v.makers);
  EXPECT_EQ(v.version, "");
  EXPECT_FALSE(thirdParty(path));  // not valid, so not an image of anyone
}

TEST_F(FirmwareImage, DamagedPayloadKeepsAValidHeaderOnly) {
  std::string const path = image(&makerKey(), Corruption::kPayload);
  Verdicts v = check(path);
  EXPECT_TRUE(v.header);
  EXPECT_FALSE(v.valid);
  EXPECT_FALSE(v.makers);
  EXPECT_EQ(v.version, kVersion);
  EXPECT_FALSE(thirdParty(path));
}

TEST_F(FirmwareImage, DamageInTheLastChunkIsSeen) {
  std::string const path = image(nullptr);
  int fd = ::open(path.c_str(), O_RDWR);
  ASSERT_GE(fd, 0);
  off_t const last = static_cast<off_t>(fw::kHeaderBytes + 3 * orvo::utils::kChunkBytes + 4);
  unsigned char byte = 0;
  ASSERT_EQ(::pread(fd, &byte, 1, last), 1);
  byte ^= 0x80;
  ASSERT_EQ(::pwrite(fd, &byte, 1, last), 1);
  ::close(fd);
  EXPECT_FALSE(check(path).valid);
}

TEST_F(FirmwareImage, MalformedSignatureMakesTheImageInvalid) {
  std::string const path = image(&makerKey(), Corruption::kSignature);
  Verdicts v = check(path);
  EXPECT_TRUE(v.header);
  EXPECT_FALSE(v.valid);
  EXPECT_FALSE(thirdParty(path));
}

TEST_F(FirmwareImage, AnyChangedSignatureByteLosesTheMakersMark) {
  std::string const path = image(&makerKey());
  off_t const signatureAt = static_cast<off_t>(fw::kHeaderBytes + 3 * orvo::utils::kChunkBytes + 5);
  for (off_t i : {0, 5, 31, 32, 40, 62}) {
    int fd = ::open(path.c_str(), O_RDWR);
    unsigned char byte = 0;
    ASSERT_EQ(::pread(fd, &byte, 1, signatureAt + i), 1);
    unsigned char changed = byte ^ 0x02;
    ASSERT_EQ(::pwrite(fd, &changed, 1, signatureAt + i), 1);
    Verdicts v = check(path);
    EXPECT_FALSE(v.makers) << "signature byte " << i;
    ASSERT_EQ(::pwrite(fd, &byte, 1, signatureAt + i), 1);
    ::close(fd);
  }
  EXPECT_TRUE(check(path).makers);
}

TEST_F(FirmwareImage, FileOfTheWrongSizeHasNoValidHeader) {
  std::string const path = image(&makerKey());
  truncateBy(path, -1);
  EXPECT_FALSE(check(path).header);
  truncateBy(path, 2);
  EXPECT_FALSE(check(path).header);
}

TEST_F(FirmwareImage, EmptyPayloadAndEmptyVersionAreWellFormed) {
  std::string const path = image(&makerKey(), Corruption::kNone, 0, "");
  Verdicts v = check(path);
  EXPECT_TRUE(v.valid);
  EXPECT_TRUE(v.makers);
  EXPECT_EQ(v.version, "");
}

TEST_F(FirmwareImage, TextFileIsNoImage) {
  root_.write("/tmp/notes.txt", "hello\n");
  Verdicts v = check(root_.file("/tmp/notes.txt"));
  EXPECT_FALSE(v.header);
  EXPECT_FALSE(v.valid);
  EXPECT_EQ(v.version, "");
}

TEST_F(FirmwareImage, FileOpensOnlyRegularFilesWithoutFollowingLinks) {
  std::string const path = image(nullptr);
  std::string const link = root_.file("/tmp/link.bin");
  ASSERT_EQ(::symlink(path.c_str(), link.c_str()), 0);
  File file;
  EXPECT_FALSE(file.Initialize(link, 0, 0));
  EXPECT_EQ(errno, ELOOP);
  EXPECT_FALSE(file.Initialize(root_.file("/tmp"), 0, 0));
  std::string const fifo = root_.file("/tmp/fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_FALSE(file.Initialize(fifo, 0, 0));  // returns at once, no writer needed
  EXPECT_FALSE(file.Initialize(root_.file("/tmp/absent"), 0, 0));
  EXPECT_EQ(errno, ENOENT);
  ASSERT_TRUE(file.Initialize(path, 0, 0));
  EXPECT_TRUE(file.IsOpen());
  file.Close();
  EXPECT_FALSE(file.IsOpen());
  EXPECT_FALSE(orvo::utils::ValidateFwHdr(file));
}

TEST(FirmwareKeys, HexRoundTripAndRefusals) {
  unsigned char bytes[3] = {0x00, 0xab, 0xFF};
  EXPECT_EQ(fw::ToHex(bytes, 3), "00abff");
  unsigned char back[3] = {};
  EXPECT_TRUE(fw::FromHex("00ABff", back, 3));
  EXPECT_EQ(std::string(back, back + 3), std::string(bytes, bytes + 3));
  EXPECT_FALSE(fw::FromHex("00abf", back, 3));
  EXPECT_FALSE(fw::FromHex("00abfg", back, 3));
}

}  // namespace
