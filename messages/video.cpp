#include "messages/video.h"

namespace orvo {
namespace ipc {
namespace messages {

// Depth first: chip (vin0, vin1), audio, then video (hdrMode and each
// stream with its serializer).
ORVO_DEFINE_NORMALIZE(ChipVinSettingsElement, BaseVariantContainer,
                      ORVO_FIELDS_ChipVinSettingsElement)
ORVO_DEFINE_NORMALIZE(ChipSettings, BaseVariantContainer, ORVO_FIELDS_ChipSettings)
ORVO_DEFINE_NORMALIZE(AudioSettings, BaseVariantContainer, ORVO_FIELDS_AudioSettings)
ORVO_DEFINE_NORMALIZE(AVSerializer, BaseVariantContainer, ORVO_FIELDS_AVSerializer)
ORVO_DEFINE_NORMALIZE(VideoSettingsElement, BaseVariantContainer,
                      ORVO_FIELDS_VideoSettingsElement)
ORVO_DEFINE_NORMALIZE(VideoSettings, BaseVariantContainer, ORVO_FIELDS_VideoSettings)
ORVO_DEFINE_NORMALIZE(ChangeVideoSettings, BaseRequestMessage, ORVO_FIELDS_ChangeVideoSettings)

}  // namespace messages
}  // namespace ipc
}  // namespace orvo
