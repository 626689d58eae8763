#pragma once

#include "TftpSession.h"

namespace simulator {

/// Answers a request with ERROR, and is over.
class TftpRefusal : public TftpSession {
  public:
    TftpRefusal(const Context& context, const TftpPacket& request, TftpError error);

    void Start(Time now) override;
    void MeetRepeatedRequest(Time now) override;
    void Receive(const TftpPacket& packet, Time now) override;
    void Expire(Time now) override;
    [[nodiscard]] Time Deadline() const override { return Time::max(); }
    [[nodiscard]] bool HasBegun() const override { return true; }

  private:
    TftpError mError;
};

}  // namespace simulator
