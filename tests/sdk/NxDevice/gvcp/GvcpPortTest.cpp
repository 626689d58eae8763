#include "gvcp/GvcpPort.h"

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "ScriptedSocket.h"

using namespace std::string_literals;
using std::chrono::milliseconds;

namespace {

const Endpoint kDevice{0x0A090802, 3956};

constexpr std::uint32_t kCapability = 0x934;
constexpr std::uint32_t kHeartbeatTimeout = 0x938;
constexpr std::uint32_t kConfiguration = 0x954;
constexpr std::uint32_t kPendingTimeout = 0x958;
constexpr std::uint32_t kPrivilege = 0xA00;

std::string Word(std::uint32_t value) {
    std::string bytes;
    for (const unsigned int shift : {24U, 16U, 8U, 0U}) {
        bytes += static_cast<char>(value >> shift);
    }
    return bytes;
}

std::string Write(char id, std::uint32_t address, std::uint32_t value) {
    return "\x42\x01\x00\x82\x00\x08\x00"s + id + Word(address) + Word(value);
}

std::string Read(char id, std::uint32_t address) {
    return "\x42\x01\x00\x80\x00\x04\x00"s + id + Word(address);
}

std::string Written(char id) {
    return "\0\0\0\x83\0\x04\0"s + id + Word(1);
}

std::string Is(char id, std::uint32_t value) {
    return "\0\0\0\x81\0\x04\0"s + id + Word(value);
}

}  // namespace

TEST(GvcpPortTest, GivesControlUpAlsoWhenTheConfigurationCannotBeRestored) {
    auto owned = std::make_unique<ScriptedSocket>();
    ScriptedSocket& script = *owned;
    GvcpPort port(std::make_unique<GvcpChannel>(std::move(owned), kDevice, "10.9.8.2 on eth9", 0));
    script.ExpectSend(kDevice, Write(1, kPrivilege, 2)).Reply(kDevice, Written(1));
    script.ExpectSend(kDevice, Read(2, kCapability)).Reply(kDevice, Is(2, 0x21));
    script.ExpectSend(kDevice, Read(3, kPendingTimeout)).Reply(kDevice, Is(3, 200));
    script.ExpectSend(kDevice, Read(4, kConfiguration)).Reply(kDevice, Is(4, 0));
    script.ExpectSend(kDevice, Write(5, kConfiguration, 2)).Reply(kDevice, Written(5));
    script.ExpectSend(kDevice, Read(6, kHeartbeatTimeout)).Reply(kDevice, Is(6, 60000));
    ASSERT_TRUE(port.Start(milliseconds(5000)).IsOK());
    // Every answer to the restored value is lost, after a time in which there was nothing to say.
    script.Pass(milliseconds(2000));
    for (int sending = 0; sending < 4; ++sending) {
        script.ExpectSend(kDevice, Write(7, kConfiguration, 0)).TimeOut();
    }
    script.ExpectSend(kDevice, Write(8, kPrivilege, 0)).Reply(kDevice, Written(8));
}
