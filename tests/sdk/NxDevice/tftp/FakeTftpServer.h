#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// A TFTP server without a socket: datagrams and the time go in, datagrams come out. It shares no
/// code with the client under test.
class FakeTftpServer {
  public:
    using Clock = std::chrono::steady_clock;

    struct Behaviour {
        enum class Options { kGranted, kWithoutWindow, kIgnored, kRefused };

        Options options = Options::kGranted;
        bool rolloverToOne = false;
        bool vanishesAfterLastAck = false;  ///< does not repeat its last acknowledgement
        bool mutesLastAck = false;          ///< never acknowledges a last block
        bool rejectsStrays = false;         ///< answers what belongs to no transfer with ERROR 5
        std::uint64_t muteAfterBlock = UINT64_MAX;
        Clock::duration answerDelay{0};
    };
    struct Datagram {
        std::uint16_t port;  ///< of the server; 69 takes requests
        std::string bytes;
    };

    explicit FakeTftpServer(const Behaviour& behaviour) : mBehaviour(behaviour) {}

    /// The file that read requests get.
    std::string fileToRead;

    std::vector<Datagram> OnDatagram(const Datagram& datagram, Clock::time_point now);
    /// When OnTimer is to be called next.
    [[nodiscard]] std::optional<Clock::time_point> NextTimer() const;
    std::vector<Datagram> OnTimer(Clock::time_point now);

    /// Files that arrived completely.
    [[nodiscard]] const std::vector<std::string>& Files() const { return mFiles; }
    [[nodiscard]] unsigned int RepeatedBlocks() const { return mRepeatedBlocks; }
    [[nodiscard]] unsigned int RejectedStrays() const { return mRejectedStrays; }
    [[nodiscard]] Clock::duration AnswerDelay() const { return mBehaviour.answerDelay; }

  private:
    struct Transfer {
        bool isWrite = true;
        bool done = false;
        std::size_t blockSize = 512;
        std::uint64_t window = 1;
        std::string content;
        std::uint64_t block = 0;     ///< write: received in order; read: acknowledged
        std::uint64_t inWindow = 0;  ///< write: blocks since the last acknowledgement
        std::string lastAnswer;      ///< write: what a time-out repeats
        unsigned int retries = 0;
        Clock::time_point timer;
    };

    std::vector<Datagram> OnRequest(const std::string& bytes, Clock::time_point now);
    std::vector<std::string> OnData(Transfer& transfer, const std::string& bytes);
    std::vector<std::string> OnAck(Transfer& transfer, std::uint16_t number);
    [[nodiscard]] std::vector<std::string> Window(const Transfer& transfer) const;
    [[nodiscard]] std::string Data(const Transfer& transfer, std::uint64_t block) const;
    [[nodiscard]] std::string Ack(Transfer& transfer) const;
    [[nodiscard]] std::uint16_t NumberOf(std::uint64_t block) const;
    [[nodiscard]] bool IsMute(const Transfer& transfer) const;

    Behaviour mBehaviour;
    std::map<std::uint16_t, Transfer> mTransfers;
    std::uint16_t mNextPort = 40000;
    std::vector<std::string> mFiles;
    unsigned int mRepeatedBlocks = 0;
    unsigned int mRejectedStrays = 0;
};
