// Builds firmware images and signing keys for the simulated camera:
//   orvo_fwimage build --version V [--payload-size BYTES] (--key FILE | --unsigned)
//                      [--corrupt header|payload|signature] OUT
//   orvo_fwimage keygen SECRET_FILE PUBLIC_FILE
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fw_builder.h"

namespace {

using orvo::sim::Corruption;

int usage() {
  std::fprintf(stderr,
               "usage: orvo_fwimage build --version V [--payload-size BYTES] "
               "(--key FILE | --unsigned) [--corrupt header|payload|signature] OUT\n"
               "       orvo_fwimage keygen SECRET_FILE PUBLIC_FILE\n");
  return 2;
}

int fail(std::string const& why) {
  std::fprintf(stderr, "orvo_fwimage: %s\n", why.c_str());
  return 1;
}

bool parseSize(char const* text, std::uint64_t& out) {
  if (!text || !*text || std::strspn(text, "0123456789") != std::strlen(text)) return false;
  errno = 0;
  out = std::strtoull(text, nullptr, 10);
  return errno == 0;
}

bool parseCorruption(std::string const& text, Corruption& out) {
  if (text == "header") out = Corruption::kHeader;
  else if (text == "payload") out = Corruption::kPayload;
  else if (text == "signature") out = Corruption::kSignature;
  else return false;
  return true;
}

int build(int argc, char** argv) {
  orvo::sim::FwImageRecipe recipe;
  std::string keyFile, out;
  bool haveVersion = false, unsignedImage = false;
  for (int i = 0; i < argc; ++i) {
    std::string option = argv[i];
    char const* value = i + 1 < argc ? argv[i + 1] : nullptr;
    if (option == "--unsigned") {
      unsignedImage = true;
      continue;
    }
    if (option.rfind("--", 0) != 0) {
      if (!out.empty()) return usage();
      out = option;
      continue;
    }
    if (!value) return usage();
    ++i;
    if (option == "--version") {
      recipe.version = value;
      haveVersion = true;
    } else if (option == "--payload-size") {
      if (!parseSize(value, recipe.payloadBytes)) return fail(std::string("bad payload size '") + value + "'");
    } else if (option == "--key") {
      keyFile = value;
    } else if (option == "--corrupt") {
      if (!parseCorruption(value, recipe.corruption)) return fail(std::string("cannot corrupt '") + value + "'");
    } else {
      return usage();
    }
  }
  if (!haveVersion || out.empty() || unsignedImage == !keyFile.empty()) return usage();
  orvo::sim::SigningKey key;
  std::string error;
  if (!unsignedImage) {
    if (!orvo::sim::ReadKey(keyFile, key, error)) return fail(error);
    recipe.key = &key;
  }
  if (!orvo::sim::WriteFwImage(out, recipe, error)) return fail(error);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return usage();
  std::string command = argv[1];
  if (command == "build") return build(argc - 2, argv + 2);
  if (command == "keygen" && argc == 4) {
    std::string error;
    return orvo::sim::WriteNewKey(argv[2], argv[3], error) ? 0 : fail(error);
  }
  return usage();
}
