#include "messages/network.h"

namespace orvo {
namespace ipc {
namespace messages {

ORVO_DEFINE_NORMALIZE(WpaSettingsElement, BaseVariantContainer, ORVO_FIELDS_WpaSettingsElement)
ORVO_DEFINE_NORMALIZE(ExperimentsElement, BaseVariantContainer, ORVO_FIELDS_ExperimentsElement)
ORVO_DEFINE_NORMALIZE(WirelessSettingsElement, BaseVariantContainer,
                      ORVO_FIELDS_WirelessSettingsElement)
ORVO_DEFINE_NORMALIZE(DhcpSettingsElement, BaseVariantContainer, ORVO_FIELDS_DhcpSettingsElement)
ORVO_DEFINE_NORMALIZE(StaticSettingsElement, BaseVariantContainer,
                      ORVO_FIELDS_StaticSettingsElement)
ORVO_DEFINE_NORMALIZE(RoutingSettingsElement, BaseVariantContainer,
                      ORVO_FIELDS_RoutingSettingsElement)
ORVO_DEFINE_NORMALIZE(NameserverElement, BaseVariantContainer, ORVO_FIELDS_NameserverElement)
ORVO_DEFINE_NORMALIZE(DnsSettingsElement, BaseVariantContainer, ORVO_FIELDS_DnsSettingsElement)

ORVO_DEFINE_NORMALIZE(NetworkStatus, BaseRequestMessage, ORVO_FIELDS_NetworkStatus)
ORVO_DEFINE_NORMALIZE(ScanAP, BaseRequestMessage, ORVO_FIELDS_ScanAP)
ORVO_DEFINE_NORMALIZE(ChangeNetworkSettings, BaseRequestMessage, ORVO_FIELDS_ChangeNetworkSettings)
ORVO_DEFINE_NORMALIZE(TestAndApplyNetworkSettings, BaseRequestMessage,
                      ORVO_FIELDS_TestAndApplyNetworkSettings)

void DhcpSettingsElement::status(int value) {
  fields::ensureContainer(*this);
  (*this)["status"] = value;
}

void NameserverElement::status(int value) { (*this)["status"] = value; }

void NameserverElement::ip(std::string const& value) { (*this)["ip"] = value; }

}  // namespace messages
}  // namespace ipc
}  // namespace orvo
