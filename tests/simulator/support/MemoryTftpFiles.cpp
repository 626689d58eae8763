#include "MemoryTftpFiles.h"

#include <algorithm>
#include <utility>

namespace {

class Sink : public simulator::TftpSink {
  public:
    Sink(MemoryTftpFiles& files, std::string name) : mFiles(files), mName(std::move(name)) {}
    ~Sink() override { mFiles.dropped += mFinished ? 0 : 1; }

    [[nodiscard]] bool Write(std::span<const std::uint8_t> bytes) override {
        mContent.append(bytes.begin(), bytes.end());
        return mContent.size() <= mFiles.capacity;
    }
    void Finish() override {
        mFinished = true;
        ++mFiles.finished;
        mFiles.written[mName] = std::move(mContent);
    }

  private:
    MemoryTftpFiles& mFiles;
    std::string mName;
    std::string mContent;
    bool mFinished = false;
};

class Source : public simulator::TftpSource {
  public:
    explicit Source(std::string content) : mContent(std::move(content)) {}

    [[nodiscard]] std::uint64_t Size() const override { return mContent.size(); }
    [[nodiscard]] std::size_t Read(std::span<std::uint8_t> into) override {
        const std::size_t size = std::min(into.size(), mContent.size() - mRead);
        std::copy_n(mContent.begin() + static_cast<std::ptrdiff_t>(mRead), size, into.begin());
        mRead += size;
        return size;
    }

  private:
    std::string mContent;
    std::size_t mRead = 0;
};

}  // namespace

simulator::TftpFiles::ForWriting MemoryTftpFiles::OpenForWriting(const std::string& name,
                                                                 std::optional<std::uint64_t>) {
    return std::make_unique<Sink>(*this, name);
}

simulator::TftpFiles::ForReading MemoryTftpFiles::OpenForReading(const std::string& name) {
    if (name == notYet) {
        return simulator::TftpNotYet{};
    }
    const auto file = readable.find(name);
    if (file == readable.end()) {
        return simulator::TftpError{simulator::TftpErrorCode::kFileNotFound, "no such file"};
    }
    return std::make_unique<Source>(file->second);
}
