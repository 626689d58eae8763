#pragma once

#include <gtest/gtest.h>

#include <libusb.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

#include "u3v/UsbPipe.h"

#include "StepPlace.h"

/// A device that answers each command as its script says. An answer that is left over fails the
/// test, at the line that scripted it.
class ScriptedPipe : public UsbPipe {
  public:
    using Bytes = std::vector<std::byte>;
    /// One transfer from the device, made from the command before it; or a libusb error code.
    struct Answer {
        std::function<Bytes(const Bytes& command)> bytes;
        int error = LIBUSB_SUCCESS;
        StepPlace where{};
    };
    struct Log {
        Log() = default;
        ~Log() {
            for (const Answer& answer : answers) {
                FAIL_AT_STEP(answer.where) << "this answer was not asked for";
            }
        }
        Log(const Log&) = delete;
        Log& operator=(const Log&) = delete;

        std::vector<Bytes> commands;
        std::vector<Milliseconds> timeouts;  ///< of every Receive
        int clearedStalls = 0;
        std::deque<int> sendErrors;
        std::deque<Answer> answers;
    };

    explicit ScriptedPipe(Log& log) : mLog(log) {}

    int Send(std::span<const std::byte> bytes, Milliseconds /*timeout*/) override {
        if (!mLog.sendErrors.empty()) {
            const int error = mLog.sendErrors.front();
            mLog.sendErrors.pop_front();
            if (error != LIBUSB_SUCCESS) {
                return error;
            }
        }
        mLog.commands.emplace_back(bytes.begin(), bytes.end());
        return LIBUSB_SUCCESS;
    }

    int Receive(std::span<std::byte> buffer, Milliseconds timeout, std::size_t& length) override {
        mLog.timeouts.push_back(timeout);
        length = 0;
        if (mLog.answers.empty()) {
            return LIBUSB_ERROR_TIMEOUT;
        }
        const Answer answer = mLog.answers.front();
        mLog.answers.pop_front();
        if (answer.error != LIBUSB_SUCCESS) {
            return answer.error;
        }
        const Bytes bytes = answer.bytes(mLog.commands.empty() ? Bytes(12) : mLog.commands.back());
        if (bytes.size() > buffer.size()) {
            return LIBUSB_ERROR_OVERFLOW;
        }
        std::copy(bytes.begin(), bytes.end(), buffer.begin());
        length = bytes.size();
        return LIBUSB_SUCCESS;
    }

    void ClearStall() override { ++mLog.clearedStalls; }

    static Answer Error(int error, StepPlace where = StepPlace::Current()) {
        return {nullptr, error, where};
    }

    /// These bytes, whatever was asked.
    static Answer Raw(const Bytes& bytes, StepPlace where = StepPlace::Current()) {
        return {[=](const Bytes&) { return bytes; }, LIBUSB_SUCCESS, where};
    }

    /// An ack to the command: its id plus `idOffset`, and the payload given.
    static Answer Ack(int command, const Bytes& payload, int status = 0, int idOffset = 0,
                      StepPlace where = StepPlace::Current()) {
        return {[=](const Bytes& sent) {
                    Bytes ack(12 + payload.size());
                    std::copy(sent.begin(), sent.begin() + 4, ack.begin());
                    Store16(ack, 4, status);
                    Store16(ack, 6, command);
                    Store16(ack, 8, static_cast<int>(payload.size()));
                    Store16(ack, 10,
                            std::to_integer<int>(sent[10]) + std::to_integer<int>(sent[11]) * 256 +
                                idOffset);
                    std::copy(payload.begin(), payload.end(), ack.begin() + 12);
                    return ack;
                },
                LIBUSB_SUCCESS, where};
    }

    static Answer WriteAck(int written, StepPlace where = StepPlace::Current()) {
        return Ack(0x0803, Number(written), 0, 0, where);
    }

    static Answer Pending(int milliseconds, StepPlace where = StepPlace::Current()) {
        return Ack(0x0805, Number(milliseconds), 0, 0, where);
    }

  private:
    /// The payload of an ack that is one number.
    static Bytes Number(int number) {
        Bytes bytes(4);
        Store16(bytes, 2, number);
        return bytes;
    }
    static void Store16(Bytes& bytes, std::size_t at, int value) {
        bytes[at] = static_cast<std::byte>(value & 0xFF);
        bytes[at + 1] = static_cast<std::byte>((value >> 8) & 0xFF);
    }

    Log& mLog;
};
