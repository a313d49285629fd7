README.md's commands, run in this order by transcript.sh: each "$" step is a
command README.md shows, as it shows it, run in a scratch folder of its own
against a camera of its own. "127.0.0.1:8080" becomes this test's port, ".camsim/"
its root ($ORVO_ROOT, where `./camsim up` makes a fresh one; $ORVO_PORT is its
port), and a program named by its path in the repository (./camsim) is the
repository's. Format: steps.sh. Every command README.md shows is run here at
least once, or excused below with the reason.

Not run here:

  - ./run-tests  # runs this test, among all the others
  - ./run-tests --device  # builds for the device and runs its tests under emulation
  - ./run-tests --vm  # boots the virtual camera
  - scripts/build-device.sh  # builds for the device
  - cmake -S . -B build-device -DORVO_FW_PUBLIC_KEY=/path/to/maker.pub -DORVO_API_REFERENCE_DIR=$PWD/build/docs/api  # configures the device's build (the install tree is the test install_tree's)
  - DESTDIR=$PWD/rootfs cmake --install build-device --prefix / --strip  # needs the device's build
  - ./camsim up --device  # needs the device's build
  - ./camsim vm up [--port N] [--fresh]  # boots the virtual camera
  - curl http://127.0.0.1:8090/cgi-bin/rest.cgi?id=1.2/version  # asks the virtual camera
  - ./camsim vm status  # acts on the repository's build-vm/, a person's virtual camera
  - ./camsim vm console  # a person's shell on the virtual camera
  - ./camsim vm exec 'ls /tmp/.rest'  # needs a running virtual camera (the vm stage and ./run-tests --vm use it)
  - ./camsim vm down  # acts on the repository's build-vm/, a person's virtual camera
  - tools/openapi/openapi.sh lint  # the test openapi_lint runs it
  - tools/openapi/openapi.sh html OUTDIR  # every build runs it (tools/openapi/CMakeLists.txt)

A fresh camera, and the first thing a person tries with it: `up` builds every
program a later command runs.

  $ ./camsim up
  ~ ^http://127.0.0.1:8080$
  $ ./camsim call orvo_ispserver '{"functionName":"ChangeIspSettings","brightness":70}'
  ~ "brightness": ?70([,}]|$)
  = isp
  {"aeMode":"<string>","aeTargetPercent":"<number>","afExtendRange":"<number>",
   "aggressiveAntiFlicker":"<number>","autoFlipMirror":"<number>","brightness":"<number>",
   "contrast":"<number>","criticalTmpOfProtect":"<number>","dZoomCenterX":"<number>",
   "dZoomCenterY":"<number>","dZoomScale":"<number>","dZoomStreamId":"<number>",
   "darkAreaCompensateLevel":"<number>","denoise":"<number>","enable3dnr":"<number>",
   "enableExternalIr":"<number>","enableMicroTmpProtect":"<number>","enablePauseMotion":"<number>",
   "flip":"<number>","focusMode":"<string>","focusPosition":"<number>",
   "forceFilterIrSwitchEvents":"<number>","from":"<string>","hue":"<number>",
   "icrLightSensorNightThd":"<number>","icrSensitivity":"<number>","id":"<number>",
   "irLedLevel":"<number>","irLedMode":"<string>","irOnStsBrightness":"<number>",
   "irOnStsContrast":"<number>","irOnStsDenoise":"<number>","irOnStsHue":"<number>",
   "irOnStsSaturation":"<number>","irOnStsSharpness":"<number>","irOnStsWdr":"<number>",
   "irOnValBrightness":"<number>","irOnValContrast":"<number>","irOnValDenoise":"<number>",
   "irOnValHue":"<number>","irOnValSaturation":"<number>","irOnValSharpness":"<number>",
   "irOnValWdr":"<number>","lensDistortionCorrection":"<number>","masks":[],"mirror":"<number>",
   "pirSensitivity":"<number>","queryIrLedStatus":"<number>","saturation":"<number>",
   "sharpness":"<number>","to":"<string>","touchFocusX":"<number>","touchFocusY":"<number>",
   "wdr":"<number>","zoomPosition":"<number>"}
  $ ./camsim state orvo_ispserver
  ~ "brightness": ?70([,}]|$)
  {"settings":"<object>"}

Without a session: the version, an unknown endpoint (its reason only in the
log) and a preflight.

  $ curl -i http://127.0.0.1:8080/api/1.2/version
  HTTP 200
  ~ ^HTTP/1.1 200 OK
  ~ ^Content-Type: application/json
  {"version":"1.2"}
  $ curl http://127.0.0.1:8080/api/1.2/version
  HTTP 200
  {"version":"1.2"}
  $ curl -i http://127.0.0.1:8080/api/1.2/foo
  HTTP 500
  ~ ^HTTP/1.1 500 Internal Server Error
  $ tail -n 1 .camsim/var/log/messages
  ~ orvo_cgi\[[0-9]+\]: <err> orvo_cgi: [^ ]+:processRestRequest:[0-9]+: No RESTful service called 'foo' is registered$
  $ curl -i -X OPTIONS http://127.0.0.1:8080/api/1.2/status
  HTTP 200

A session, and what it reads and writes.

  $ curl -i -c jar -H 'Content-Type: application/json' \
  >     -d '{"username":"admin","password":"admin"}' http://127.0.0.1:8080/api/1.2/login
  HTTP 200
  ~ ^Set-Cookie: authId=[^;]+; Path=/; Expires=[^;]+; Max-Age=86400; Version=1; HttpOnly; SameSite=Strict
  = status
  {"board":{"hwaddr":"<string>","mac":"<string>","maxTimeoutFwUpdate":"<number>","maxTimeoutReboot":"<number>",
    "name":"<string>"},
   "controller":{"adopted":"<boolean>","host":"<string>","hosts":[],"protocol":"<string>","state":"<string>",
    "uuid":"<string>"},
   "device":{"bootedAsStandalone":"<number>","firstTimeUse":"<boolean>","language":"<string>"},
   "features":{"accelerometer":"<number>","adjustableIR":"<number>","battery":"<number>","bluetooth":"<number>",
    "externalIR":"<number>","ldc":"<number>","ledIr":"<number>","ledStatus":"<number>",
    "lineIn":"<number>","magicZoom":"<number>","mic":"<number>","opticalZoom":"<number>",
    "rtc":"<number>","sdmmc":"<number>","speaker":"<number>","touchFocus":"<number>","wifi":"<number>"},
   "fw":{"protocolVer":"<number>","semver":"<string>","version":"<string>"},"hostName":"<string>",
   "network":{"bytesRx":"<number>","bytesTx":"<number>","dns":"<string>","gw":"<string>","ip":"<string>",
    "leaseTime":"<number>","mask":"<string>","nic":"<string>","speed":"<number>"},
   "request":{"remoteIp":"<string>"},
   "system":{"cpu":"<number>","loadavg":"<number>","uptime":"<number>"},"wifi":{"mode":"<string>"}}
  $ curl -b jar http://127.0.0.1:8080/api/1.2/status
  HTTP 200
  = status
  $ curl -b jar http://127.0.0.1:8080/api/1.2/settings
  HTTP 200
  {"analytics":{"bgmodel":"<string>","consecutiveRatio":"<number>","from":"<string>","id":"<number>",
    "internals":{"movementScaleRatio":"<number>"},"interruptReason":"<string>",
    "interruptTimeoutMs":"<number>","ispFlip":"<number>","ispMirror":"<number>",
    "lingerEventStartMSec":"<number>","lingerEventStartSec":"<number>","lingerEventStopMSec":"<number>",
    "lingerEventStopSec":"<number>","playWavOnEventCustomSound":"<number>",
    "playWavOnEventStartSts":"<number>","playWavOnEventStartVolume":"<number>",
    "pulsePeriodSec":"<number>","respondFullSettings":"<boolean>","sendEvents":"<number>",
    "sendPulse":"<number>","suppressIlluminationSurge":"<number>","to":"<string>",
    "zones":[{"coordinates":[["<number>"]],"name":"<string>","sensitivity":"<number>"}]},
   "av":{"audio":{"bitRate":"<number>","volume":"<number>"},
    "chip":{"vin0":{"hdrMode":"<number>"},"vin1":{"hdrMode":"<number>"}},"from":"<string>",
    "id":"<number>","to":"<string>",
    "video":{"hdrMode":"<number>",
     "mjpg":{"avSerializer":{"destinations":["<string>"],"parameters":{"streamName":"<string>"},"type":"<string>"},
      "bitRateCbrAvg":"<number>","bitRateVbrMax":"<number>","fps":"<number>","isCbr":"<boolean>",
      "minClientAdaptiveBitRate":"<number>","minMotionAdaptiveBitRate":"<number>",
      "nMultiplier":"<number>","quality":"<number>"},
     "mjpg1":{"avSerializer":{"destinations":[],"parameters":{"streamName":"<string>"},"type":"<string>"},
      "bitRateCbrAvg":"<number>","bitRateVbrMax":"<number>","fps":"<number>","isCbr":"<boolean>",
      "minClientAdaptiveBitRate":"<number>","minMotionAdaptiveBitRate":"<number>",
      "nMultiplier":"<number>","quality":"<number>"},
     "mjpg2":{"avSerializer":{"destinations":[],"parameters":{"streamName":"<string>"},"type":"<string>"},
      "bitRateCbrAvg":"<number>","bitRateVbrMax":"<number>","fps":"<number>","isCbr":"<boolean>",
      "minClientAdaptiveBitRate":"<number>","minMotionAdaptiveBitRate":"<number>",
      "nMultiplier":"<number>","quality":"<number>"},
     "video1":{"avSerializer":{"destinations":["<string>"],"parameters":{"streamName":"<string>"},"type":"<string>"},
      "bitRateCbrAvg":"<number>","bitRateVbrMax":"<number>","fps":"<number>","isCbr":"<boolean>",
      "minClientAdaptiveBitRate":"<number>","minMotionAdaptiveBitRate":"<number>",
      "nMultiplier":"<number>","quality":"<number>"},
     "video2":{"avSerializer":{"destinations":["<string>"],"parameters":{"streamName":"<string>"},"type":"<string>"},
      "bitRateCbrAvg":"<number>","bitRateVbrMax":"<number>","fps":"<number>","isCbr":"<boolean>",
      "minClientAdaptiveBitRate":"<number>","minMotionAdaptiveBitRate":"<number>",
      "nMultiplier":"<number>","quality":"<number>"},
     "video3":{"avSerializer":{"destinations":["<string>"],"parameters":{"streamName":"<string>"},"type":"<string>"},
      "bitRateCbrAvg":"<number>","bitRateVbrMax":"<number>","fps":"<number>","isCbr":"<boolean>",
      "minClientAdaptiveBitRate":"<number>","minMotionAdaptiveBitRate":"<number>",
      "nMultiplier":"<number>","quality":"<number>"}}},
   "controller":{"addr":"<string>","uuid":"<string>"},
   "device":{"auth":{"username":"<string>"},"firstTimeUse":"<boolean>","language":"<string>","name":"<string>",
    "region":"<string>","timezone":"<string>"},
   "httpd":{"anonSnapshot":"<number>"},
   "isp":"<=isp>",
   "net":{"dhcpFallbackIP":"<string>","dhcpFallbackNetmask":"<string>","dns1":"<string>","dns2":"<string>",
    "gw":"<string>","ip":"<string>","mask":"<string>","mode":"<string>"},
   "nvr":{"cfgver":"<number>","from":"<string>","id":"<number>","ntpClientHost":"<string>",
    "recordFulltime":"<number>","recordMotionEvents":"<number>","recordMotionSensitivity":"<number>",
    "recordSoundEvents":"<number>","recordSoundSensitivity":"<number>","rtspAuthEnabled":"<number>",
    "rtspEnabled":"<number>","rtspPassword":"<string>","rtspPort":"<number>","rtspUsername":"<string>",
    "standaloneEnabled":"<number>","to":"<string>"},
   "osd":{"_1":{"enableDate":"<number>","enableLogo":"<number>","enableReportdStatsLevel":"<number>",
     "enableStreamerStatsLevel":"<number>","tag":"<string>"},
    "_2":{"enableDate":"<number>","enableLogo":"<number>","enableReportdStatsLevel":"<number>",
     "enableStreamerStatsLevel":"<number>","tag":"<string>"},
    "_3":{"enableDate":"<number>","enableLogo":"<number>","enableReportdStatsLevel":"<number>",
     "enableStreamerStatsLevel":"<number>","tag":"<string>"},
    "_4":{"enableDate":"<number>","enableLogo":"<number>","enableReportdStatsLevel":"<number>",
     "enableStreamerStatsLevel":"<number>","tag":"<string>"},
    "enableOverlay":"<number>","from":"<string>","id":"<number>","logoScale":"<number>",
    "overlayColorId":"<number>","textScale":"<number>","to":"<string>","useCustomLogo":"<number>",
    "useISO8601":"<boolean>"},
   "soundled":{"from":"<string>","id":"<number>","ledAnimColorBg":"<string>","ledAnimColorFg":"<string>",
    "ledAnimDensity":"<number>","ledAnimOnDurationMs":"<number>",
    "ledFaceAlwaysOnWhenManaged":"<number>","ledFaceEnabled":"<number>","speakerEnabled":"<number>",
    "speakerVolume":"<number>","systemSoundsEnabled":"<number>","to":"<string>",
    "userLedBlinkPeriodMs":"<number>","userLedColorFg":"<string>","userLedOnNoff":"<number>"},
   "wifi":{"auth":"<string>","key":"<string>","ssid":"<string>"}}
  $ curl -b jar -X PUT -H 'Content-Type: application/json' \
  >     -d '{"isp":{"contrast":60},"device":{"language":"en-US"}}' http://127.0.0.1:8080/api/1.2/settings
  HTTP 200

Maintenance. A wireless scan takes 500 ms here, not 2 s; the networks in sight
change before it.

  $ ./camsim ctl orvo_networkd scan-duration 500
  $ ./camsim ctl orvo_networkd ap Attic attic-pass-1 -45
  $ ./camsim ctl orvo_networkd ap Cafe open
  $ ./camsim ctl orvo_networkd ap Attic remove
  $ curl -b jar http://127.0.0.1:8080/api/1.2/ap
  HTTP 200
  {"accessPoints":[{"bssid":"<string>","channel":"<number>","security":"<string>","signal":"<number>","ssid":"<string>"}],
   "from":"<string>","id":"<number>","to":"<string>"}
  $ curl -b jar http://127.0.0.1:8080/api/1.2/syslog
  HTTP 200
  ["<string>"]
  $ curl -b jar -o snap.jpeg http://127.0.0.1:8080/api/1.2/snapshot
  HTTP 200
  ? test "$(od -An -tx1 -N3 snap.jpeg)" = " ff d8 ff"
  $ curl -b jar http://127.0.0.1:8080/api/1.2/services
  HTTP 200
  {"ntp":"<boolean>","rtsp":"<boolean>","ssh":"<boolean>","upnp":"<boolean>"}
  $ curl -b jar -X PUT -H 'Content-Type: application/json' \
  >     -d '{"ssh":true,"ntp":false}' http://127.0.0.1:8080/api/1.2/services
  HTTP 200
  $ curl -b jar -OJ http://127.0.0.1:8080/api/1.2/support
  HTTP 200
  ? test -s support-OV-B4-7483C2A1B2C3.sup
  $ tar -tzf support-OV-B4-7483C2A1B2C3.sup
  ~ ^support/camera_info.json$
  ~ ^support/system.cfg$
  ~ ^support/messages$
  ~ ^support/state/orvo_ispserver.json$

First-time setup. The camera applies a form a moment after answering and
refuses a second one meanwhile, so each waits for the one before.

  $ curl -b jar http://127.0.0.1:8080/api/1.2/setup
  HTTP 200
  {"ctlAddr":"","ctlUuid":"","deviceName":"orvo-camera","netDns1":"192.168.1.1","netDns2":"","netGw":"",
   "netIp":"","netMask":"","netMode":"dhcp","wifiAuth":"psk","wifiKey":"none","wifiSsid":""}
  $ curl -i -b jar -X PUT -H 'Content-Type: application/json' -d '{"netMode":"static",
  >     "netIp":"192.168.1.80","netMask":"255.255.255.0","netGw":"192.168.1.1","netDns1":"192.168.1.1",
  >     "ctlAddr":"ctl.example.net:7443","ctlUuid":"2b1f5c8e-3a44-4c1e-8d2f-6a7b9c0d1e2f"}' \
  >     http://127.0.0.1:8080/api/1.2/setup
  HTTP 200
  % await_lock rest_setup_put
  $ curl -b jar -X PUT -H 'Content-Type: application/json' -d '{"wifiSsid":"HomeNet",
  >     "wifiKey":"wpa","wifiAuth":"psk","wifiPsk":"orchard-lane-42"}' http://127.0.0.1:8080/api/1.2/setup
  HTTP 200
  % await 'curl -b jar http://127.0.0.1:8080/api/1.2/status | grep -q ssid.:.HomeNet'
  HTTP 200
  $ curl -b jar http://127.0.0.1:8080/api/1.2/status
  HTTP 200
  ~ "wifi":\{[^}]*"mode":"station"
  = station
  {"<=":"status",
   "wifi":{"bssid":"<string>","channel":"<number>","connectionState":"<string>","frequency":"<number>",
    "keyManagement":"<string>","mode":"<string>","noise":"<number>","quality":"<number>",
    "qualityMax":"<number>","signal":"<number>","ssid":"<string>","txpower":"<number>"}}

Adoption by a controller, which then connects with the camera's auth token.

  $ curl -i -H 'Content-Type: application/json' -d '{"username":"admin","password":"admin",
  >     "mgmt":{"protocol":"wss","hosts":["ctl.example.net:7443"],"token":"adopt-1"}}' \
  >     http://127.0.0.1:8080/api/1.2/manage
  HTTP 200
  {"mgmt":{"hosts":["ctl.example.net:7443"],"protocol":"wss","token":"adopt-1"}}
  $ curl -b jar http://127.0.0.1:8080/api/1.2/status
  HTTP 200
  ~ "controller":\{[^}]*"state":"adopting"
  = adopted
  {"<=":"station","controller":{"hosts":["<string>"]}}
  $ ./camsim ctl orvo_avclient adopted true
  $ ./camsim token tok-1
  $ curl -H 'Content-Type: application/json' -d '{"authToken":"tok-1"}' \
  >     http://127.0.0.1:8080/api/1.2/connect
  HTTP 200

The other test controls, each put back at once.

  $ ./camsim token 0123abcd
  $ ./camsim clock +301
  ~ ^301$
  % ./camsim clock reset
  $ ./camsim ctl orvo_streamer latency 1500
  % ./camsim ctl orvo_streamer latency 0
  $ ./camsim ctl orvo_streamer silent on
  % ./camsim ctl orvo_streamer silent off
  $ ./camsim ctl orvo_osd stop
  ~ ^orvo_osd: stopped \(pid [0-9]+\)$
  % ./camsim ctl orvo_osd start
  ~ ^orvo_osd: started \(pid [0-9]+\)$

A firmware update. The camera restarts a few seconds after flashing, which
ends the session: the new version is read after logging in again.

  $ ./camsim fwimage --version OV-B4.v4.24.0.68.abc1234.230601.1200 new.bin
  $ curl -i -b jar -F fwfile=@new.bin http://127.0.0.1:8080/api/1.2/check
  HTTP 200
  $ curl -b jar -F fwfile=@new.bin http://127.0.0.1:8080/api/1.2/firmware
  HTTP 200
  {"updateStatus":"ok","updatedFwVersion":"OV-B4.v4.24.0.68.abc1234.230601.1200"}
  $ curl -i -b jar http://127.0.0.1:8080/api/1.2/upgrade
  HTTP 200
  % await_restart 1
  $ curl -i -c jar -H 'Content-Type: application/json' \
  >     -d '{"username":"admin","password":"admin"}' http://127.0.0.1:8080/api/1.2/login
  HTTP 200
  = adopted
  $ curl -s -b jar http://127.0.0.1:8080/api/1.2/status | grep -o '"fw":{[^}]*}'
  HTTP 200
  ~ ^"fw":\{"protocolVer":67,"semver":"4.24.0","version":"OV-B4.v4.24.0.68.abc1234.230601.1200"\}$
  $ ./camsim ctl fwupdate duration 5000
  $ ./camsim ctl fwupdate reboot on

The picture reset, a restart and a factory reset; each restart ends the session.

  $ curl -b jar http://127.0.0.1:8080/api/1.2/reset_image
  HTTP 200
  ~ "brightness": ?50([,}]|$)
  ~ "contrast": ?50([,}]|$)
  {"isp":"<=isp>"}
  $ curl -i -b jar -d '' http://127.0.0.1:8080/api/1.2/reboot
  HTTP 200
  % await_restart 2
  $ curl -i -c jar -H 'Content-Type: application/json' \
  >     -d '{"username":"admin","password":"admin"}' http://127.0.0.1:8080/api/1.2/login
  HTTP 200
  = adopted
  $ curl -i -b jar http://127.0.0.1:8080/api/1.2/reset
  HTTP 200
  % await_restart 3
  $ curl -i -c jar -H 'Content-Type: application/json' \
  >     -d '{"username":"admin","password":"admin"}' http://127.0.0.1:8080/api/1.2/login
  HTTP 200
  = status
  $ curl -b jar -d '' http://127.0.0.1:8080/api/1.2/logout
  HTTP 200

What runs (three restarts so far), the sub-commands, and the end. Then the same
camera behind BusyBox's httpd, which serves the program at /cgi-bin/rest.cgi only.

  $ ./camsim status
  ~ ^lighttpd: running \(pid [0-9]+\) at http://127.0.0.1:8080$
  ~ ^orvo_avclient: running \(pid [0-9]+\)$
  ~ ^reboots: 3 
  $ ./camsim help
  ~ ^  up \[--root DIR\]
  ~ ^  status \[--root DIR\]
  ~ ^  down \[--root DIR\]
  $ ./camsim down
  ~ ^lighttpd stopped \(pid [0-9]+\)$
  $ ./camsim up --server busybox
  ~ ^http://127.0.0.1:8080$
  % curl -i http://127.0.0.1:8080/cgi-bin/rest.cgi?id=1.2/version
  HTTP 200
  {"version":"1.2"}
  $ ./camsim down
  ~ ^busybox stopped \(pid [0-9]+\)$
