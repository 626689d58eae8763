#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <NxBase/NxResult.h>
#include <internal/NxSystem/DatagramSocket.h>

#include "TftpMonitor.h"
#include "tftp/protocol/TftpOptions.h"
#include "tftp/protocol/TftpPacket.h"
#include "tftp/protocol/TftpTimer.h"

/// What both directions of a transfer share: the request and its options, the server's port
/// (its transfer ID, RFC 1350 section 4), and what ends a transfer early.
class TftpSession {
  public:
    using TimePoint = DatagramSocket::Clock::time_point;

    /// @param server the port that requests go to
    /// @param serverName for descriptions, e.g. "192.168.1.20 on eth1"
    TftpSession(DatagramSocket& socket, const Endpoint& server, std::string serverName,
                TftpMonitor& monitor);

    /// How long a request may stay unanswered; TftpTimer::kAnswerLimit unless set.
    void SetAnswerLimit(TftpTimer::Duration limit) { mAnswerLimit = limit; }
    /// Whether the session was given up because nothing was heard from the server.
    [[nodiscard]] bool EndedInSilence() const { return mEndedInSilence; }

    /// Sends the request, without options if the server refuses those, and waits for the answer.
    /// @param agreed receives the options that hold
    /// @param answer receives the first packet: OACK, or ACK 0 to a write request, or DATA 1 to a
    ///        read request; its data is valid until the next call
    /// @param timer learns how long the answer took
    NxResult Open(TftpOpcode request, const std::string& fileName, const TftpOptions& wanted,
                  TftpTimer& timer, TftpOptions& agreed, TftpPacket& answer);

    /// What cannot be sent counts as lost: an interface may be down for a moment only.
    void Send(std::span<const std::byte> datagram);
    /// Whether the system took what was sent last.
    [[nodiscard]] bool CanSend() const { return mSendFailure.IsOK(); }
    /// Waits for a packet of this transfer. Packets of others are answered with ERROR 5 and, like
    /// datagrams that are not packets, ignored.
    /// @param timedOut true, and OK returned, when none came until the deadline
    /// @return kNxTftpError when it is an ERROR packet
    NxResult Receive(TimePoint deadline, TftpPacket& packet, bool& timedOut);
    [[nodiscard]] TimePoint Now() const { return mSocket.Now(); }

    /// Fails when the transfer as a whole is too slow ever to end in a reasonable time.
    /// @param done bytes transferred so far
    [[nodiscard]] NxResult CheckPace(std::uint64_t done) const;

    /// Ends the transfer on the server's side too: sends it an ERROR packet, once.
    NxResult Abort(TftpErrorCode code, unsigned int resultCode, const std::string& reason);
    [[nodiscard]] NxResult Failure(unsigned int resultCode, const std::string& reason) const;
    /// The failure of a transfer that ends because nothing was heard: that reason, or why nothing
    /// could be sent.
    [[nodiscard]] NxResult Silence(const std::string& reason);

    [[nodiscard]] const std::string& ServerName() const { return mServerName; }
    [[nodiscard]] TftpMonitor& Monitor() { return mMonitor; }

  private:
    /// Receives until `take`, given the sender and the datagram, says that one is what is waited
    /// for.
    template <typename Take>
    NxResult ReceiveUntil(TimePoint deadline, bool& timedOut, const Take& take);
    NxResult AwaitAnswer(TftpOpcode request, bool withOptions, TimePoint deadline,
                         TftpPacket& answer, bool& timedOut);
    NxResult Request(std::span<const std::byte> request, TftpOpcode opcode, bool withOptions,
                     TftpTimer& timer, TftpPacket& answer);
    [[nodiscard]] NxResult ServerError(const TftpPacket& packet) const;
    void RejectForeign(const Endpoint& from, std::span<const std::byte> datagram);

    DatagramSocket& mSocket;
    Endpoint mServer;
    std::string mServerName;
    TftpMonitor& mMonitor;
    std::string mAction;  ///< "send RemoteUpdateDfw to 192.168.1.20 on eth1"
    TftpTimer::Duration mAnswerLimit = TftpTimer::kAnswerLimit;
    std::optional<Endpoint> mPeer;  ///< where the server's transfer ID is known: what to talk to
    NxResult mSendFailure;
    bool mEndedInSilence = false;
    TimePoint mStart;
    std::vector<std::byte> mBuffer;
};
