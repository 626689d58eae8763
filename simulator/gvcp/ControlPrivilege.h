#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "simulator/network/Peer.h"

namespace simulator {

/// Who controls a device: the control channel privilege register (CCP) and the heartbeat behind it
/// (GigE Vision 2.0, sections 10.2 and 10.3).
class ControlPrivilege {
  public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::uint32_t kExclusiveBit = 1;
    static constexpr std::uint32_t kControlBit = 2;

    /// A write to CCP. @return false: another application has control
    [[nodiscard]] bool Write(const Peer& peer, std::uint32_t value, Clock::time_point now);
    /// Notes a sign of life of the controlling application; others' do not count.
    void Heard(const Peer& peer, Clock::time_point now);
    /// @return true when control ends by this: nothing heard for that long
    [[nodiscard]] bool Expire(Clock::time_point now, std::chrono::milliseconds timeout);
    void Release() { mValue = 0, mHolder.reset(), mKept = false; }
    /// Takes control from whoever has it; the new holder never falls silent.
    void GiveTo(const Peer& peer) { mValue = kControlBit, mHolder = peer, mKept = true; }

    [[nodiscard]] bool MayRead(const Peer& peer) const;
    [[nodiscard]] bool MayWrite(const Peer& peer) const { return mHolder == peer; }
    [[nodiscard]] std::uint32_t Value() const { return mValue; }
    [[nodiscard]] const std::optional<Peer>& Holder() const { return mHolder; }

  private:
    std::uint32_t mValue = 0;
    std::optional<Peer> mHolder;
    Clock::time_point mHeard{};
    bool mKept = false;  // without signs of life too
};

}  // namespace simulator
