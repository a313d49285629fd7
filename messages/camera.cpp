#include "messages/camera.h"

namespace orvo {
namespace ipc {
namespace messages {

ORVO_DEFINE_NORMALIZE(ChangeIspSettings, BaseRequestMessage, ORVO_FIELDS_ChangeIspSettings)
ORVO_DEFINE_NORMALIZE(OsdCh, BaseVariantContainer, ORVO_FIELDS_OsdCh)
ORVO_DEFINE_NORMALIZE(ChangeOsdSettings, BaseRequestMessage, ORVO_FIELDS_ChangeOsdSettings)
ORVO_DEFINE_NORMALIZE(ChangeNvrSettings, BaseRequestMessage, ORVO_FIELDS_ChangeNvrSettings)
ORVO_DEFINE_NORMALIZE(AnalyticsAlgorithmInternals, BaseVariantContainer,
                      ORVO_FIELDS_AnalyticsAlgorithmInternals)
ORVO_DEFINE_NORMALIZE(ChangeAnalyticsSettings, BaseRequestMessage,
                      ORVO_FIELDS_ChangeAnalyticsSettings)
ORVO_DEFINE_NORMALIZE(ChangeSoundLedSettings, BaseRequestMessage,
                      ORVO_FIELDS_ChangeSoundLedSettings)

}  // namespace messages
}  // namespace ipc
}  // namespace orvo
