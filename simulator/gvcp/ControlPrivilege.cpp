#include "ControlPrivilege.h"

namespace simulator {

bool ControlPrivilege::Write(const Peer& peer, std::uint32_t value, Clock::time_point now) {
    if (mHolder && mHolder != peer) {
        return false;
    }
    mValue = value & (kExclusiveBit | kControlBit);
    mHolder = mValue != 0 ? std::optional(peer) : std::nullopt;
    mHeard = now;
    return true;
}

void ControlPrivilege::Heard(const Peer& peer, Clock::time_point now) {
    if (mHolder == peer) {
        mHeard = now;
    }
}

bool ControlPrivilege::Expire(Clock::time_point now, std::chrono::milliseconds timeout) {
    if (!mHolder || mKept || now - mHeard < timeout) {
        return false;
    }
    Release();
    return true;
}

bool ControlPrivilege::MayRead(const Peer& peer) const {
    return (mValue & kExclusiveBit) == 0 || mHolder == peer;
}

}  // namespace simulator
