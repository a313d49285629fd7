# shellcheck shell=bash
# The simulated camera's own description and system configuration, and the
# configuration writer /bin/orvo_system_cfg. `init` calls device_init.

# A platform tool's program (orvo_system_cfg, orvo_support): the path in the
# given override variable when set, else found as the simulator's other
# programs are (built only inside `up`).
platform_tool() {  # <program> <override variable>
  local override=${!2:-}
  if [ -n "$override" ]; then
    echo "$override"
  else
    sim_program "$1"
  fi
}

# The root's /bin/<name> becomes a link to the built tool.
install_platform_tool() {  # <root> <name> <program> <override variable> <what fails without>
  local tool
  tool=$(platform_tool "$3" "$4")
  if [ -x "$tool" ]; then
    ln -sfn -- "$(realpath -- "$tool")" "$1/bin/$2"
  else
    echo "camsim: $tool is not built; $5 will fail" \
      "(build the $3 target or set $4)" >&2
  fi
}

device_init() {  # <root>
  local root=$1
  mkdir -p -- "$root/etc/orvo"
  write_camera_info "$root/etc/orvo/camera_info.json"
  write_system_cfg "$root/etc/orvo/system.cfg"
  install_platform_tool "$root" orvo_system_cfg orvo_system_cfg ORVO_SYSTEM_CFG_TOOL \
    "settings writes"
  install_platform_tool "$root" support orvo_support ORVO_SUPPORT_TOOL "support bundles"
}

# A wired and wireless bullet camera on its first day.
write_camera_info() {  # <file>
  cat >"$1" <<'JSON'
{
  "name": "OV-B4",
  "deviceModel": "OrvoCam Bullet 4",
  "hwaddr": "7483C2A1B2C3",
  "hwaddrColons": "74:83:C2:A1:B2:C3",
  "cameraName": "Orvo Camera",
  "version": "OV-B4.v4.23.8.67.3f1a2c9.220517.1412",
  "semVer": "4.23.8",
  "protocolVer": 67,
  "isStandalone": 0,
  "reboot": 90,
  "upgrade": 300,
  "feature_sdmmc": 1,
  "feature_mic": 1,
  "feature_line_in": 0,
  "feature_speaker": 1,
  "feature_rtc": 1,
  "feature_wifi": 1,
  "feature_led_ir": 1,
  "feature_led_status": 1,
  "feature_battery": 0,
  "feature_bluetooth": 0,
  "feature_external_ir": 0,
  "feature_accelerometer": 0,
  "feature_ldc": 1,
  "feature_magic_zoom": 0,
  "feature_optical_zoom": 0,
  "feature_touch_focus": 0,
  "feature_adjustable_ir": 1
}
JSON
}

write_system_cfg() {  # <file>
  cat >"$1" <<'CFG'
device.firstTimeUse=1
device.language=en-US
httpd.anonSnapshot=0
httpd.port=80
vestovideo.server=
vestovideo.uuid=
resolv.host.1.name=orvo-camera
CFG
}

# What a factory reset puts back (sim/daemons/factory_state.h): the files as
# `init` made them. A file without a copy does not exist on a new camera.
keep_factory_files() {  # <root>
  local root=$1 factory="$1/sim/factory"
  mkdir -p -- "$factory"
  cp -p -- "$root/etc/orvo/system.cfg" "$factory/system.cfg"
  cp -p -- "$root/etc/orvo/account" "$factory/account"
}
