// Device, service and management messages: service start and stop, resets,
// identity and credentials ("orvo_ctlserver"), picture reset
// ("orvo_ispserver"), and the A/V client's state and adoption
// ("orvo_avclient").
#pragma once

#include "orvo/ipc/messages/base.h"
#include "orvo/ipc/messages/fields.h"

namespace orvo {
namespace ipc {
namespace messages {

// A caller's explicit "responseExpected" wins over these defaults: the
// default applies only when the member is missing or not a boolean.
#define ORVO_SERVICE_FIELDS(X)                   \
  X(BOOL,   responseExpected, false, noRange)    \
  X(STRING, service,          "",    noRange)

// clang-format off
#define ORVO_FIELDS_StartService(X)                      \
  X(ENUM, functionName, ("StartService"), noRange)       \
  ORVO_SERVICE_FIELDS(X)
// clang-format on

// clang-format off
#define ORVO_FIELDS_StopService(X)                       \
  X(ENUM, functionName, ("StopService"), noRange)        \
  ORVO_SERVICE_FIELDS(X)
// clang-format on

class StartService : public BaseRequestMessage {
  ORVO_FIELD_TABLE(StartService, BaseRequestMessage, ORVO_FIELDS_StartService)
};

class StopService : public BaseRequestMessage {
  ORVO_FIELD_TABLE(StopService, BaseRequestMessage, ORVO_FIELDS_StopService)
};

// Tells whether the camera is managed.
// clang-format off
#define ORVO_FIELDS_GetAvclientState(X)                      \
  X(ENUM, functionName,     ("GetAvclientState"), noRange)   \
  X(BOOL, responseExpected, true,                 noRange)
// clang-format on

class GetAvclientState : public BaseRequestMessage {
  ORVO_FIELD_TABLE(GetAvclientState, BaseRequestMessage, ORVO_FIELDS_GetAvclientState)
};

// clang-format off
#define ORVO_FIELDS_ResetToDefaults(X)                       \
  X(ENUM, functionName,     ("ResetToDefaults"), noRange)    \
  X(BOOL, responseExpected, false,               noRange)
// clang-format on

class ResetToDefaults : public BaseRequestMessage {
  ORVO_FIELD_TABLE(ResetToDefaults, BaseRequestMessage, ORVO_FIELDS_ResetToDefaults)
};

// clang-format off
#define ORVO_FIELDS_ResetIspSettings(X)                      \
  X(ENUM, functionName,     ("ResetIspSettings"), noRange)   \
  X(BOOL, responseExpected, true,                 noRange)
// clang-format on

class ResetIspSettings : public BaseRequestMessage {
  ORVO_FIELD_TABLE(ResetIspSettings, BaseRequestMessage, ORVO_FIELDS_ResetIspSettings)
};

// "timelapseminutes" is an on/off value on the wire: any positive number of
// minutes is sent as 1.
// clang-format off
#define ORVO_FIELDS_ChangeDeviceSettings(X)                        \
  X(ENUM,   functionName,     ("ChangeDeviceSettings"), noRange)   \
  X(BOOL,   responseExpected, true,                     noRange)   \
  X(STRING, name,             "_UNINITIALIZED_",        noRange)   \
  X(STRING, timezone,         "_UNINITIALIZED_",        noRange)   \
  X(STRING, region,           "_UNINITIALIZED_",        noRange)   \
  X(I32,    timelapseminutes, -1,                       flag)      \
  X(BOOL,   persist,          false,                    noRange)
// clang-format on

class ChangeDeviceSettings : public BaseRequestMessage {
  ORVO_FIELD_TABLE(ChangeDeviceSettings, BaseRequestMessage, ORVO_FIELDS_ChangeDeviceSettings)
};

// clang-format off
#define ORVO_FIELDS_ChangeUsernamePassword(X)                      \
  X(ENUM,   functionName,     ("ChangeUsernamePassword"), noRange) \
  X(BOOL,   responseExpected, true,                       noRange) \
  X(STRING, username,         "_UNINITIALIZED_",          noRange) \
  X(STRING, passwordOld,      "_UNINITIALIZED_",          noRange) \
  X(STRING, passwordNew,      "_UNINITIALIZED_",          noRange)
// clang-format on

class ChangeUsernamePassword : public BaseRequestMessage {
  ORVO_FIELD_TABLE(ChangeUsernamePassword, BaseRequestMessage,
                   ORVO_FIELDS_ChangeUsernamePassword)
};

// The sender sets "responseExpected" itself when it wants the answer.
// clang-format off
#define ORVO_FIELDS_Adopt(X)                             \
  X(ENUM,   functionName,     ("Adopt"),   noRange)      \
  X(BOOL,   responseExpected, false,       noRange)      \
  X(STRING, protocol,         "wss",       noRange)      \
  X(KEPT,   hosts,            emptyObject, noRange)      \
  X(STRING, token,            "",          noRange)
// clang-format on

class Adopt : public BaseRequestMessage {
  ORVO_FIELD_TABLE(Adopt, BaseRequestMessage, ORVO_FIELDS_Adopt)
};

}  // namespace messages
}  // namespace ipc
}  // namespace orvo
