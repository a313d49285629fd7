// Messages of the network daemon "orvo_networkd": status, configuration
// changes (wired DHCP or static addressing, wireless, routes, name servers),
// test-and-apply, and the wireless scan.
#pragma once

#include <string>

#include "orvo/ipc/messages/base.h"
#include "orvo/ipc/messages/fields.h"

namespace orvo {
namespace ipc {
namespace messages {

using orvo::variant::BaseVariantContainer;

// ---- Nested elements of ChangeNetworkSettings ----

// clang-format off
#define ORVO_FIELDS_WpaSettingsElement(X) \
  X(STRING, auth, "", noRange)            \
  X(STRING, psk,  "", noRange)
// clang-format on

// clang-format off
#define ORVO_FIELDS_ExperimentsElement(X) \
  X(STRING, bgscan, "_UNINITIALIZED_", noRange)
// clang-format on

class WpaSettingsElement : public BaseVariantContainer {
  ORVO_FIELD_TABLE(WpaSettingsElement, BaseVariantContainer, ORVO_FIELDS_WpaSettingsElement)
};

class ExperimentsElement : public BaseVariantContainer {
  ORVO_FIELD_TABLE(ExperimentsElement, BaseVariantContainer, ORVO_FIELDS_ExperimentsElement)
};

// "enableSounds" is the daemon's name for this flag and stays as it is.
// clang-format off
#define ORVO_FIELDS_WirelessSettingsElement(X)             \
  X(I32,     initialized,  -1,                 noRange)     \
  X(STRING,  key,          "",                 noRange)     \
  X(STRING,  ssid,         "",                 noRange)     \
  X(BOOL,    enableSounds, true,               noRange)     \
  X(ELEMENT, wpa,          WpaSettingsElement, noRange)     \
  X(ELEMENT, experiments,  ExperimentsElement, noRange)
// clang-format on

class WirelessSettingsElement : public BaseVariantContainer {
  ORVO_FIELD_TABLE(WirelessSettingsElement, BaseVariantContainer,
                   ORVO_FIELDS_WirelessSettingsElement)
};

// clang-format off
#define ORVO_FIELDS_DhcpSettingsElement(X)  \
  X(I32,    status,          -1, noRange)   \
  X(STRING, fallbackIP,      "", noRange)   \
  X(STRING, fallbackNetmask, "", noRange)
// clang-format on

class DhcpSettingsElement : public BaseVariantContainer {
  ORVO_FIELD_TABLE(DhcpSettingsElement, BaseVariantContainer, ORVO_FIELDS_DhcpSettingsElement)
  void status(int value);
};

// clang-format off
#define ORVO_FIELDS_StaticSettingsElement(X) \
  X(STRING, ip,      "", noRange)            \
  X(STRING, netmask, "", noRange)
// clang-format on

class StaticSettingsElement : public BaseVariantContainer {
  ORVO_FIELD_TABLE(StaticSettingsElement, BaseVariantContainer, ORVO_FIELDS_StaticSettingsElement)
};

// clang-format off
#define ORVO_FIELDS_RoutingSettingsElement(X) \
  X(STRING, gateway, "", noRange)
// clang-format on

class RoutingSettingsElement : public BaseVariantContainer {
  ORVO_FIELD_TABLE(RoutingSettingsElement, BaseVariantContainer,
                   ORVO_FIELDS_RoutingSettingsElement)
};

// clang-format off
#define ORVO_FIELDS_NameserverElement(X) \
  X(I32,    status, -1, noRange)         \
  X(STRING, ip,     "", noRange)
// clang-format on

class NameserverElement : public BaseVariantContainer {
  ORVO_FIELD_TABLE(NameserverElement, BaseVariantContainer, ORVO_FIELDS_NameserverElement)
  void status(int value);
  void ip(std::string const& value);
};

// clang-format off
#define ORVO_FIELDS_DnsSettingsElement(X)        \
  X(ELEMENT, ns1, NameserverElement, noRange)    \
  X(ELEMENT, ns2, NameserverElement, noRange)
// clang-format on

class DnsSettingsElement : public BaseVariantContainer {
  ORVO_FIELD_TABLE(DnsSettingsElement, BaseVariantContainer, ORVO_FIELDS_DnsSettingsElement)
};

// ---- Requests ----

// The response has the same shape and is read through the same accessors.
// clang-format off
#define ORVO_FIELDS_NetworkStatus(X)                                \
  X(ENUM,   functionName,               ("NetworkStatus"), noRange) \
  X(BOOL,   responseExpected,           true,              noRange) \
  X(U32,    connectionState,            0,                 noRange) \
  X(STRING, connectionStateDescription, "",                noRange) \
  X(STRING, defaultInterface,           "",                noRange) \
  X(STRING, mode,                       "",                noRange) \
  X(STRING, ipAddress,                  "",                noRange) \
  X(STRING, networkMask,                "",                noRange) \
  X(STRING, gateway,                    "",                noRange) \
  X(STRING, dnsServer,                  "",                noRange) \
  X(U32,    dhcpLeaseTime,              0,                 noRange) \
  X(U32,    linkSpeedMbps,              0,                 noRange) \
  X(U32,    linkDuplex,                 0,                 noRange) \
  X(STRING, wlanMode,                   "",                noRange) \
  X(STRING, keyManagement,              "",                noRange) \
  X(STRING, essid,                      "",                noRange) \
  X(U32,    frequency,                  0,                 noRange) \
  X(U32,    txpower,                    0,                 noRange) \
  X(U32,    quality,                    0,                 noRange) \
  X(U32,    qualityMax,                 0,                 noRange) \
  X(U32,    signalLevel,                0,                 noRange)
// clang-format on

class NetworkStatus : public BaseRequestMessage {
  ORVO_FIELD_TABLE(NetworkStatus, BaseRequestMessage, ORVO_FIELDS_NetworkStatus)
};

// clang-format off
#define ORVO_FIELDS_ScanAP(X)                            \
  X(ENUM, functionName,     ("ScanAP"), noRange)         \
  X(BOOL, responseExpected, true,       noRange)
// clang-format on

class ScanAP : public BaseRequestMessage {
  ORVO_FIELD_TABLE(ScanAP, BaseRequestMessage, ORVO_FIELDS_ScanAP)
};

// The static-addressing element is spelled "statik"; a member "static" is
// not it and is left alone.
#define ORVO_NETWORK_SETTINGS_FIELDS(X)                          \
  X(BOOL,    responseExpected, true,                    noRange) \
  X(ELEMENT, wifi,             WirelessSettingsElement, noRange) \
  X(ELEMENT, dhcp,             DhcpSettingsElement,     noRange) \
  X(ELEMENT, statik,           StaticSettingsElement,   noRange) \
  X(ELEMENT, routes,           RoutingSettingsElement,  noRange) \
  X(ELEMENT, dns,              DnsSettingsElement,      noRange)

// clang-format off
#define ORVO_FIELDS_ChangeNetworkSettings(X)                   \
  X(ENUM, functionName, ("ChangeNetworkSettings"), noRange)    \
  ORVO_NETWORK_SETTINGS_FIELDS(X)
// clang-format on

// clang-format off
#define ORVO_FIELDS_TestAndApplyNetworkSettings(X)                \
  X(ENUM, functionName, ("TestAndApplyNetworkSettings"), noRange) \
  ORVO_NETWORK_SETTINGS_FIELDS(X)
// clang-format on

class ChangeNetworkSettings : public BaseRequestMessage {
  ORVO_FIELD_TABLE(ChangeNetworkSettings, BaseRequestMessage, ORVO_FIELDS_ChangeNetworkSettings)
};

class TestAndApplyNetworkSettings : public BaseRequestMessage {
  ORVO_FIELD_TABLE(TestAndApplyNetworkSettings, BaseRequestMessage,
                   ORVO_FIELDS_TestAndApplyNetworkSettings)
};

}  // namespace messages
}  // namespace ipc
}  // namespace orvo
