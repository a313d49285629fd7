// orvo_simd: the simulated camera daemons and their test controls. ORVO_ROOT
// names the camera root.
//   orvo_simd serve DAEMON                   serve one daemon until TERM/INT
//   orvo_simd state DAEMON                   print the daemon's state
//   orvo_simd ctl DAEMON latency MS          hold every answer back MS ms
//   orvo_simd ctl DAEMON silent on|off       take requests, never answer
//   orvo_simd ctl orvo_networkd scan-duration MS
//                                            a wireless scan lasts MS ms
//   orvo_simd ctl orvo_avclient adopted true|false
//                                            adopted by a controller or not
//   orvo_simd ctl orvo_networkd ap SSID PASSPHRASE|open [SIGNAL_DBM]
//                                            a visible wireless network
//   orvo_simd ctl orvo_networkd ap SSID remove
//   orvo_simd reset                          every daemon back to defaults
#include <signal.h>
#include <syslog.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "access_points.h"
#include "daemon_names.h"
#include "daemon_table.h"
#include "orvo/log.h"
#include "orvo/utils/file.h"
#include "orvo/utils/paths.h"
#include "sim_daemon.h"
#include "snapshot_writer.h"
#include "state_store.h"

namespace {

using orvo::sim::DaemonControls;

volatile std::sig_atomic_t stopRequested = 0;

void onStopSignal(int) { stopRequested = 1; }

int usage() {
  std::fputs(
      "usage: orvo_simd serve DAEMON | state DAEMON | ctl DAEMON latency MS |\n"
      "       orvo_simd ctl DAEMON silent on|off |\n"
      "       orvo_simd ctl orvo_networkd scan-duration MS |\n"
      "       orvo_simd ctl orvo_avclient adopted true|false |\n"
      "       orvo_simd ctl orvo_networkd ap SSID PASSPHRASE|open [SIGNAL_DBM] |\n"
      "       orvo_simd ctl orvo_networkd ap SSID remove | reset\n",
      stderr);
  return 2;
}

// The streamer's still image, renewed while it runs; a failed write is
// retried with the next picture. The streamer is the picture's only writer,
// so what a killed earlier run left half-written beside it can go.
void keepSnapshotFresh(orvo::sim::SimDaemon& server) {
  orvo::utils::removeStaleTemporaries(orvo::utils::devicePath(orvo::sim::kSnapshotPath));
  server.every(orvo::sim::kSnapshotPeriodMs, [frame = uint64_t{0}]() mutable {
    orvo::sim::writeSnapshot(frame++);
  });
}

int serve(std::string const& daemon) {
  openlog(daemon.c_str(), LOG_PID, LOG_LOCAL0);
  setLogFpSts(0);
  // No SA_RESTART: the signal ends the bus wait at once.
  struct sigaction action {};
  action.sa_handler = onStopSignal;
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  signal(SIGPIPE, SIG_IGN);
  orvo::variant::Variant state;
  if (!orvo::sim::readState(daemon, state)) {
    std::fprintf(stderr, "orvo_simd: cannot create the state of %s\n", daemon.c_str());
    return 1;
  }
  if (daemon == orvo::daemons::kAvclient) orvo::sim::publishAvclientState();
  if (daemon == orvo::daemons::kCtlServer) orvo::sim::publishServices();
  orvo::sim::SimDaemon server(daemon);
  if (!server.listen()) {
    std::fprintf(stderr, "orvo_simd: %s cannot listen on the bus\n", daemon.c_str());
    return 1;
  }
  if (daemon == orvo::daemons::kStreamer) keepSnapshotFresh(server);
  server.run(stopRequested);
  return 0;
}

int printState(std::string const& daemon) {
  orvo::variant::Variant state;
  std::string text;
  if (!orvo::sim::readState(daemon, state) || !state.ToJSON(text, true)) return 1;
  std::printf("%s\n", text.c_str());
  return 0;
}

bool parseLatency(char const* text, unsigned& ms) {
  char* end = nullptr;
  unsigned long const value = std::strtoul(text, &end, 10);
  if (*text < '0' || *text > '9' || *end != '\0' || value > orvo::sim::kMaxLatencyMs) return false;
  ms = static_cast<unsigned>(value);
  return true;
}

// Adoption is the A/V client's state, not a delivery control: it goes to the
// state file and the published view, like an Adopt request would.
int setAdopted(std::string const& daemon, std::string const& value) {
  if (daemon != orvo::daemons::kAvclient) {
    std::fprintf(stderr, "orvo_simd: adopted is a control of %s only, not of %s\n",
                 orvo::daemons::kAvclient, daemon.c_str());
    return 2;
  }
  if (value != "true" && value != "false") {
    std::fprintf(stderr, "orvo_simd: adopted is true or false, not '%s'\n", value.c_str());
    return 2;
  }
  if (orvo::sim::setAdoption(value == "true")) return 0;
  std::fprintf(stderr, "orvo_simd: cannot store the adoption state of %s\n", daemon.c_str());
  return 1;
}

bool parseSignal(char const* text, int& dbm) {
  char* end = nullptr;
  long const value = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || value < orvo::sim::kMinSignalDbm ||
      value > orvo::sim::kMaxSignalDbm) {
    return false;
  }
  dbm = static_cast<int>(value);
  return true;
}

// The visible wireless networks live in the network daemon's state.
int setAccessPoint(std::string const& daemon, char** args, int count) {
  if (daemon != orvo::daemons::kNetworkd || count < 2 || count > 3) return usage();
  std::string const ssid = args[0];
  std::string const key = args[1];
  std::string problem;
  if (key == "remove") {
    if (count != 2) return usage();
    problem = orvo::sim::removeAccessPoint(ssid);
  } else {
    int dbm = orvo::sim::kDefaultSignalDbm;
    if (count == 3 && !parseSignal(args[2], dbm)) {
      std::fprintf(stderr, "orvo_simd: the signal is %d to %d dBm\n", orvo::sim::kMinSignalDbm,
                   orvo::sim::kMaxSignalDbm);
      return 2;
    }
    problem = orvo::sim::setAccessPoint(ssid, key == "open" ? "" : key, dbm);
  }
  if (problem.empty()) return 0;
  std::fprintf(stderr, "orvo_simd: %s\n", problem.c_str());
  return 2;
}

int control(std::string const& daemon, std::string const& what, char** args, int count) {
  if (what == "ap") return setAccessPoint(daemon, args, count);
  if (count != 1) return usage();
  char const* value = args[0];
  if (what == "adopted") return setAdopted(daemon, value);
  DaemonControls controls = orvo::sim::readControls(daemon);
  if (what == "latency") {
    if (!parseLatency(value, controls.latencyMs)) {
      std::fprintf(stderr, "orvo_simd: latency is 0..%u ms\n", orvo::sim::kMaxLatencyMs);
      return 2;
    }
  } else if (what == "scan-duration") {
    if (daemon != orvo::daemons::kNetworkd) {
      std::fprintf(stderr, "orvo_simd: scan-duration is a control of %s only\n",
                   orvo::daemons::kNetworkd);
      return 2;
    }
    if (!parseLatency(value, controls.scanDurationMs)) {
      std::fprintf(stderr, "orvo_simd: scan-duration is 0..%u ms\n", orvo::sim::kMaxLatencyMs);
      return 2;
    }
  } else if (what == "silent" && (std::strcmp(value, "on") == 0 || std::strcmp(value, "off") == 0)) {
    controls.silent = std::strcmp(value, "on") == 0;
  } else {
    return usage();
  }
  return orvo::sim::writeControls(daemon, controls) ? 0 : 1;
}

int resetAll() { return orvo::sim::resetDaemonStates() ? 0 : 1; }

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "reset") == 0) return resetAll();
  if (argc < 3) return usage();
  std::string const command = argv[1];
  std::string const daemon = argv[2];
  if (!orvo::sim::isDaemonName(daemon)) {
    std::fprintf(stderr, "orvo_simd: unknown daemon '%s'\n", daemon.c_str());
    return 2;
  }
  if (command == "serve" && argc == 3) return serve(daemon);
  if (command == "state" && argc == 3) return printState(daemon);
  if (command == "ctl" && argc >= 5) return control(daemon, argv[3], argv + 4, argc - 4);
  return usage();
}
