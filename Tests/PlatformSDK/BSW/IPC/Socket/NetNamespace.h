// A network of the test's own, which ends with the test's process.
//
// The loopback interface, and two Ethernet interfaces at the ends of one virtual cable: "zr0"
// (02:00:00:00:00:01, 10.77.0.1/24) and "zr1" (02:00:00:00:00:02, no address). Frames to
// 10.77.0.9 go to a station that does not exist.
#pragma once

#include <string>

class NetNamespace {
  public:
    // Moves the calling thread into the network, as the first thing of a test: threads made
    // later follow.
    NetNamespace();

    // Why this machine gives no such network; empty when it does.
    const std::string &Missing() const { return m_missing; }

    // Runs commands of iproute2's `ip`, one a line. False when one fails.
    static bool Ip(const std::string &commands);

    // What `ip` with these arguments prints.
    static std::string IpOutput(const std::string &arguments);

  private:
    std::string m_missing;
};
