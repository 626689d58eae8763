#include "AnsweredCommands.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

// Long enough for every retry of a command, short enough that a new application that got the port
// of an old one is not taken for it.
constexpr std::chrono::seconds kRepeatWindow{4};
constexpr std::size_t kMaxRemembered = 32;

}  // namespace

const std::vector<std::uint8_t>* AnsweredCommands::Find(const Peer& peer, std::uint16_t id,
                                                        Clock::time_point now) const {
    const auto found = mAnswered.find(peer);
    return found != mAnswered.end() && found->second.id == id &&
                   now - found->second.when < kRepeatWindow
               ? &found->second.acknowledge
               : nullptr;
}

const std::vector<std::uint8_t>* AnsweredCommands::Last(const Peer& peer) const {
    const auto found = mAnswered.find(peer);
    return found == mAnswered.end() ? nullptr : &found->second.acknowledge;
}

void AnsweredCommands::Remember(const Peer& peer, std::uint16_t id,
                                std::vector<std::uint8_t> acknowledge, Clock::time_point now) {
    if (mAnswered.size() >= kMaxRemembered && !mAnswered.contains(peer)) {
        mAnswered.erase(std::min_element(
            mAnswered.begin(), mAnswered.end(),
            [](const auto& a, const auto& b) { return a.second.when < b.second.when; }));
    }
    mAnswered.insert_or_assign(peer, Answered{id, std::move(acknowledge), now});
}

}  // namespace simulator
