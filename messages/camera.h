// Camera configuration messages: picture control ("orvo_ispserver"),
// on-screen display ("orvo_osd"), recording ("orvo_nvr"), motion analytics
// ("orvo_analytics"), sounds and LEDs ("orvo_sounds_leds"). Video and audio
// encoding is in messages/video.h.
//
// Defaults are not-set markers: 101 for 0-100 values, 2 for unsigned on/off
// values, -1 for signed values, "_UNINITIALIZED_" for strings. Most upper
// bounds equal the marker, so out-of-range input collapses onto not set.
#pragma once

#include "orvo/ipc/messages/base.h"
#include "orvo/ipc/messages/fields.h"

namespace orvo {
namespace ipc {
namespace messages {

using orvo::variant::BaseVariantContainer;

// The irOnVal*/irOnSts* pairs: the picture value used while the infrared
// LEDs are on, and whether that override is active.
// clang-format off
#define ORVO_FIELDS_ChangeIspSettings(X)                                                \
  X(ENUM, functionName,              ("ChangeIspSettings"),                 noRange)    \
  X(BOOL, responseExpected,          true,                                  noRange)    \
  X(U8,   brightness,                101,                                   atMost(101)) \
  X(U8,   contrast,                  101,                                   atMost(101)) \
  X(U8,   denoise,                   101,                                   atMost(101)) \
  X(U8,   hue,                       101,                                   atMost(101)) \
  X(U8,   saturation,                101,                                   atMost(101)) \
  X(U8,   sharpness,                 101,                                   atMost(101)) \
  X(U8,   wdr,                       4,                                     atMost(4))   \
  X(U8,   mirror,                    2,                                     atMost(2))   \
  X(U8,   flip,                      2,                                     atMost(2))   \
  X(U8,   autoFlipMirror,            2,                                     atMost(2))   \
  X(ENUM, aeMode, ("none", "manual", "auto", "shutter", "flick60", "flick50"), noRange) \
  X(U8,   aggressiveAntiFlicker,     2,                                     atMost(2))   \
  X(U8,   forceFilterIrSwitchEvents, 2,                                     atMost(2))   \
  X(ENUM, irLedMode,                 ("none", "manual", "auto"),            noRange)     \
  X(U32,  irLedLevel,                256,                                   atMost(256)) \
  X(ENUM, focusMode, ("none", "manual", "auto", "ztrig", "touch"),          noRange)     \
  X(U8,   zoomPosition,              101,                                   atMost(101)) \
  X(U8,   focusPosition,             101,                                   atMost(101)) \
  X(U32,  touchFocusX,               1001,                                  atMost(1001)) \
  X(U32,  touchFocusY,               1001,                                  atMost(1001)) \
  X(U32,  afExtendRange,             201,                                   atMost(201)) \
  X(U8,   dZoomStreamId,             5,                                     atMost(5))   \
  X(U8,   dZoomCenterX,              101,                                   atMost(101)) \
  X(U8,   dZoomCenterY,              101,                                   atMost(101)) \
  X(U8,   dZoomScale,                101,                                   atMost(101)) \
  X(U8,   enable3dnr,                2,                                     atMost(2))   \
  X(U8,   irOnValBrightness,         101,                                   atMost(101)) \
  X(U8,   irOnStsBrightness,         2,                                     atMost(2))   \
  X(U8,   irOnValContrast,           101,                                   atMost(101)) \
  X(U8,   irOnStsContrast,           2,                                     atMost(2))   \
  X(U8,   irOnValDenoise,            101,                                   atMost(101)) \
  X(U8,   irOnStsDenoise,            2,                                     atMost(2))   \
  X(U8,   irOnValHue,                101,                                   atMost(101)) \
  X(U8,   irOnStsHue,                2,                                     atMost(2))   \
  X(U8,   irOnValSaturation,         101,                                   atMost(101)) \
  X(U8,   irOnStsSaturation,         2,                                     atMost(2))   \
  X(U8,   irOnValSharpness,          101,                                   atMost(101)) \
  X(U8,   irOnStsSharpness,          2,                                     atMost(2))   \
  X(U8,   irOnValWdr,                4,                                     atMost(4))   \
  X(U8,   irOnStsWdr,                2,                                     atMost(2))   \
  X(U8,   lensDistortionCorrection,  4,                                     atMost(4))   \
  X(U8,   enableExternalIr,          2,                                     atMost(2))   \
  X(U8,   enableMicroTmpProtect,     2,                                     atMost(2))   \
  X(U8,   criticalTmpOfProtect,      51,                                    atMost(51))  \
  X(U8,   aeTargetPercent,           101,                                   atMost(101)) \
  X(U8,   darkAreaCompensateLevel,   4,                                     atMost(4))   \
  X(U8,   queryIrLedStatus,          3,                                     atMost(3))   \
  X(U8,   icrSensitivity,            4,                                     atMost(4))   \
  X(U32,  icrLightSensorNightThd,    65536,                                 atMost(65536)) \
  X(U8,   pirSensitivity,            3,                                     atMost(3))   \
  X(U8,   enablePauseMotion,         2,                                     atMost(2))   \
  X(KEPT, masks,                     emptyObject,                           noRange)
// clang-format on

class ChangeIspSettings : public BaseRequestMessage {
  ORVO_FIELD_TABLE(ChangeIspSettings, BaseRequestMessage, ORVO_FIELDS_ChangeIspSettings)
};

// One per video channel of the on-screen display.
// clang-format off
#define ORVO_FIELDS_OsdCh(X)                                              \
  X(STRING, tag,                      "_UNINITIALIZED_", noRange)         \
  X(I32,    enableDate,               -1,                flag)            \
  X(I32,    enableLogo,               -1,                flag)            \
  X(I32,    enableStreamerStatsLevel, -1,                within(-1, 4))   \
  X(I32,    enableReportdStatsLevel,  -1,                within(-1, 255))
// clang-format on

class OsdCh : public BaseVariantContainer {
  ORVO_FIELD_TABLE(OsdCh, BaseVariantContainer, ORVO_FIELDS_OsdCh)
};

// clang-format off
#define ORVO_FIELDS_ChangeOsdSettings(X)                               \
  X(ENUM,    functionName,     ("ChangeOsdSettings"), noRange)         \
  X(BOOL,    responseExpected, true,                  noRange)         \
  X(ELEMENT, _1,               OsdCh,                 noRange)         \
  X(ELEMENT, _2,               OsdCh,                 noRange)         \
  X(ELEMENT, _3,               OsdCh,                 noRange)         \
  X(ELEMENT, _4,               OsdCh,                 noRange)         \
  X(BOOL,    useISO8601,       true,                  noRange)         \
  X(I32,     useCustomLogo,    -1,                    flag)            \
  X(I32,     logoScale,        -1,                    within(-1, 100)) \
  X(I32,     textScale,        -1,                    within(-1, 100)) \
  X(I32,     enableOverlay,    -1,                    flag)            \
  X(I32,     overlayColorId,   -1,                    within(-1, 3))
// clang-format on

class ChangeOsdSettings : public BaseRequestMessage {
  ORVO_FIELD_TABLE(ChangeOsdSettings, BaseRequestMessage, ORVO_FIELDS_ChangeOsdSettings)
};

// clang-format off
#define ORVO_FIELDS_ChangeNvrSettings(X)                                      \
  X(ENUM,   functionName,            ("ChangeNvrSettings"), noRange)          \
  X(BOOL,   responseExpected,        true,                  noRange)          \
  X(I32,    cfgver,                  -1,                    noRange)          \
  X(I32,    standaloneEnabled,       -1,                    flag)             \
  X(I32,    rtspEnabled,             -1,                    flag)             \
  X(I32,    rtspPort,                -1,                    within(-1, 65535)) \
  X(I32,    rtspAuthEnabled,         -1,                    flag)             \
  X(STRING, rtspUsername,            "_UNINITIALIZED_",     noRange)          \
  X(STRING, rtspPassword,            "_UNINITIALIZED_",     noRange)          \
  X(STRING, ntpClientHost,           "_UNINITIALIZED_",     noRange)          \
  X(I32,    recordFulltime,          -1,                    flag)             \
  X(I32,    recordMotionEvents,      -1,                    flag)             \
  X(I32,    recordMotionSensitivity, -1,                    within(-1, 100))  \
  X(I32,    recordSoundEvents,       -1,                    flag)             \
  X(I32,    recordSoundSensitivity,  -1,                    within(-1, 100))
// clang-format on

class ChangeNvrSettings : public BaseRequestMessage {
  ORVO_FIELD_TABLE(ChangeNvrSettings, BaseRequestMessage, ORVO_FIELDS_ChangeNvrSettings)
};

// clang-format off
#define ORVO_FIELDS_AnalyticsAlgorithmInternals(X) \
  X(U8, movementScaleRatio, 0, atMost(64))
// clang-format on

class AnalyticsAlgorithmInternals : public BaseVariantContainer {
  ORVO_FIELD_TABLE(AnalyticsAlgorithmInternals, BaseVariantContainer,
                   ORVO_FIELDS_AnalyticsAlgorithmInternals)
};

// The two "Stop" linger times default to 0 and clamp negatives to 0, unlike
// the "Start" times: a stop delay is never "not set".
// clang-format off
#define ORVO_FIELDS_ChangeAnalyticsSettings(X)                                            \
  X(ENUM,    functionName,              ("ChangeAnalyticsSettings"),   noRange)           \
  X(BOOL,    responseExpected,          true,                          noRange)           \
  X(BOOL,    respondFullSettings,       true,                          noRange)           \
  X(U8,      sendEvents,                2,                             atMost(2))         \
  X(I32,     lingerEventStartSec,       -1,                            within(-1, 60))    \
  X(I32,     lingerEventStopSec,        0,                             within(0, 120))    \
  X(I32,     lingerEventStartMSec,      -1,                            within(-1, 60000)) \
  X(I32,     lingerEventStopMSec,       0,                             within(0, 120000)) \
  X(I32,     consecutiveRatio,          -1,                            within(-1, 5))     \
  X(U8,      sendPulse,                 2,                             atMost(2))         \
  X(I32,     pulsePeriodSec,            -1,                            noRange)           \
  X(U8,      ispFlip,                   2,                             atMost(2))         \
  X(U8,      ispMirror,                 2,                             atMost(2))         \
  X(U16,     interruptTimeoutMs,        5000,                          atMost(60000))     \
  X(STRING,  interruptReason,           "",                            noRange)           \
  X(ENUM,    bgmodel, ("", "default", "beta", "orvo1", "orvo2", "orvo3", "orvo4", "mog2"), \
                                                                       noRange)           \
  X(I32,     playWavOnEventCustomSound, -1,                            flag)              \
  X(I32,     playWavOnEventStartSts,    -1,                            flag)              \
  X(I32,     playWavOnEventStartVolume, -1,                            within(-1, 100))   \
  X(I32,     suppressIlluminationSurge, -1,                            flag)              \
  X(KEPT,    zones,                     emptyObject,                   noRange)           \
  X(ELEMENT, internals,                 AnalyticsAlgorithmInternals,   noRange)
// clang-format on

class ChangeAnalyticsSettings : public BaseRequestMessage {
  ORVO_FIELD_TABLE(ChangeAnalyticsSettings, BaseRequestMessage,
                   ORVO_FIELDS_ChangeAnalyticsSettings)
};

// Each colour field owns its own copy of this list; "" (not set) first.
#define ORVO_LED_COLOURS                                                            \
  ("", "black", "red", "green", "blue", "yellow", "cyan", "magenta", "white",       \
   "white_red", "white_green", "white_blue", "white_yellow", "white_cyan", "white_magenta")

// clang-format off
#define ORVO_FIELDS_ChangeSoundLedSettings(X)                                     \
  X(ENUM, functionName,               ("ChangeSoundLedSettings"), noRange)        \
  X(BOOL, responseExpected,           true,                       noRange)        \
  X(I32,  speakerEnabled,             -1,                         flag)           \
  X(I32,  speakerVolume,              -1,                         within(-1, 100)) \
  X(I32,  systemSoundsEnabled,        -1,                         flag)           \
  X(I32,  ledFaceEnabled,             -1,                         flag)           \
  X(I32,  ledFaceAlwaysOnWhenManaged, -1,                         flag)           \
  X(I32,  userLedBlinkPeriodMs,       -1,                         atLeast(-1))    \
  X(ENUM, userLedColorFg,             ORVO_LED_COLOURS,           noRange)        \
  X(ENUM, ledAnimColorFg,             ORVO_LED_COLOURS,           noRange)        \
  X(ENUM, ledAnimColorBg,             ORVO_LED_COLOURS,           noRange)        \
  X(I32,  userLedOnNoff,              -1,                         flag)           \
  X(I32,  ledAnimOnDurationMs,        -1,                         within(-1, 1000)) \
  X(I32,  ledAnimDensity,             -1,                         within(-1, 100))
// clang-format on

class ChangeSoundLedSettings : public BaseRequestMessage {
  ORVO_FIELD_TABLE(ChangeSoundLedSettings, BaseRequestMessage,
                   ORVO_FIELDS_ChangeSoundLedSettings)
};

}  // namespace messages
}  // namespace ipc
}  // namespace orvo
