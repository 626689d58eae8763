#pragma once

#include <utility>

#include "TftpSession.h"

namespace simulator {

/// Answers a request with ERROR, and is over.
class TftpRefusal : public TftpSession {
  public:
    TftpRefusal(const Context& context, const TftpPacket& request, TftpError error)
        : TftpSession(context, request), mError(std::move(error)) {}

    void Start(Time /*now*/) override { Fail(mError); }
    [[nodiscard]] Time Deadline() const override { return Time::max(); }
    [[nodiscard]] bool HasBegun() const override { return true; }

  private:
    TftpError mError;
};

}  // namespace simulator
