#pragma once

#include <deque>
#include <functional>
#include <string>

#include "Thread.h"

/// A worker whose transport is played by the test.
class ProbeThread : public Thread {
  public:
    explicit ProbeThread(const NxString& fileName = "fw.dfw") : Thread(fileName) {}

    void Run() override {
        if (run) {
            run(*this);
        }
    }
    NxResult GetStatus(NxString& status) override {
        status = statusText;
        return statusResult;
    }
    void GetRawProgress(long& doneBytes, long& totalBytes) override {
        ++progressQuestions;
        if (reportsProgress) {
            doneBytes = done;
            totalBytes = total;
        }
    }
    NxResult SendBuffer(unsigned char* data, unsigned int length) override {
        sent.emplace_back(reinterpret_cast<const char*>(data), length);
        return sendResult;
    }
    [[nodiscard]] bool SupportsReset() const override { return supportsReset; }

    void Finish(const NxResult& result) { SetResult(result); }
    void SetTransferring(bool transferring) { mTransferring = transferring; }

    std::function<void(ProbeThread&)> run;
    std::string statusText;
    NxResult statusResult;
    bool reportsProgress = true;
    long done = 0;
    long total = 100;
    int progressQuestions = 0;
    std::deque<std::string> sent;
    NxResult sendResult;
    bool supportsReset = true;
};
