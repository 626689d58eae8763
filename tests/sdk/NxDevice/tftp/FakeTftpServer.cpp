#include "FakeTftpServer.h"

#include <algorithm>

#include "TftpScript.h"

namespace {

constexpr std::chrono::seconds kTimeout{1};
constexpr unsigned int kMostRetries = 8;

std::uint16_t NumberAt(const std::string& bytes, std::size_t offset) {
    return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[offset]) * 256U +
                                      static_cast<unsigned char>(bytes[offset + 1]));
}

std::vector<std::string> TextsFrom(const std::string& bytes, std::size_t offset) {
    std::vector<std::string> texts;
    while (offset < bytes.size()) {
        texts.emplace_back(bytes.c_str() + offset);
        offset += texts.back().size() + 1;
    }
    return texts;
}

}  // namespace

std::uint16_t FakeTftpServer::NumberOf(std::uint64_t block) const {
    if (mBehaviour.rolloverToOne && block > 0) {
        return static_cast<std::uint16_t>((block - 1) % 65535 + 1);
    }
    return static_cast<std::uint16_t>(block);
}

bool FakeTftpServer::IsMute(const Transfer& transfer) const {
    return transfer.block >= mBehaviour.muteAfterBlock ||
           (mBehaviour.mutesLastAck && transfer.isWrite && transfer.done);
}

std::vector<FakeTftpServer::Datagram> FakeTftpServer::OnDatagram(const Datagram& datagram,
                                                                 Clock::time_point now) {
    if (datagram.port == 69) {
        return OnRequest(datagram.bytes, now);
    }
    const auto found = mTransfers.find(datagram.port);
    const std::uint16_t opcode = NumberAt(datagram.bytes, 0);
    if (found == mTransfers.end()) {
        if (!mBehaviour.rejectsStrays || opcode == 5) {
            return {};
        }
        ++mRejectedStrays;
        return {{datagram.port, TftpScript::Error(5, "no transfer")}};
    }
    Transfer& transfer = found->second;
    std::vector<std::string> answers;
    if (opcode == 5) {
        mTransfers.erase(found);
        return {};
    }
    if (opcode == 3 && transfer.isWrite) {
        answers = OnData(transfer, datagram.bytes);
    } else if (opcode == 4 && !transfer.isWrite) {
        answers = OnAck(transfer, NumberAt(datagram.bytes, 2));
    }
    if (!answers.empty()) {
        transfer.timer = now + kTimeout;
        transfer.retries = 0;
    }
    const bool mute = IsMute(transfer);
    if (transfer.done && (mBehaviour.vanishesAfterLastAck || !transfer.isWrite)) {
        mTransfers.erase(found);
    }
    std::vector<Datagram> out;
    for (const std::string& answer : answers) {
        if (!mute) {
            out.push_back({datagram.port, answer});
        }
    }
    return out;
}

std::vector<FakeTftpServer::Datagram> FakeTftpServer::OnRequest(const std::string& bytes,
                                                                Clock::time_point now) {
    using Options = Behaviour::Options;
    const std::vector<std::string> texts = TextsFrom(bytes, 2);
    const std::uint16_t port = mNextPort++;
    Transfer transfer;
    transfer.isWrite = NumberAt(bytes, 0) == 2;
    transfer.timer = now + kTimeout;
    std::vector<std::string> granted;
    if (texts.size() > 2 && mBehaviour.options == Options::kRefused) {
        return {{port, TftpScript::Error(8, "no options")}};
    }
    for (std::size_t i = 2; i + 1 < texts.size() && mBehaviour.options != Options::kIgnored;
         i += 2) {
        if (texts[i] == "blksize") {
            transfer.blockSize = std::stoul(texts[i + 1]);
        } else if (texts[i] == "windowsize" && mBehaviour.options == Options::kGranted) {
            transfer.window = std::stoul(texts[i + 1]);
        } else {
            continue;
        }
        granted.insert(granted.begin(), {texts[i], texts[i + 1]});
    }
    const bool plain = granted.empty();
    if (!transfer.isWrite) {
        transfer.content = fileToRead;
    }
    transfer.lastAnswer = !plain             ? TftpScript::OptionAck(granted)
                          : transfer.isWrite ? TftpScript::Ack(0)
                                             : Data(transfer, 1);
    mTransfers[port] = transfer;
    if (IsMute(transfer)) {
        return {};
    }
    return {{port, transfer.lastAnswer}};
}

std::string FakeTftpServer::Ack(Transfer& transfer) const {
    transfer.inWindow = 0;
    transfer.lastAnswer = TftpScript::Ack(NumberOf(transfer.block));
    return transfer.lastAnswer;
}

std::vector<std::string> FakeTftpServer::OnData(Transfer& transfer, const std::string& bytes) {
    const std::string data = bytes.substr(4);
    if (transfer.done || NumberAt(bytes, 2) != NumberOf(transfer.block + 1)) {
        ++mRepeatedBlocks;
        return {Ack(transfer)};
    }
    transfer.content += data;
    ++transfer.block;
    ++transfer.inWindow;
    transfer.done = data.size() < transfer.blockSize;
    if (transfer.done) {
        mFiles.push_back(transfer.content);
    }
    if (transfer.done || transfer.inWindow == transfer.window) {
        return {Ack(transfer)};
    }
    return {};
}

std::string FakeTftpServer::Data(const Transfer& transfer, std::uint64_t block) const {
    return TftpScript::Data(
        NumberOf(block),
        transfer.content.substr((block - 1) * transfer.blockSize, transfer.blockSize));
}

std::vector<std::string> FakeTftpServer::Window(const Transfer& transfer) const {
    const std::uint64_t count = transfer.content.size() / transfer.blockSize + 1;
    std::vector<std::string> packets;
    for (std::uint64_t i = 1; i <= transfer.window && transfer.block + i <= count; ++i) {
        packets.push_back(Data(transfer, transfer.block + i));
    }
    return packets;
}

std::vector<std::string> FakeTftpServer::OnAck(Transfer& transfer, std::uint16_t number) {
    const std::uint64_t count = transfer.content.size() / transfer.blockSize + 1;
    const bool optionsAnswered = transfer.block == 0 && number == 0 && transfer.inWindow == 0;
    for (std::uint64_t i = 1; i <= transfer.window && transfer.block + i <= count; ++i) {
        if (NumberOf(transfer.block + i) == number) {
            transfer.block += i;
            transfer.done = transfer.block == count;
            transfer.inWindow = 1;
            return Window(transfer);
        }
    }
    if (optionsAnswered) {
        transfer.inWindow = 1;
        return Window(transfer);
    }
    return {};
}

std::optional<FakeTftpServer::Clock::time_point> FakeTftpServer::NextTimer() const {
    std::optional<Clock::time_point> next;
    for (const auto& [port, transfer] : mTransfers) {
        if (!transfer.done && (!next.has_value() || transfer.timer < *next)) {
            next = transfer.timer;
        }
    }
    return next;
}

std::vector<FakeTftpServer::Datagram> FakeTftpServer::OnTimer(Clock::time_point now) {
    std::vector<Datagram> out;
    for (auto& [port, transfer] : mTransfers) {
        if (transfer.done || transfer.timer > now) {
            continue;
        }
        transfer.timer = now + kTimeout;
        if (++transfer.retries > kMostRetries) {
            transfer.done = true;
            continue;
        }
        if (IsMute(transfer)) {
            continue;
        }
        const bool sendsData = !transfer.isWrite && (transfer.inWindow == 1 || transfer.block > 0);
        if (sendsData) {
            for (const std::string& packet : Window(transfer)) {
                out.push_back({port, packet});
            }
        } else {
            out.push_back({port, transfer.lastAnswer});
        }
    }
    return out;
}
