# `cmake --install <build> --prefix /` with DESTDIR=<dir> lays out the
# camera's own files, as a firmware team puts them into its root file system:
#   /www/cgi-bin/rest.cgi       the program, where both web servers run it
#   /www/docs/                  the API reference (rendered docs/openapi.yaml)
#   /www/index.html, js/, ...   the web console (console/)
#   /etc/httpd.conf             BusyBox's httpd (document root /www)
#   /etc/lighttpd/lighttpd.conf lighttpd (the same layout)
#   /etc/orvo/fw-signing.pub    the maker's public firmware key (ORVO_FW_PUBLIC_KEY, set
#                               when configuring or in the environment when installing)
# The simulated daemons and platform tools (component "simulator", installed
# only when asked for: --component simulator) take the places the program
# runs them from: /bin/orvo_system_cfg, /bin/support, /sbin/fwupdate, and
# /usr/bin/orvo_simd and orvo_bus_call beside them.
set(ORVO_FW_PUBLIC_KEY "" CACHE FILEPATH "The maker's public firmware key installed as /etc/orvo/fw-signing.pub")
set(ORVO_API_REFERENCE_DIR "${ORVO_OPENAPI_HTML_DIR}" CACHE PATH
    "The rendered API reference installed as /www/docs (a cross build renders none: give the PC build's)")

install(TARGETS rest.cgi RUNTIME DESTINATION www/cgi-bin)
set(CGI /www/cgi-bin/rest.cgi)
configure_file(${PROJECT_SOURCE_DIR}/sim/busybox-httpd.conf.in ${PROJECT_BINARY_DIR}/device/httpd.conf
               @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/device/httpd.conf DESTINATION etc)
install(FILES ${PROJECT_SOURCE_DIR}/device/lighttpd.conf DESTINATION etc/lighttpd)
if(ORVO_API_REFERENCE_DIR)
  install(DIRECTORY ${ORVO_API_REFERENCE_DIR}/ DESTINATION www/docs)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/console/ DESTINATION www)
# The key may also be named when installing (environment ORVO_FW_PUBLIC_KEY).
install(CODE "set(orvo_fw_key \"${ORVO_FW_PUBLIC_KEY}\")")
install(CODE [[
  if(NOT orvo_fw_key)
    set(orvo_fw_key "$ENV{ORVO_FW_PUBLIC_KEY}")
  endif()
  if(orvo_fw_key)
    file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/etc/orvo" TYPE FILE RENAME fw-signing.pub
         FILES "${orvo_fw_key}")
  else()
    message(WARNING "no ORVO_FW_PUBLIC_KEY: /etc/orvo/fw-signing.pub not installed")
  endif()
]])

install(TARGETS orvo_system_cfg RUNTIME DESTINATION bin COMPONENT simulator EXCLUDE_FROM_ALL)
install(PROGRAMS $<TARGET_FILE:orvo_support> DESTINATION bin RENAME support COMPONENT simulator
        EXCLUDE_FROM_ALL)
install(PROGRAMS $<TARGET_FILE:orvo_fwupdate> DESTINATION sbin RENAME fwupdate COMPONENT simulator
        EXCLUDE_FROM_ALL)
install(TARGETS orvo_simd orvo_bus_call RUNTIME DESTINATION usr/bin COMPONENT simulator
        EXCLUDE_FROM_ALL)
