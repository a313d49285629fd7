// Text splitting and formatting, path checks and whole-file reads that never
// follow a link, the system log reader and the published service list.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "orvo/utils/file_handle.h"
#include "orvo/utils/logread.h"
#include "orvo/utils/services.h"
#include "orvo/utils/strings.h"
#include "platform_test_support.h"

using orvo::utils::File;
using orvo::utils::fileExists;
using orvo::utils::isFile;
using orvo::utils::split;
using platformtest::inChild;
using platformtest::Root;

namespace {

std::vector<std::string> pieces(std::string const& text, std::string const& separator) {
  std::vector<std::string> out;
  split(text, separator, out);
  return out;
}

void collect(char const* chunk, std::size_t length, void* context) {
  static_cast<std::string*>(context)->append(chunk, length);
}

// The whole log through Logread inside the root; "(failed)" when it fails.
std::string logText(Root const& root) {
  std::string const out = root.file("/tmp/log-out");
  int const status = inChild(root.path(), [&out] {
    orvo::utils::Logread reader;
    std::string text;
    if (!reader.Initialize() || !reader.ForEach(&collect, &text)) return false;
    FILE* f = fopen(out.c_str(), "w");
    fwrite(text.data(), 1, text.size(), f);
    return fclose(f) == 0;
  });
  return status == 0 ? root.read("/tmp/log-out") : "(failed)";
}

// "name=state" per listed service ("name=?" when unreadable), in list order.
std::string serviceView(Root const& root) {
  std::string const out = root.file("/tmp/services-out");
  inChild(root.path(), [&out] {
    std::string view;
    for (std::string const& name : orvo::utils::ListServices()) {
      int state = -1;
      view += name + "=" + (orvo::utils::ServiceStatus(name, state) ? std::to_string(state) : "?") +
              " ";
    }
    FILE* f = fopen(out.c_str(), "w");
    fputs(view.c_str(), f);
    return fclose(f) == 0;
  });
  return root.read("/tmp/services-out");
}

}  // namespace

TEST(Split, EverySeparatorCutsAndEmptyPiecesStay) {
  EXPECT_EQ(pieces("a\nb\n", "\n"), (std::vector<std::string>{"a", "b", ""}));
  EXPECT_EQ(pieces("", "\n"), (std::vector<std::string>{""}));
  EXPECT_EQ(pieces("\n\n", "\n"), (std::vector<std::string>{"", "", ""}));
  EXPECT_EQ(pieces("a--b-c", "--"), (std::vector<std::string>{"a", "b-c"}));
  EXPECT_EQ(pieces("abc", ""), (std::vector<std::string>{"abc"}));
}

TEST(Split, AppendsAndCounts) {
  std::vector<std::string> out{"kept"};
  EXPECT_EQ(split("x y", " ", out), 2u);
  EXPECT_EQ(out, (std::vector<std::string>{"kept", "x", "y"}));
}

TEST(Format, PrintsAnyLength) {
  EXPECT_EQ(orvo::utils::format("%s/%s", "/tmp/d", "f.sup"), "/tmp/d/f.sup");
  EXPECT_EQ(orvo::utils::format("%s", std::string(5000, 'x').c_str()).size(), 5000u);
  EXPECT_EQ(orvo::utils::format("%s", ""), "");
}

TEST(PathChecks, LinksAreThemselvesAndNeverFiles) {
  Root root;
  root.write("/tmp/real", "x");
  mkdir(root.file("/tmp/dir").c_str(), 0755);
  ASSERT_EQ(symlink(root.file("/tmp/real").c_str(), root.file("/tmp/link").c_str()), 0);
  ASSERT_EQ(symlink("/nonexistent/target", root.file("/tmp/dangling").c_str()), 0);

  EXPECT_TRUE(isFile(root.file("/tmp/real")));
  EXPECT_FALSE(isFile(root.file("/tmp/dir")));
  EXPECT_FALSE(isFile(root.file("/tmp/link")));
  EXPECT_FALSE(isFile(root.file("/tmp/missing")));
  EXPECT_FALSE(isFile(""));

  EXPECT_TRUE(fileExists(root.file("/tmp/dangling").c_str(), true));
  EXPECT_FALSE(fileExists(root.file("/tmp/dangling").c_str(), false));
  EXPECT_TRUE(fileExists(root.file("/tmp/link").c_str(), false));
  EXPECT_FALSE(fileExists(root.file("/tmp/missing").c_str(), true));
  EXPECT_FALSE(fileExists(nullptr, true));
}

TEST(FileHandle, ReadsWholeAndTellsTheSize) {
  Root root;
  std::string const bytes("\xff\xd8\x00\x01jpeg\x00\xff\xd9", 10);
  root.write("/tmp/snap.jpeg", bytes);
  File file;
  ASSERT_TRUE(file.Initialize(root.file("/tmp/snap.jpeg"), 0, 0));
  std::string text;
  ASSERT_TRUE(file.ReadStringAll(text));
  EXPECT_EQ(text, bytes);
  EXPECT_EQ(file.Size(), 10);
  // A second read starts over.
  std::string again;
  ASSERT_TRUE(file.ReadStringAll(again));
  EXPECT_EQ(again, bytes);
  file.Close();
  EXPECT_EQ(file.Size(), -1);
  EXPECT_FALSE(file.ReadStringAll(text));
}

TEST(FileHandle, RefusesLinksAndMissingFiles) {
  Root root;
  root.write("/tmp/real", "secret");
  ASSERT_EQ(symlink(root.file("/tmp/real").c_str(), root.file("/tmp/link").c_str()), 0);
  File file;
  EXPECT_FALSE(file.Initialize(root.file("/tmp/link"), 0, 0));
  EXPECT_EQ(errno, ELOOP);
  EXPECT_FALSE(file.Initialize(root.file("/tmp/missing"), 0, 0));
  EXPECT_FALSE(file.IsOpen());
}

TEST(FileHandle, EmptyFileReadsEmpty) {
  Root root;
  root.write("/tmp/empty", "");
  File file;
  ASSERT_TRUE(file.Initialize(root.file("/tmp/empty"), 0, 0));
  std::string text = "old";
  EXPECT_TRUE(file.ReadStringAll(text));
  EXPECT_EQ(text, "");
  EXPECT_EQ(file.Size(), 0);
}

TEST(Logread, CurrentLogAlone) {
  Root root;
  root.write("/var/log/messages", "one\ntwo\n");
  EXPECT_EQ(logText(root), "one\ntwo\n");
}

TEST(Logread, RotatedPredecessorFirst) {
  Root root;
  root.write("/var/log/messages.0", "old\n");
  root.write("/var/log/messages", "new\n");
  EXPECT_EQ(logText(root), "old\nnew\n");
}

TEST(Logread, LongLogArrivesWholeInChunks) {
  Root root;
  std::string big;
  for (int i = 0; i < 5000; ++i) big += "line " + std::to_string(i) + " of the camera log\n";
  ASSERT_GT(big.size(), 3 * orvo::utils::Logread::kChunkBytes);
  root.write("/var/log/messages", big);
  EXPECT_EQ(logText(root), big);
}

TEST(Logread, EmptyLogIsEmptyText) {
  Root root;
  root.write("/var/log/messages", "");
  EXPECT_EQ(logText(root), "");
}

TEST(Logread, MissingCurrentLogFailsEvenWithAPredecessor) {
  Root root;
  root.write("/var/log/messages.0", "old\n");
  EXPECT_EQ(logText(root), "(failed)");
}

TEST(Logread, ForEachBeforeInitializeFails) {
  orvo::utils::Logread reader;
  std::string text;
  EXPECT_FALSE(reader.ForEach(&collect, &text));
}

TEST(Services, ListInPublishedOrderWithStates) {
  Root root;
  mkdir(root.file("/var/run").c_str(), 0755);
  root.write("/var/run/services.json",
             R"({"services": [{"name": "ssh", "running": false}, {"name": "http", "running": true},
                              {"name": "ntp", "running": true}]})");
  EXPECT_EQ(serviceView(root), "ssh=0 http=1 ntp=1 ");
}

TEST(Services, EntryWithoutBooleanStateIsUnreadable) {
  Root root;
  mkdir(root.file("/var/run").c_str(), 0755);
  root.write("/var/run/services.json",
             R"({"services": [{"name": "rtsp", "running": "yes"}, {"name": "upnp"},
                              {"running": true}, "ntp"]})");
  EXPECT_EQ(serviceView(root), "rtsp=? upnp=? ");
}

TEST(Services, NoListNoServices) {
  Root root;
  EXPECT_EQ(serviceView(root), "");
  mkdir(root.file("/var/run").c_str(), 0755);
  root.write("/var/run/services.json", "not json");
  EXPECT_EQ(serviceView(root), "");
  root.write("/var/run/services.json", R"({"services": {"ssh": true}})");
  EXPECT_EQ(serviceView(root), "");
}

TEST(Services, ParseKeepsOrderAndTellsUnknownStates) {
  auto entries = orvo::utils::parseServiceList(
      R"({"services": [{"name": "b", "running": true}, {"name": "a", "running": 1}, {"x": 1}]})");
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].name, "b");
  EXPECT_TRUE(entries[0].stateKnown);
  EXPECT_TRUE(entries[0].running);
  EXPECT_EQ(entries[1].name, "a");
  EXPECT_FALSE(entries[1].stateKnown);
  EXPECT_FALSE(entries[1].running);
  EXPECT_TRUE(orvo::utils::parseServiceList("[]").empty());
  EXPECT_TRUE(orvo::utils::parseServiceList("").empty());
}
