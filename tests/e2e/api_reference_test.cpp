// The HTML reference of docs/openapi.yaml as a person meets it: served by
// the simulated camera at /docs/ and opened in headless Chromium, which
// must show every endpoint and log nothing to the page's console.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "support/camera.h"
#include "support/process.h"

namespace orvo {
namespace test {
namespace {

constexpr char const* kEndpoints[] = {"ap",       "check",    "connect",  "firmware", "login",
                                      "logout",   "manage",   "reboot",   "reset",    "reset_image",
                                      "services", "settings", "setup",    "snapshot", "status",
                                      "support",  "syslog",   "upgrade",  "version"};

// The page after its scripts ran, and what the browser logged.
ProcessResult openInChromium(std::string const& url) {
  ProcessSpec chromium;
  chromium.program = ORVO_CHROMIUM;
  chromium.argv = {"chromium", "--headless", "--no-sandbox", "--disable-gpu", "--no-first-run",
                   "--disable-extensions", "--disable-background-networking",
                   "--user-data-dir=" + scratchFolder() + "/api-reference-profile",
                   // Page console messages go to standard error as CONSOLE lines.
                   "--enable-logging=stderr", "--v=0",
                   "--virtual-time-budget=10000", "--dump-dom", url};
  chromium.env = {"HOME=" + scratchFolder(), "PATH=/usr/bin:/bin"};
  chromium.limit = std::chrono::seconds(120);
  return runProcess(chromium);
}

std::string fileText(std::string const& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(ApiReference, OpensFromTheSimulatedCameraWithEveryEndpoint) {
  SimulatedCamera camera;
  HttpResponse page = camera.get("/docs/");
  ASSERT_EQ(page.status, 200) << "is the reference built (target orvo_openapi)?";
  EXPECT_EQ(page.header("Content-Type"), "text/html; charset=utf-8");

  ProcessResult browser = openInChromium(camera.baseUrl() + "/docs/");
  ASSERT_TRUE(browser.exited && browser.exitCode == 0) << browser.err;
  std::string consoleLines;
  std::istringstream err(browser.err);
  for (std::string line; std::getline(err, line);) {
    if (line.find(":CONSOLE") != std::string::npos) consoleLines += line + "\n";
  }
  EXPECT_EQ(consoleLines, "");
  for (char const* endpoint : kEndpoints) {
    EXPECT_NE(browser.out.find(std::string("/api/{version}/") + endpoint + "<"), std::string::npos) << endpoint;
  }
  EXPECT_NE(browser.out.find("Camera REST interface"), std::string::npos);
  // The page ran Redoc from the camera, not from anywhere else.
  std::string const access = fileText(camera.root().file("/sim/lighttpd/access.log"));
  EXPECT_NE(access.find("GET /docs/redoc.standalone.js HTTP/1.1\" 200"), std::string::npos) << access;
}

}  // namespace
}  // namespace test
}  // namespace orvo
