// Every endpoint handler (RestHandler signature), one module each.
#pragma once

#include "rest.h"

#define ORVO_REST_HANDLER(name)                                                              \
  int name(CGIRequest const& request, CGIResponse& response, std::string const& version,    \
           std::string const& endpoint, std::string const& rest)

ORVO_REST_HANDLER(rest_ap_main);
ORVO_REST_HANDLER(rest_connect_main);
ORVO_REST_HANDLER(rest_check_main);
ORVO_REST_HANDLER(rest_firmware_main);
ORVO_REST_HANDLER(rest_login_main);
ORVO_REST_HANDLER(rest_reboot_main);
ORVO_REST_HANDLER(rest_reset_main);
ORVO_REST_HANDLER(rest_reset_image_main);
ORVO_REST_HANDLER(rest_manage_main);
ORVO_REST_HANDLER(rest_services_main);
ORVO_REST_HANDLER(rest_settings_main);
ORVO_REST_HANDLER(rest_setup_main);
ORVO_REST_HANDLER(rest_snapshot_main);
ORVO_REST_HANDLER(rest_status_main);
ORVO_REST_HANDLER(rest_support_main);
ORVO_REST_HANDLER(rest_syslog_main);
ORVO_REST_HANDLER(rest_upgrade_main);
ORVO_REST_HANDLER(rest_version_main);
