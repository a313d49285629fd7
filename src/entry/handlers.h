// Every endpoint's entry point, as the registry names it: each hands its
// request to its endpoint's row (endpoints/recipe.h).
#pragma once

#include <string>

#include "cgi/orvo_cgi.h"

using orvo::cgi::CGIRequest;
using orvo::cgi::CGIResponse;

using RestHandlerFunction = int(CGIRequest const& request, CGIResponse& response,
                                std::string const& version, std::string const& endpoint,
                                std::string const& rest);

RestHandlerFunction rest_ap_main;
RestHandlerFunction rest_connect_main;
RestHandlerFunction rest_check_main;
RestHandlerFunction rest_firmware_main;
RestHandlerFunction rest_login_main;
RestHandlerFunction rest_reboot_main;
RestHandlerFunction rest_reset_main;
RestHandlerFunction rest_reset_image_main;
RestHandlerFunction rest_manage_main;
RestHandlerFunction rest_services_main;
RestHandlerFunction rest_settings_main;
RestHandlerFunction rest_setup_main;
RestHandlerFunction rest_snapshot_main;
RestHandlerFunction rest_status_main;
RestHandlerFunction rest_support_main;
RestHandlerFunction rest_syslog_main;
RestHandlerFunction rest_upgrade_main;
RestHandlerFunction rest_version_main;
