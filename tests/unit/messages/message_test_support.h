// Helpers shared by the message tests: JSON in and out, golden files, and
// the list of every message class by name.
#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "orvo/variant/variant.h"

namespace orvo {
namespace ipc {
namespace messages {
namespace testing {

using orvo::variant::BaseVariantContainer;
using orvo::variant::Variant;

// Parses JSON text; the test fails when it is malformed.
Variant parse(std::string const& json);
// Compact JSON (keys in byte order), whatever the numbers' widths.
std::string compact(Variant const& value);
// The golden file golden/<name>.json, as compact JSON.
std::string goldenJson(std::string const& className);
// A copy of `message` without the generated "id" and "timeStamp".
Variant withoutStamps(Variant const& message);

struct MessageClass {
  std::string name;
  bool isRequest;  // carries the header fields
  std::function<std::unique_ptr<BaseVariantContainer>(Variant const&)> make;
};
// Test names print the class, not the bytes of the parameter.
inline void PrintTo(MessageClass const& messageClass, std::ostream* out) {
  *out << messageClass.name;
}

// Every request of the registry (except the class-less "CancelWait"), every
// nested element, and the two header classes.
std::vector<MessageClass> const& allMessageClasses();

}  // namespace testing
}  // namespace messages
}  // namespace ipc
}  // namespace orvo
