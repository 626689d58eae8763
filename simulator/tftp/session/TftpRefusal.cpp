#include "TftpRefusal.h"

#include <utility>

namespace simulator {

TftpRefusal::TftpRefusal(const Context& context, const TftpPacket& request, TftpError error)
    : TftpSession(context, request), mError(std::move(error)) {}

void TftpRefusal::Start(Time) {
    Fail(mError);
}

void TftpRefusal::MeetRepeatedRequest(Time) {}

void TftpRefusal::Receive(const TftpPacket&, Time) {}

void TftpRefusal::Expire(Time) {}

}  // namespace simulator
