#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Process.h"

/// A second network beside the test's own, joined to it by one or more cables (veth pairs).
///
/// The test runs in namespaces of its own (tests/isolated.sh); the second network is one more
/// namespace, which ends with this object.
class NetworkPair {
  public:
    /// One cable per pair of addresses, e.g. {{"169.254.0.1/16", "169.254.0.2/16"}}: the near end
    /// is cam0, cam1, … with MAC 02:00:00:00:00:<number>; the far end far0, far1, … .
    struct Cable {
        std::string nearAddress;
        std::string farAddress;
    };

    explicit NetworkPair(const std::vector<Cable>& cables);

    /// A command line that runs `command` in the second network.
    [[nodiscard]] std::vector<std::string> OnFarSide(std::vector<std::string> command) const;
    /// The MAC of cam<number>, as users write it.
    [[nodiscard]] static std::string NearMac(unsigned int number);

  private:
    std::unique_ptr<Process> mHolder;
};
