// The message rest.cgi leaves on standard error when an exception escapes,
// and that it still ends in abort(). The message is the first line; an
// emulator may add its own report of the signal after it.
#include <gtest/gtest.h>

#include <csignal>
#include <exception>
#include <stdexcept>

namespace {

[[noreturn]] void escapeFromNoexcept(void (*thrower)()) noexcept {
  thrower();
  std::abort();  // not reached: the throw ends the process first
}

TEST(TerminateHandler, NamesWhatOfAStandardException) {
  EXPECT_EXIT(escapeFromNoexcept([] { throw std::runtime_error("session database locked"); }),
              testing::KilledBySignal(SIGABRT),
              "^rest.cgi: terminate called after an uncaught exception: session database locked\n");
}

TEST(TerminateHandler, SaysOnlyThatForAnExceptionOfAnotherType) {
  EXPECT_EXIT(escapeFromNoexcept([] { throw 42; }), testing::KilledBySignal(SIGABRT),
              "^rest.cgi: terminate called after an uncaught exception\n");
}

TEST(TerminateHandler, SaysOnlyThatWithoutAnException) {
  EXPECT_EXIT(std::terminate(), testing::KilledBySignal(SIGABRT),
              "^rest.cgi: terminate called after an uncaught exception\n");
}

}  // namespace
