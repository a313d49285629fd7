// Replays files (or every file of the folders) given on the command line
// through a fuzz harness, so the normal test run re-checks the kept corpus.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

namespace {

int replayFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return 1;
  }
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(reinterpret_cast<uint8_t const*>(bytes.data()), bytes.size());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  int failures = 0;
  int replayed = 0;
  for (int i = 1; i < argc; ++i) {
    struct stat st {};
    if (stat(argv[i], &st) != 0) {
      std::fprintf(stderr, "missing corpus %s\n", argv[i]);
      return 1;
    }
    if (!S_ISDIR(st.st_mode)) {
      failures += replayFile(argv[i]);
      ++replayed;
      continue;
    }
    DIR* dir = opendir(argv[i]);
    while (dirent* entry = dir ? readdir(dir) : nullptr) {
      if (entry->d_name[0] == '.') continue;
      failures += replayFile(std::string(argv[i]) + "/" + entry->d_name);
      ++replayed;
    }
    if (dir) closedir(dir);
  }
  std::printf("replayed %d inputs\n", replayed);
  return (failures == 0 && replayed > 0) ? 0 : 1;
}
