// Arbitrary JSON normalised as every message class: normalisation must never
// fail, must leave an object, and must be idempotent (a second pass changes
// nothing, "id" and "timeStamp" included, since the first pass fixed them).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "messages/camera.h"
#include "messages/device.h"
#include "messages/network.h"
#include "messages/registry.h"
#include "messages/video.h"

namespace {

using orvo::variant::BaseVariantContainer;
using orvo::variant::Variant;
namespace msg = orvo::ipc::messages;

// Larger inputs only slow the fuzzer down; nesting is bounded by the reader.
constexpr std::size_t kMaxInputBytes = 64 * 1024;

void check(bool condition, char const* what, char const* className) {
  if (condition) return;
  std::fprintf(stderr, "%s: %s\n", className, what);
  std::abort();
}

std::string json(Variant const& value) {
  std::string out;
  value.ToJSON(out, false);
  return out;
}

void normaliseTwice(BaseVariantContainer& message, char const* className) {
  message.NormalizeFields();
  check(message.Type() == orvo::variant::VT_OBJECT, "not an object after normalising", className);
  std::string const once = json(message);
  message.NormalizeFields();
  check(json(message) == once, "second normalisation changed the message", className);
}

template <class Element>
void asElement(Variant const& body, char const* className) {
  Element element(body);
  normaliseTwice(element, className);
}

void asEveryElement(Variant const& body) {
  asElement<msg::WirelessSettingsElement>(body, "WirelessSettingsElement");
  asElement<msg::WpaSettingsElement>(body, "WpaSettingsElement");
  asElement<msg::ExperimentsElement>(body, "ExperimentsElement");
  asElement<msg::DhcpSettingsElement>(body, "DhcpSettingsElement");
  asElement<msg::StaticSettingsElement>(body, "StaticSettingsElement");
  asElement<msg::RoutingSettingsElement>(body, "RoutingSettingsElement");
  asElement<msg::DnsSettingsElement>(body, "DnsSettingsElement");
  asElement<msg::NameserverElement>(body, "NameserverElement");
  asElement<msg::VideoSettings>(body, "VideoSettings");
  asElement<msg::VideoSettingsElement>(body, "VideoSettingsElement");
  asElement<msg::AVSerializer>(body, "AVSerializer");
  asElement<msg::ChipSettings>(body, "ChipSettings");
  asElement<msg::ChipVinSettingsElement>(body, "ChipVinSettingsElement");
  asElement<msg::AudioSettings>(body, "AudioSettings");
  asElement<msg::OsdCh>(body, "OsdCh");
  asElement<msg::AnalyticsAlgorithmInternals>(body, "AnalyticsAlgorithmInternals");
}

void asEveryRequest(Variant const& body) {
  for (std::size_t i = 0; i < msg::requestNameCount(); ++i) {
    char const* name = msg::requestName(i);
    std::unique_ptr<msg::BaseRequestMessage> request = msg::makeRequestByName(name, body);
    check(request != nullptr, "registry has no class for its own name", name);
    normaliseTwice(*request, name);
    check(request->functionName() == name, "function name not the class name", name);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size > kMaxInputBytes) return 0;
  Variant body;
  if (!body.FromJSON(reinterpret_cast<char const*>(data), size)) return 0;
  asEveryRequest(body);
  asEveryElement(body);
  msg::BaseMessage header(body);
  normaliseTwice(header, "BaseMessage");
  return 0;
}
