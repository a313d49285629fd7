// The entry points the registry names (handlers.h): each hands its request
// to its endpoint's row.
#include "endpoints/rows.h"
#include "entry/handlers.h"

using namespace orvo::rest;

int rest_ap_main(CGIRequest const& request, CGIResponse& response,
                 std::string const& version, std::string const& endpoint,
                 std::string const& rest) {
  return serveEndpoint(ap::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_check_main(CGIRequest const& request, CGIResponse& response,
                    std::string const& version, std::string const& endpoint,
                    std::string const& rest) {
  return serveEndpoint(check::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_connect_main(CGIRequest const& request, CGIResponse& response,
                      std::string const& version, std::string const& endpoint,
                      std::string const& rest) {
  return serveEndpoint(connect::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_firmware_main(CGIRequest const& request, CGIResponse& response,
                       std::string const& version, std::string const& endpoint,
                       std::string const& rest) {
  return serveEndpoint(firmware::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_login_main(CGIRequest const& request, CGIResponse& response,
                    std::string const& version, std::string const& endpoint,
                    std::string const& rest) {
  return serveEndpoint(login::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_manage_main(CGIRequest const& request, CGIResponse& response,
                     std::string const& version, std::string const& endpoint,
                     std::string const& rest) {
  return serveEndpoint(manage::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_reboot_main(CGIRequest const& request, CGIResponse& response,
                     std::string const& version, std::string const& endpoint,
                     std::string const& rest) {
  return serveEndpoint(reset::kReboot, {request, response, version, endpoint, rest});
}

int rest_reset_main(CGIRequest const& request, CGIResponse& response,
                    std::string const& version, std::string const& endpoint,
                    std::string const& rest) {
  return serveEndpoint(reset::kReset, {request, response, version, endpoint, rest});
}

int rest_reset_image_main(CGIRequest const& request, CGIResponse& response,
                          std::string const& version, std::string const& endpoint,
                          std::string const& rest) {
  return serveEndpoint(reset_image::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_services_main(CGIRequest const& request, CGIResponse& response,
                       std::string const& version, std::string const& endpoint,
                       std::string const& rest) {
  return serveEndpoint(services::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_settings_main(CGIRequest const& request, CGIResponse& response,
                       std::string const& version, std::string const& endpoint,
                       std::string const& rest) {
  return serveEndpoint(settings::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_setup_main(CGIRequest const& request, CGIResponse& response,
                    std::string const& version, std::string const& endpoint,
                    std::string const& rest) {
  return serveEndpoint(setup::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_snapshot_main(CGIRequest const& request, CGIResponse& response,
                       std::string const& version, std::string const& endpoint,
                       std::string const& rest) {
  return serveEndpoint(snapshot::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_status_main(CGIRequest const& request, CGIResponse& response,
                     std::string const& version, std::string const& endpoint,
                     std::string const& rest) {
  return serveEndpoint(status::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_support_main(CGIRequest const& request, CGIResponse& response,
                      std::string const& version, std::string const& endpoint,
                      std::string const& rest) {
  return serveEndpoint(support::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_syslog_main(CGIRequest const& request, CGIResponse& response,
                     std::string const& version, std::string const& endpoint,
                     std::string const& rest) {
  return serveEndpoint(syslog::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_upgrade_main(CGIRequest const& request, CGIResponse& response,
                      std::string const& version, std::string const& endpoint,
                      std::string const& rest) {
  return serveEndpoint(upgrade::kEndpoint, {request, response, version, endpoint, rest});
}

int rest_version_main(CGIRequest const& request, CGIResponse& response,
                      std::string const& version, std::string const& endpoint,
                      std::string const& rest) {
  return serveEndpoint(version::kEndpoint, {request, response, version, endpoint, rest});
}
