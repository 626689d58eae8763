#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "BareLayout.h"
#include "FileClient.h"

/// Sends the fewest GVCP commands that write a file, and does nothing else: no node map, no
/// resends, no check of where an ack comes from. Another client can be
/// faster only by waiting differently.
class BareFileClient : public FileClient {
  public:
    enum class Wait {
        kPoll,  ///< sleeps in poll until the ack is there
        kSpin   ///< asks for it again and again, yielding the CPU in between
    };

    BareFileClient(const std::string& address, BareLayout layout, std::size_t bufferSize,
                   Wait wait);
    ~BareFileClient() override;

    void Open() override;
    void Write(const std::string& path) override;
    void Close() override;

  private:
    void Send(std::uint16_t command, std::span<const std::uint8_t> content);
    void AwaitAck(std::uint16_t command);
    void WriteRegisters(const std::vector<BareLayout::Write>& writes);
    void WriteMemory(std::uint32_t address, std::span<const char> data);
    /// The registers of the layout's state; their values begin at mPacket[8].
    void ReadState();
    [[nodiscard]] std::uint32_t ToDevice(std::uint32_t address, std::uint32_t value) const;

    BareLayout mLayout;
    std::size_t mBufferSize;
    Wait mWait;
    int mSocket = -1;
    std::uint16_t mId = 0;
    std::vector<std::uint8_t> mPacket;
    std::vector<std::uint8_t> mContent;
};
