// Reading and atomically writing JSON files inside a temporary folder.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "orvo/variant/variant.h"

using orvo::variant::Variant;
namespace vt = orvo::variant;

namespace {

class VariantFile : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = std::string(ORVO_BINARY_DIR) + "/variant-files-XXXXXX";
    ASSERT_NE(::mkdtemp(&pattern[0]), nullptr);
    folder_ = pattern;
  }
  void TearDown() override {
    for (std::string const& name : Names()) ::unlink((folder_ + "/" + name).c_str());
    ::rmdir(folder_.c_str());
  }

  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    DIR* dir = ::opendir(folder_.c_str());
    while (dirent* entry = dir ? ::readdir(dir) : nullptr) {
      if (entry->d_name[0] != '.') names.push_back(entry->d_name);
    }
    if (dir) ::closedir(dir);
    return names;
  }

  std::string Path(char const* name) const { return folder_ + "/" + name; }

  static std::string Read(std::string const& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  static void Write(std::string const& path, std::string const& text) {
    std::ofstream(path, std::ios::binary) << text;
  }

  std::string folder_;
};

Variant Document() {
  Variant v;
  v["name"] = "cam";
  v["ports"][0] = 80;
  return v;
}

}  // namespace

TEST_F(VariantFile, WriteThenReadBack) {
  std::string const path = Path("doc.json");
  ASSERT_TRUE(Document().ToJSONFile(path, false));
  EXPECT_EQ(Read(path), R"({"name":"cam","ports":[80]})");
  Variant back;
  ASSERT_TRUE(back.FromJSONFile(path));
  EXPECT_TRUE(back == Document());
  ASSERT_TRUE(Document().ToJSONFile(path, true));
  EXPECT_EQ(Read(path), "{\n  \"name\": \"cam\",\n  \"ports\": [\n    80\n  ]\n}");
  EXPECT_EQ(Names(), std::vector<std::string>{"doc.json"});  // no temporary file left
}

TEST_F(VariantFile, EveryWriteLeavesAnOwnerOnlyFile) {
  std::string const fresh = Path("fresh.json");
  ASSERT_TRUE(Document().ToJSONFile(fresh, false));
  struct stat info {};
  ASSERT_EQ(::stat(fresh.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0600u);
  std::string const shared = Path("shared.json");
  Write(shared, "{}");
  ASSERT_EQ(::chmod(shared.c_str(), 0644), 0);
  ASSERT_TRUE(Document().ToJSONFile(shared, false));
  ASSERT_EQ(::stat(shared.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0600u);
  // Neither a loose mode of the old file nor the umask carries over.
  ASSERT_EQ(::chmod(shared.c_str(), 0666), 0);
  mode_t previous = ::umask(0);
  bool written = Document().ToJSONFile(shared, true);
  ::umask(previous);
  ASSERT_TRUE(written);
  ASSERT_EQ(::stat(shared.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0600u);
}

TEST_F(VariantFile, FailedRenameKeepsTheOldContentAndLeavesNoTemporary) {
  // The target is a folder with a file in it: the rename fails after the
  // temporary file was written.
  std::string const target = Path("target");
  ASSERT_EQ(::mkdir(target.c_str(), 0700), 0);
  Write(target + "/old", "old content");
  EXPECT_FALSE(Document().ToJSONFile(target, false));
  EXPECT_EQ(Read(target + "/old"), "old content");
  EXPECT_EQ(Names(), std::vector<std::string>{"target"});
  ::unlink((target + "/old").c_str());
}

TEST_F(VariantFile, FailedWriteKeepsTheOldFileAndLeavesNoTemporary) {
  std::string const path = Path("settings.json");
  Write(path, "{\"old\":true}");
  Variant big;
  big["blob"] = std::string(64 * 1024, 'x');
  // A child with a file size limit below the document's size: write() fails
  // with EFBIG part way through.
  pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{4096, 4096};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    ::_exit(big.ToJSONFile(path, false) ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0) << "the write should have failed";
  EXPECT_EQ(Read(path), "{\"old\":true}");
  EXPECT_EQ(Names(), std::vector<std::string>{"settings.json"});
}

TEST_F(VariantFile, MissingFolderFailsCleanly) {
  EXPECT_FALSE(Document().ToJSONFile(Path("no-such-folder/doc.json"), false));
  EXPECT_FALSE(Document().ToJSONFile("", false));
  EXPECT_TRUE(Names().empty());
}

TEST_F(VariantFile, ReadRefusesMissingMalformedOversizedAndNonRegularFiles) {
  Variant v;
  v["kept"] = 1;
  EXPECT_FALSE(v.FromJSONFile(Path("missing.json")));
  EXPECT_TRUE(v.IsEmpty());
  Write(Path("bad.json"), "{\"a\":");
  EXPECT_FALSE(v.FromJSONFile(Path("bad.json")));
  EXPECT_FALSE(v.FromJSONFile(folder_));
  // Just above the limit, though every byte of it is valid JSON whitespace.
  std::string const big = "[1]" + std::string(vt::kMaxJsonFileBytes - 2, ' ');
  Write(Path("big.json"), big);
  EXPECT_FALSE(v.FromJSONFile(Path("big.json")));
  Write(Path("limit.json"), big.substr(0, vt::kMaxJsonFileBytes));
  EXPECT_TRUE(v.FromJSONFile(Path("limit.json")));
  EXPECT_EQ(static_cast<int>(v[0]), 1);
}
