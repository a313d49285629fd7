# The simulated camera's own description and system configuration, and the
# configuration writer /bin/orvo_system_cfg. `init` calls device_init.

# The writer's program: $ORVO_SYSTEM_CFG_TOOL when set, else sim_tool's.
system_cfg_tool() {
  if [ -n "${ORVO_SYSTEM_CFG_TOOL:-}" ]; then
    echo "$ORVO_SYSTEM_CFG_TOOL"
  else
    sim_tool orvo_system_cfg
  fi
}

# A simulator program that `init` puts into a root: inside `up`, found (or
# built) as the simulator's other programs are; otherwise, as `init` also
# runs inside the tests, only looked up, never built: $ORVO_SIM_BIN, then
# ${ORVO_BUILD_DIR:-build}/sim.
sim_tool() {  # <name>
  if [ -n "${cgi:-}" ] && declare -F sim_program >/dev/null; then
    # `cgi` is cmd_up's variable when init runs from there.
    sim_program "$1"
  elif [ -n "${ORVO_SIM_BIN:-}" ]; then
    echo "$ORVO_SIM_BIN/$1"
  else
    local build=${ORVO_BUILD_DIR:-build}
    [[ $build = /* ]] || build="$CAMSIM_REPO/$build"
    echo "$build/sim/$1"
  fi
}

device_init() {  # <root>
  local root=$1
  mkdir -p -- "$root/etc/orvo"
  write_camera_info "$root/etc/orvo/camera_info.json"
  write_system_cfg "$root/etc/orvo/system.cfg"
  local tool
  tool=$(system_cfg_tool)
  if [ -x "$tool" ]; then
    ln -sfn -- "$(realpath -- "$tool")" "$root/bin/orvo_system_cfg"
  else
    echo "camsim: $tool is not built; settings writes will fail" \
      "(build the orvo_system_cfg target or set ORVO_SYSTEM_CFG_TOOL)" >&2
  fi
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
