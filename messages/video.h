// Video and audio encoding settings for the streamer ("orvo_streamer"):
// sensor inputs, audio, and the six streams with their serializers.
#pragma once

#include "orvo/ipc/messages/base.h"
#include "orvo/ipc/messages/fields.h"

namespace orvo {
namespace ipc {
namespace messages {

using orvo::variant::BaseVariantContainer;

// clang-format off
#define ORVO_FIELDS_ChipVinSettingsElement(X) \
  X(I8, hdrMode, -1, atLeast(-1))
// clang-format on

class ChipVinSettingsElement : public BaseVariantContainer {
  ORVO_FIELD_TABLE(ChipVinSettingsElement, BaseVariantContainer,
                   ORVO_FIELDS_ChipVinSettingsElement)
};

// clang-format off
#define ORVO_FIELDS_ChipSettings(X)                      \
  X(ELEMENT, vin0, ChipVinSettingsElement, noRange)      \
  X(ELEMENT, vin1, ChipVinSettingsElement, noRange)
// clang-format on

class ChipSettings : public BaseVariantContainer {
  ORVO_FIELD_TABLE(ChipSettings, BaseVariantContainer, ORVO_FIELDS_ChipSettings)
};

// clang-format off
#define ORVO_FIELDS_AudioSettings(X)                     \
  X(I8,  volume,  -1,   within(-1, 100))                 \
  X(U32, bitRate, 7999, within(7999, 160000))
// clang-format on

class AudioSettings : public BaseVariantContainer {
  ORVO_FIELD_TABLE(AudioSettings, BaseVariantContainer, ORVO_FIELDS_AudioSettings)
};

// clang-format off
#define ORVO_FIELDS_AVSerializer(X)                                                      \
  X(ENUM, type, ("unknown", "flv", "mjpg", "rtmp", "extendedFlv", "orvo", "passThrough"), \
                                       noRange)                                          \
  X(KEPT, parameters,   emptyObject,   noRange)                                          \
  X(KEPT, destinations, emptyObject,   noRange)
// clang-format on

class AVSerializer : public BaseVariantContainer {
  ORVO_FIELD_TABLE(AVSerializer, BaseVariantContainer, ORVO_FIELDS_AVSerializer)
};

// clang-format off
#define ORVO_FIELDS_VideoSettingsElement(X)                                     \
  X(U8,      fps,                      0,            atMost(30))                \
  X(U32,     bitRateVbrMax,            16383,        within(16383, 16000000))   \
  X(U32,     bitRateCbrAvg,            16383,        within(16383, 16000000))   \
  X(I32,     minClientAdaptiveBitRate, -1,           atLeast(-1))               \
  X(I32,     minMotionAdaptiveBitRate, -1,           atLeast(-1))               \
  X(U8,      nMultiplier,              0,            atMost(10))                \
  X(U8,      quality,                  0,            atMost(100))               \
  X(BOOL,    isCbr,                    false,        noRange)                   \
  X(ELEMENT, avSerializer,             AVSerializer, noRange)
// clang-format on

class VideoSettingsElement : public BaseVariantContainer {
  ORVO_FIELD_TABLE(VideoSettingsElement, BaseVariantContainer, ORVO_FIELDS_VideoSettingsElement)
};

// clang-format off
#define ORVO_FIELDS_VideoSettings(X)                      \
  X(I8,      hdrMode, -1,                   atLeast(-1))  \
  X(ELEMENT, video1,  VideoSettingsElement, noRange)      \
  X(ELEMENT, video2,  VideoSettingsElement, noRange)      \
  X(ELEMENT, video3,  VideoSettingsElement, noRange)      \
  X(ELEMENT, mjpg,    VideoSettingsElement, noRange)      \
  X(ELEMENT, mjpg1,   VideoSettingsElement, noRange)      \
  X(ELEMENT, mjpg2,   VideoSettingsElement, noRange)
// clang-format on

class VideoSettings : public BaseVariantContainer {
  ORVO_FIELD_TABLE(VideoSettings, BaseVariantContainer, ORVO_FIELDS_VideoSettings)
};

// clang-format off
#define ORVO_FIELDS_ChangeVideoSettings(X)                           \
  X(ENUM,    functionName,     ("ChangeVideoSettings"), noRange)     \
  X(BOOL,    responseExpected, true,                    noRange)     \
  X(ELEMENT, chip,             ChipSettings,            noRange)     \
  X(ELEMENT, audio,            AudioSettings,           noRange)     \
  X(ELEMENT, video,            VideoSettings,           noRange)
// clang-format on

class ChangeVideoSettings : public BaseRequestMessage {
  ORVO_FIELD_TABLE(ChangeVideoSettings, BaseRequestMessage, ORVO_FIELDS_ChangeVideoSettings)
};

}  // namespace messages
}  // namespace ipc
}  // namespace orvo
