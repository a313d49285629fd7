// Defaults of the picture, stream, overlay, recorder, analytics and
// sound/LED daemons: section "settings" in the shape of their change message.
#include "default_state.h"

namespace orvo {
namespace sim {

char const kIspDefaults[] = R"({"settings": {
  "brightness": 50, "contrast": 50, "denoise": 50, "hue": 50, "saturation": 50,
  "sharpness": 50, "wdr": 1, "mirror": 0, "flip": 0, "autoFlipMirror": 1,
  "aeMode": "auto", "aggressiveAntiFlicker": 0, "forceFilterIrSwitchEvents": 0,
  "irLedMode": "auto", "irLedLevel": 215, "focusMode": "auto",
  "zoomPosition": 0, "focusPosition": 50, "touchFocusX": 500, "touchFocusY": 500,
  "afExtendRange": 0, "dZoomStreamId": 0, "dZoomCenterX": 50, "dZoomCenterY": 50,
  "dZoomScale": 0, "enable3dnr": 1,
  "irOnValBrightness": 50, "irOnStsBrightness": 0, "irOnValContrast": 50, "irOnStsContrast": 0,
  "irOnValDenoise": 50, "irOnStsDenoise": 0, "irOnValHue": 50, "irOnStsHue": 0,
  "irOnValSaturation": 50, "irOnStsSaturation": 0, "irOnValSharpness": 50,
  "irOnStsSharpness": 0, "irOnValWdr": 1, "irOnStsWdr": 0,
  "lensDistortionCorrection": 1, "enableExternalIr": 0, "enableMicroTmpProtect": 1,
  "criticalTmpOfProtect": 40, "aeTargetPercent": 50, "darkAreaCompensateLevel": 1,
  "queryIrLedStatus": 0, "icrSensitivity": 1, "icrLightSensorNightThd": 2000,
  "pirSensitivity": 1, "enablePauseMotion": 0, "masks": []
}})";

char const kStreamerDefaults[] = R"({"settings": {
  "chip": {"vin0": {"hdrMode": 0}, "vin1": {"hdrMode": 0}},
  "audio": {"volume": 80, "bitRate": 32000},
  "video": {
    "hdrMode": 0,
    "video1": {"fps": 30, "bitRateVbrMax": 6000000, "bitRateCbrAvg": 3000000,
               "minClientAdaptiveBitRate": 0, "minMotionAdaptiveBitRate": 0,
               "nMultiplier": 2, "quality": 90, "isCbr": false,
               "avSerializer": {"type": "extendedFlv", "parameters": {"streamName": "video1"},
                                "destinations": ["tcp://127.0.0.1:6666"]}},
    "video2": {"fps": 30, "bitRateVbrMax": 1200000, "bitRateCbrAvg": 700000,
               "minClientAdaptiveBitRate": 0, "minMotionAdaptiveBitRate": 0,
               "nMultiplier": 2, "quality": 80, "isCbr": false,
               "avSerializer": {"type": "extendedFlv", "parameters": {"streamName": "video2"},
                                "destinations": ["tcp://127.0.0.1:6667"]}},
    "video3": {"fps": 15, "bitRateVbrMax": 300000, "bitRateCbrAvg": 200000,
               "minClientAdaptiveBitRate": 0, "minMotionAdaptiveBitRate": 0,
               "nMultiplier": 1, "quality": 70, "isCbr": false,
               "avSerializer": {"type": "extendedFlv", "parameters": {"streamName": "video3"},
                                "destinations": ["tcp://127.0.0.1:6668"]}},
    "mjpg": {"fps": 1, "bitRateVbrMax": 1000000, "bitRateCbrAvg": 500000,
             "minClientAdaptiveBitRate": 0, "minMotionAdaptiveBitRate": 0,
             "nMultiplier": 1, "quality": 80, "isCbr": false,
             "avSerializer": {"type": "mjpg", "parameters": {"streamName": "mjpg"},
                              "destinations": ["file:///tmp/snap.jpeg"]}},
    "mjpg1": {"fps": 1, "bitRateVbrMax": 500000, "bitRateCbrAvg": 250000,
              "minClientAdaptiveBitRate": 0, "minMotionAdaptiveBitRate": 0,
              "nMultiplier": 1, "quality": 70, "isCbr": false,
              "avSerializer": {"type": "mjpg", "parameters": {"streamName": "mjpg1"},
                               "destinations": []}},
    "mjpg2": {"fps": 1, "bitRateVbrMax": 250000, "bitRateCbrAvg": 125000,
              "minClientAdaptiveBitRate": 0, "minMotionAdaptiveBitRate": 0,
              "nMultiplier": 1, "quality": 60, "isCbr": false,
              "avSerializer": {"type": "mjpg", "parameters": {"streamName": "mjpg2"},
                               "destinations": []}}
  }
}})";

char const kOsdDefaults[] = R"({"settings": {
  "_1": {"tag": "Camera", "enableDate": 1, "enableLogo": 1,
         "enableStreamerStatsLevel": 0, "enableReportdStatsLevel": 0},
  "_2": {"tag": "Camera", "enableDate": 1, "enableLogo": 1,
         "enableStreamerStatsLevel": 0, "enableReportdStatsLevel": 0},
  "_3": {"tag": "Camera", "enableDate": 1, "enableLogo": 0,
         "enableStreamerStatsLevel": 0, "enableReportdStatsLevel": 0},
  "_4": {"tag": "Camera", "enableDate": 0, "enableLogo": 0,
         "enableStreamerStatsLevel": 0, "enableReportdStatsLevel": 0},
  "useISO8601": false, "useCustomLogo": 0, "logoScale": 50, "textScale": 50,
  "enableOverlay": 1, "overlayColorId": 0
}})";

char const kNvrDefaults[] = R"({"settings": {
  "cfgver": 1, "standaloneEnabled": 0, "rtspEnabled": 0, "rtspPort": 554,
  "rtspAuthEnabled": 1, "rtspUsername": "admin", "rtspPassword": "",
  "ntpClientHost": "pool.ntp.org", "recordFulltime": 0, "recordMotionEvents": 1,
  "recordMotionSensitivity": 50, "recordSoundEvents": 0, "recordSoundSensitivity": 50
}})";

char const kAnalyticsDefaults[] = R"({"settings": {
  "respondFullSettings": true, "sendEvents": 1,
  "lingerEventStartSec": 0, "lingerEventStopSec": 5,
  "lingerEventStartMSec": 0, "lingerEventStopMSec": 5000,
  "consecutiveRatio": 2, "sendPulse": 0, "pulsePeriodSec": 60,
  "ispFlip": 0, "ispMirror": 0, "interruptTimeoutMs": 3000, "interruptReason": "",
  "bgmodel": "default", "playWavOnEventCustomSound": 0, "playWavOnEventStartSts": 0,
  "playWavOnEventStartVolume": 80, "suppressIlluminationSurge": 1,
  "zones": [{"name": "Default", "sensitivity": 50,
             "coordinates": [[0, 0], [1, 0], [1, 1], [0, 1]]}],
  "internals": {"movementScaleRatio": 4}
}})";

char const kSoundsLedsDefaults[] = R"({"settings": {
  "speakerEnabled": 1, "speakerVolume": 80, "systemSoundsEnabled": 1,
  "ledFaceEnabled": 1, "ledFaceAlwaysOnWhenManaged": 0, "userLedBlinkPeriodMs": 0,
  "userLedColorFg": "blue", "ledAnimColorFg": "white", "ledAnimColorBg": "black",
  "userLedOnNoff": 0, "ledAnimOnDurationMs": 300, "ledAnimDensity": 50
}})";

}  // namespace sim
}  // namespace orvo
