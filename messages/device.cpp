#include "messages/device.h"

namespace orvo {
namespace ipc {
namespace messages {

ORVO_DEFINE_NORMALIZE(StartService, BaseRequestMessage, ORVO_FIELDS_StartService)
ORVO_DEFINE_NORMALIZE(StopService, BaseRequestMessage, ORVO_FIELDS_StopService)
ORVO_DEFINE_NORMALIZE(GetAvclientState, BaseRequestMessage, ORVO_FIELDS_GetAvclientState)
ORVO_DEFINE_NORMALIZE(ResetToDefaults, BaseRequestMessage, ORVO_FIELDS_ResetToDefaults)
ORVO_DEFINE_NORMALIZE(ResetIspSettings, BaseRequestMessage, ORVO_FIELDS_ResetIspSettings)
ORVO_DEFINE_NORMALIZE(ChangeDeviceSettings, BaseRequestMessage, ORVO_FIELDS_ChangeDeviceSettings)
ORVO_DEFINE_NORMALIZE(ChangeUsernamePassword, BaseRequestMessage,
                      ORVO_FIELDS_ChangeUsernamePassword)
ORVO_DEFINE_NORMALIZE(Adopt, BaseRequestMessage, ORVO_FIELDS_Adopt)

}  // namespace messages
}  // namespace ipc
}  // namespace orvo
