// Every endpoint's entry point, as the registry names it: each hands its
// request to its endpoint's row (endpoints/recipe.h), in one line of entry_points.cpp.
#pragma once

#include <string>

#include "cgi/orvo_cgi.h"

using orvo::cgi::CGIRequest;
using orvo::cgi::CGIResponse;

int rest_ap_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                 std::string const& endpoint, std::string const& rest);
int rest_connect_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                      std::string const& endpoint, std::string const& rest);
int rest_check_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                    std::string const& endpoint, std::string const& rest);
int rest_firmware_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                       std::string const& endpoint, std::string const& rest);
int rest_login_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                    std::string const& endpoint, std::string const& rest);
int rest_reboot_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                     std::string const& endpoint, std::string const& rest);
int rest_reset_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                    std::string const& endpoint, std::string const& rest);
int rest_reset_image_main(CGIRequest const& request, CGIResponse& response,
                          std::string const& version, std::string const& endpoint,
                          std::string const& rest);
int rest_manage_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                     std::string const& endpoint, std::string const& rest);
int rest_services_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                       std::string const& endpoint, std::string const& rest);
int rest_settings_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                       std::string const& endpoint, std::string const& rest);
int rest_setup_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                    std::string const& endpoint, std::string const& rest);
int rest_snapshot_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                       std::string const& endpoint, std::string const& rest);
int rest_status_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                     std::string const& endpoint, std::string const& rest);
int rest_support_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                      std::string const& endpoint, std::string const& rest);
int rest_syslog_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                     std::string const& endpoint, std::string const& rest);
int rest_upgrade_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                      std::string const& endpoint, std::string const& rest);
int rest_version_main(CGIRequest const& request, CGIResponse& response, std::string const& version,
                      std::string const& endpoint, std::string const& rest);

// The signature the registry holds (dispatch.h), the same for all.
using RestHandlerFunction = decltype(rest_version_main);
