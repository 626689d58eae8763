#include "Thread.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include <NxBase/NxResultCodes.h>
#include <NxDevice/NxDfwPayload.h>

namespace {

constexpr unsigned int kRecordSize = 4096;
using Record = std::array<unsigned char, kRecordSize>;

std::int32_t Saturate(double value) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<std::int32_t>(
        std::clamp(value, static_cast<double>(Limits::min()), static_cast<double>(Limits::max())));
}

}  // namespace

Thread::Thread(const NxString& fileName) : mResult(kNxNoOutcome), mFileName(fileName) {}

Thread::~Thread() {
    if (mThread != nullptr && mThread->joinable()) {
        mThread->join();
        mThread.reset();
    }
}

void Thread::Start() {
    mThread = std::make_unique<std::thread>(Hook, static_cast<void*>(this));
}

void Thread::Hook(void* arg) {
    auto* const worker = static_cast<Thread*>(arg);
    worker->Run();
    worker->mComplete.store(true);
}

bool Thread::IsComplete() {
    return mComplete.load();
}

void Thread::SetResult(const NxResult& result) {
    const std::lock_guard<std::mutex> lock(mResultGuard);
    mResult = result;
}

int Thread::GetProgress() {
    long done = 0;
    long total = 100;
    double value = 0.0;
    if (mTransferring) {
        GetRawProgress(done, total);
        value = static_cast<double>(done);
    } else {
        const std::lock_guard<std::mutex> lock(mResultGuard);
        value = mResult.IsOK() ? 100.0 : static_cast<double>(done);
    }
    const double percent = std::fma(value / static_cast<double>(total), 100.0, 0.5);
    // Only the low 16 bits are kept on purpose: above 32767 % anything from 0 to 100 may be read.
    const auto narrowed = static_cast<std::int16_t>(Saturate(percent));
    return std::clamp<int>(narrowed, 0, 100);
}

NxString Thread::GetLabel() {
    long done = 0;
    long total = 100;
    GetRawProgress(done, total);
    const long doneKB = done / 1024;
    const long totalKB = total / 1024;
    const long percent = total > 1023 ? doneKB * 100 / totalKB : 0;
    if (doneKB <= 0) {
        return {};
    }
    return NxString(std::to_string(doneKB) + "/" + std::to_string(totalKB) + " KBs transferred (" +
                    std::to_string(percent) + "%)");
}

NxResult Thread::Validate() {
    NxResult result = GetStatus(mStatus);
    if (!result.IsOK()) {
        return result;
    }
    const std::string status = mStatus.GetAscii();
    // At the very beginning only, on purpose; the other phrase counts anywhere.
    if (status.find("Firmware applied:") == 0) {
        return NxResult(kNxOk);
    }
    if (status.find("Successfully wrote file to non-volatile memory") != std::string::npos) {
        return NxResult(kNxOk);
    }
    return NxResult(kNxStatusNotSuccess);
}

NxResult Thread::SetNewDeviceId(const NxString& newId) {
    Record record = {};
    unsigned int length = 0;
    NxResult result =
        NxDfwPayload::GetDeviceIdRecord(mFileName, newId, record.data(), kRecordSize, length);
    return result.IsOK() ? SendBuffer(record.data(), length) : result;
}

NxResult Thread::Reset() {
    if (!SupportsReset()) {
        return NxResult(kNxResetNotSupported);
    }
    Record record = {};
    unsigned int length = 0;
    NxResult result = NxDfwPayload::GetResetRecord(mFileName, record.data(), kRecordSize, length);
    return result.IsOK() ? SendBuffer(record.data(), length) : result;
}
