#pragma once

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "tftp/TftpWriter.h"

#include "ScriptedSocket.h"
#include "TextSource.h"
#include "TftpScript.h"

/// Writes a text by TFTP against an ordered script of datagrams, on the script's own clock.
class TftpWriterTest : public testing::Test {
  protected:
    NxResult Write(const std::string& text, const TftpOptions& wanted) {
        TextSource source(text);
        return Write(source, wanted);
    }
    NxResult Write(TftpSource& source, const TftpOptions& wanted) {
        TftpSession session(mSocket, TftpScript::kServer, "192.168.1.20 on eth1", mMonitor);
        TftpWriter writer(session, source, mLastSilence);
        const auto start = mSocket.Now();
        NxResult result = writer.Run("file", wanted);
        mDuration = mSocket.Now() - start;
        return result;
    }
    static TftpOptions Blocks(unsigned int size, unsigned int window = 1) {
        TftpOptions wanted;
        wanted.blockSize = size;
        wanted.windowSize = window;
        return wanted;
    }
    // The request for eight-byte blocks, and the answer that grants them.
    void OpenWithBlocksOfEight(const std::string& size) {
        mSocket
            .ExpectSend(TftpScript::kServer,
                        TftpScript::WriteRequest({"tsize", size, "blksize", "8"}))
            .Reply(TftpScript::kPeer, TftpScript::OptionAck({"blksize", "8"}));
    }
    void OpenWithWindow(const std::string& size, const std::string& window) {
        mSocket
            .ExpectSend(TftpScript::kServer, TftpScript::WriteRequest({"tsize", size, "blksize",
                                                                       "8", "windowsize", window}))
            .Reply(TftpScript::kPeer,
                   TftpScript::OptionAck({"windowsize", window, "blksize", "8"}));
    }
    void Exchange(std::uint16_t block, const std::string& data) {
        mSocket.ExpectSend(TftpScript::kPeer, TftpScript::Data(block, data))
            .Reply(TftpScript::kPeer, TftpScript::Ack(block));
    }

    // The server knows no transfer any more when that block comes once more.
    void CloseWhenRepeated(std::uint16_t block, const std::string& data) {
        using namespace TftpScript;
        mSocket.ExpectSend(kPeer, Data(block, data))
            .TimeOut()
            .ExpectSend(kPeer, Data(block, data))
            .Reply(kPeer, Error(5, "no transfer"));
    }
    // Silence until the writer gives up, in answer to that block.
    void StayAwayFrom(std::uint16_t block, const std::string& data, int sendings = 11) {
        for (int i = 0; i < sendings; ++i) {
            mSocket.ExpectSend(TftpScript::kPeer, TftpScript::Data(block, data)).TimeOut();
        }
    }

    ScriptedSocket mSocket;
    TftpWriter::LastSilence mLastSilence = TftpWriter::LastSilence::kIsFailure;
    TftpMonitor mMonitor;
    DatagramSocket::Clock::duration mDuration{};
};
