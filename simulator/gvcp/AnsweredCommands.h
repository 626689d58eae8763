#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <vector>

#include "ControlPrivilege.h"

namespace simulator {

/// The last command of each application with its ack, for those that are sent again because
/// the ack was lost. Used by one thread.
class AnsweredCommands {
  public:
    using Clock = ControlPrivilege::Clock;

    /// @return the ack of that command; null when it is not an application's last one, or
    /// too long ago
    [[nodiscard]] const std::vector<std::uint8_t>* Find(const Peer& peer, std::uint16_t id,
                                                        Clock::time_point now) const;
    /// @return that of the application's last command; null when there was none
    [[nodiscard]] const std::vector<std::uint8_t>* Last(const Peer& peer) const;
    void Remember(const Peer& peer, std::uint16_t id, std::vector<std::uint8_t> acknowledge,
                  Clock::time_point now);

  private:
    struct Answered {
        std::uint16_t id;
        std::vector<std::uint8_t> acknowledge;
        Clock::time_point when;
    };

    std::map<Peer, Answered> mAnswered;
};

}  // namespace simulator
