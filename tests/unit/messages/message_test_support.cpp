#include "message_test_support.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "messages/camera.h"
#include "messages/device.h"
#include "messages/network.h"
#include "messages/registry.h"
#include "messages/video.h"

namespace orvo {
namespace ipc {
namespace messages {
namespace testing {

Variant parse(std::string const& json) {
  Variant value;
  EXPECT_TRUE(value.FromJSON(json)) << json;
  return value;
}

std::string compact(Variant const& value) {
  std::string out;
  EXPECT_TRUE(value.ToJSON(out, false));
  return out;
}

std::string goldenJson(std::string const& className) {
  std::string const path = std::string(ORVO_SOURCE_DIR) + "/tests/unit/messages/golden/" +
                           className + ".json";
  std::ifstream in(path);
  EXPECT_TRUE(in.good()) << "missing golden file " << path;
  std::stringstream text;
  text << in.rdbuf();
  return compact(parse(text.str()));
}

Variant withoutStamps(Variant const& message) {
  Variant copy(message);
  copy.RemoveValue("id", false);
  copy.RemoveValue("timeStamp", false);
  return copy;
}

namespace {

template <class Element>
MessageClass element(char const* name) {
  return {name, false, [](Variant const& body) { return std::make_unique<Element>(body); }};
}

template <class Header>
MessageClass header(char const* name) {
  return {name, true, [](Variant const& body) { return std::make_unique<Header>(body); }};
}

MessageClass request(char const* name) {
  return {name, true, [name](Variant const& body) {
            return std::unique_ptr<BaseVariantContainer>(makeRequestByName(name, body));
          }};
}

std::vector<MessageClass> buildClassList() {
  std::vector<MessageClass> classes = {
      element<WirelessSettingsElement>("WirelessSettingsElement"),
      element<WpaSettingsElement>("WpaSettingsElement"),
      element<ExperimentsElement>("ExperimentsElement"),
      element<DhcpSettingsElement>("DhcpSettingsElement"),
      element<StaticSettingsElement>("StaticSettingsElement"),
      element<RoutingSettingsElement>("RoutingSettingsElement"),
      element<DnsSettingsElement>("DnsSettingsElement"),
      element<NameserverElement>("NameserverElement"),
      element<VideoSettings>("VideoSettings"),
      element<VideoSettingsElement>("VideoSettingsElement"),
      element<AVSerializer>("AVSerializer"),
      element<ChipSettings>("ChipSettings"),
      element<ChipVinSettingsElement>("ChipVinSettingsElement"),
      element<AudioSettings>("AudioSettings"),
      element<OsdCh>("OsdCh"),
      element<AnalyticsAlgorithmInternals>("AnalyticsAlgorithmInternals"),
      header<BaseMessage>("BaseMessage"),
      header<BaseRequestMessage>("BaseRequestMessage"),
  };
  for (std::size_t i = 0; i < requestNameCount(); ++i) {
    if (std::string(requestName(i)) != "CancelWait") classes.push_back(request(requestName(i)));
  }
  return classes;
}

}  // namespace

std::vector<MessageClass> const& allMessageClasses() {
  static std::vector<MessageClass> const classes = buildClassList();
  return classes;
}

}  // namespace testing
}  // namespace messages
}  // namespace ipc
}  // namespace orvo
