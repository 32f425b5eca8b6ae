#pragma once

// A shell over a live session, for tests: lines in, answers out.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "agent/ExitCode.h"
#include "agent/Shell.h"

namespace Agent {

/// What one line came to.
struct ShellAnswer {
  int exitCode;
  std::string out;
  std::string err;
};

/// Two routed ports and a switched one, with a VLAN interface.
inline constexpr const char* shellConfiguration = R"({
    "PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}},
    "VLAN": {"Vlan10": {}}, "VLAN_INTERFACE": {"Vlan10": {}},
    "INTERFACE": {"Ethernet0": {}, "Ethernet4": {}}})";

class ShellBench {
 public:
  /// With internal VLANs, from 3968 on; else with L3 indexes, which are assigned.
  explicit ShellBench(bool internalVlanNeeded, bool isJson = false)
      : session(
            Document("c.json", shellConfiguration),
            {internalVlanNeeded ? std::optional(ReservationRules()) : std::nullopt, std::nullopt}),
        printer(isJson),
        shell(session, printer) {}

  ShellAnswer obey(const std::string& line) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int exitCode = shell.obey(line);
    return {exitCode, testing::internal::GetCapturedStdout(),
            testing::internal::GetCapturedStderr()};
  }

  Session session;
  Printer printer;
  Shell shell;
};

}  // namespace Agent
