// SHA-512 crypt against hashes made by the system's crypt(3) (libxcrypt),
// the published examples of the scheme among them.
#include "orvo/utils/sha512_crypt.h"

#include <gtest/gtest.h>

#include <string>

using orvo::utils::newSha512Setting;
using orvo::utils::sha512Crypt;

namespace {

struct Example {
  char const* password;
  char const* setting;
  char const* hash;
};

constexpr Example kExamples[] = {
    {"Hello world!", "$6$saltstring",
     "$6$saltstring$svn8UoSVapNtMuq1ukKS4tPQd8iKwSMHWjl/O817G3uBnIFNjnQJuesI68u4OTLiBFdcbYEdFCoEOfaS"
     "35inz1"},
    {"Hello world!", "$6$rounds=10000$saltstringsaltstring",
     "$6$rounds=10000$saltstringsaltst$OW1/O6BYHV6BcXZu8QVeXbDWra3Oeqh0sbHbbMCVNSnCM/UrjmM0Dp8vOuZeHBy"
     "/YTBmSK6H9qs/y3RnOaw5v."},
    {"", "$6$x",
     "$6$x$QSmr1Bx2g4O6BzKvdkgOcyU6H91X6I/XBv5pSalMhSPkwdH6Beo3F455xZJg0v//bxVK5F4OE5k1.0xuR26MK0"},
    {"a very much longer text to encrypt.  This one even stretches over morethan one line.",
     "$6$rounds=1400$anotherlongsaltstring",
     "$6$rounds=1400$anotherlongsalts$POfYwTEok97VWcjxIiSOjiykti.o/pQs.wPvMxQ6Fm7I6IoYN3CmLs66x9t0oSw"
     "btEW7o7UmJEiDwGqd8p4ur1"},
    {"p", "$6$rounds=5000$ab",
     "$6$rounds=5000$ab$53oaJstz.dN9TxWNvOp1k.ptOameFLjtwzhrAT.A4i5Nh4FRb1uOnAq9pDLyQwXNLNGKGS8kcJ8LZ"
     "w8QB3RYk."},
    {"0123456789012345678901234567890123456789012345678901234567890123456789", "$6$./xyzXYZ019",
     "$6$./xyzXYZ019$SK1ExVdrynoCLltLBASEKqCNYQcKUN2Q.mPVN0YvzWXCTxWJk6pJWVuB8069ZTRqECVkt8QhoEDpJyKlT"
     "xd60/"},
};

}  // namespace

TEST(Sha512Crypt, MatchesTheSystemCrypt) {
  for (Example const& example : kExamples) {
    EXPECT_EQ(sha512Crypt(example.password, example.setting), example.hash) << example.setting;
    // A stored hash is its own setting.
    EXPECT_EQ(sha512Crypt(example.password, example.hash), example.hash) << example.setting;
  }
}

TEST(Sha512Crypt, RefusesOtherSchemesAndBadSettings) {
  for (char const* setting : {"", "$6", "$5$ab", "$y$j9T$abc", "ab", "$6$rounds=999$ab",
                              "$6$rounds=05000$ab", "$6$rounds=1000000000$ab", "$6$rounds=$ab",
                              "$6$rounds=5000", "$6$ab:c", "$6$a b"}) {
    EXPECT_EQ(sha512Crypt("p", setting), "") << setting;
  }
}

TEST(Sha512Crypt, FreshSettingsAreRandomAndUsable) {
  std::string const first = newSha512Setting();
  std::string const second = newSha512Setting();
  ASSERT_EQ(first.size(), 3u + 16u) << first;
  EXPECT_EQ(first.compare(0, 3, "$6$"), 0);
  EXPECT_NE(first, second);
  std::string const hash = sha512Crypt("secret", first);
  EXPECT_EQ(hash.compare(0, first.size() + 1, first + "$"), 0) << hash;
  EXPECT_EQ(sha512Crypt("secret", hash), hash);
  EXPECT_NE(sha512Crypt("secreT", hash), hash);
}
