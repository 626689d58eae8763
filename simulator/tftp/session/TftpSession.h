#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "TftpFaults.h"
#include "TftpFiles.h"
#include "TftpTransfer.h"
#include "simulator/tftp/protocol/TftpAgreement.h"
#include "simulator/tftp/protocol/TftpBlockNumber.h"
#include "simulator/tftp/protocol/TftpPacket.h"
#include "simulator/tftp/protocol/TftpRetryTimer.h"
#include "simulator/tftp/protocol/TftpSettings.h"

namespace simulator {

/// One transfer as the server sees it, without any socket or clock: packets and times go in,
/// datagrams and a deadline come out. Whatever comes in, a session ends in bounded time.
class TftpSession {
  public:
    using Time = TftpRetryTimer::Time;
    using Bytes = TftpPacket::Bytes;

    /// What a session needs to know of its server. The files must outlive the session.
    struct Context {
        TftpFiles& files;
        TftpSettings settings;
        TftpFaults faults;
        unsigned int receiveBuffer = 1U << 18U;     ///< bytes
        const std::atomic<bool>* muted = nullptr;   ///< while set, nothing is sent; may be null
        std::function<void()> packetAnswered = {};  ///< called after each packet; may be empty
    };

    TftpSession(const Context& context, const TftpPacket& request);
    virtual ~TftpSession();
    TftpSession(const TftpSession&) = delete;
    TftpSession& operator=(const TftpSession&) = delete;

    /// Answers the request; called once, before all else.
    virtual void Start(Time now) = 0;
    /// The client sent its request again before the transfer had begun.
    virtual void MeetRepeatedRequest() {}
    /// A packet of the client's came.
    void Receive(const TftpPacket& packet, Time now);
    /// The time is `Deadline` or later.
    void Expire(Time now);
    [[nodiscard]] virtual Time Deadline() const = 0;
    /// Whether a request from the same client would be a new one, not this one's repetition.
    [[nodiscard]] virtual bool HasBegun() const = 0;

    /// Whether nothing more is to be sent or received.
    [[nodiscard]] bool IsOver() const { return mOver; }
    /// Whether the outcome is settled; the session may still repeat its last packet.
    [[nodiscard]] bool IsSettled() const { return mOver || mTransfer.complete; }
    /// The datagrams to be sent now, in order; each is handed out once.
    [[nodiscard]] std::vector<Bytes> TakeOutgoing();
    [[nodiscard]] const TftpTransfer& Transfer() const { return mTransfer; }
    /// What a packet of the client's, the request included, had to be answered with is on its way.
    void NoteAnswered() const;
    /// Ends the session for a reason that lies outside it.
    void Abandon(const std::string& why);

  protected:
    /// A packet that is not an ERROR came before the session was over.
    virtual void Take(const TftpPacket& /*packet*/, Time /*now*/) {}
    /// The deadline passed before the session was over.
    virtual void Proceed(Time /*now*/) {}
    /// Whether the client is given more time; else the session has failed.
    [[nodiscard]] bool MayRepeat(Time now);

    /// Settles the terms; on a refusal the session is over and false is returned.
    [[nodiscard]] bool Negotiate(std::optional<std::uint64_t> fileSize);
    /// The OACK, true to the terms or faulty; empty when the answer is one without options.
    [[nodiscard]] std::optional<Bytes> OptionAnswer() const;
    /// Whether a fault made the session fail or fall silent with so many bytes.
    [[nodiscard]] bool MeetsFaultAt(std::uint64_t bytes);

    void Send(Bytes datagram);
    /// Sends ERROR and ends.
    void Fail(const TftpError& error);
    void End(const std::string& failure);

    Context mContext;
    TftpOptionList mRequested;
    TftpAgreement mAgreement;
    TftpBlockNumber mNumbers;
    TftpRetryTimer mTimer;
    TftpTransfer mTransfer;

  private:
    std::vector<Bytes> mOutgoing;
    bool mSilent = false;
    bool mOver = false;
};

}  // namespace simulator
