#include <NxGenICam/NxGenFile.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <vector>

#include <NxBase/NxResultCodes.h>

#include "FileNodes.h"
#include "LocalPayload.h"
#include "NodeChunkAccess.h"
#include "ParameterArrayImpl.h"
#include "RegisterChunkAccess.h"

namespace {

// Buffers above this gain nothing and would have to be held in memory.
constexpr std::uint64_t kLargestChunk = std::uint64_t{1} << 20U;

}  // namespace

class NxGenFile::Impl {
  public:
    NxResult Open(NodeMap& nodes, const std::string& name, NxGenOpenMode mode);
    NxResult Close();
    NxResult WriteFrom(const std::string& localPath);
    NxResult Write(std::span<const std::byte> data, std::uint64_t& written);
    NxResult Read(std::span<std::byte> buffer, std::uint64_t& read);

    std::atomic<long> done{0};
    std::atomic<long> total{0};

  private:
    NxResult OpenOnce(NxGenOpenMode mode);
    NxResult Prepare(const char* operation);
    NxResult WriteUntil(std::uint64_t end, std::span<const std::byte> data, std::uint64_t& written);
    NxResult FindChunkSize(std::size_t& size);
    void FindFileSize();
    /// @param end size of what is moved; 0 when nothing is
    NxResult Explain(const NxResult& cause, const std::string& verb, std::uint64_t end) const;

    NodeMap* mNodes = nullptr;
    std::string mName;
    bool mIsOpen = false;
    bool mHangs = false;  ///< an operation on the device was given up
    std::string mOperation;
    std::unique_ptr<FileChunkAccess> mAccess;
    std::uint64_t mPosition = 0;
    std::optional<std::uint64_t> mFileSize;
};

NxResult NxGenFile::Impl::Explain(const NxResult& cause, const std::string& verb,
                                  std::uint64_t end) const {
    std::string where;
    if (end > 0) {
        where = " at byte " + std::to_string(mPosition) + " of " + std::to_string(end);
    }
    return NxResult(cause.GetCode(), "Cannot " + verb + " the device's file " + mName + where +
                                         ": " + cause.GetDescription().GetAscii());
}

NxResult NxGenFile::Impl::Open(NodeMap& nodes, const std::string& name, NxGenOpenMode mode) {
    mNodes = &nodes;
    mName = name;
    mIsOpen = false;
    mHangs = false;
    mAccess.reset();
    mOperation.clear();
    mPosition = 0;
    mFileSize.reset();
    NxResult result = OpenOnce(mode);
    if (result.GetCode() == kNxFileOperation) {
        // A program that died may have left the file open.
        mIsOpen = true;
        (void)Close();
        result = OpenOnce(mode);
    }
    if (!result.IsOK()) {
        return Explain(result,
                       mode == NxGenOpenMode::kWrite ? "open for writing" : "open for reading", 0);
    }
    mIsOpen = true;
    if (mode == NxGenOpenMode::kRead) {
        FindFileSize();
    }
    return {};
}

NxResult NxGenFile::Impl::OpenOnce(NxGenOpenMode mode) {
    for (const char* feature :
         {FileNodes::kOffset, FileNodes::kLength, FileNodes::kStatus, FileNodes::kResult}) {
        ArvGcFeatureNode* node = nullptr;
        if (NxResult result = mNodes->Find(feature, node); !result.IsOK()) {
            return result;
        }
        if (node == nullptr) {
            return NxResult(kNxNoSuchNode, mNodes->Device().Port().DeviceName() +
                                               " has no GenICam feature " + feature);
        }
    }
    ArvGcFeatureNode* selector = nullptr;
    if (NxResult result = mNodes->Find(FileNodes::kSelector, selector); !result.IsOK()) {
        return result;
    }
    // Without a selector the device has one file, whatever its name.
    if (selector != nullptr) {
        if (NxResult result = mNodes->WriteEntry(FileNodes::kSelector, mName); !result.IsOK()) {
            return result;
        }
    }
    if (NxResult result = mNodes->WriteEntry(FileNodes::kOperationSelector, "Open");
        !result.IsOK()) {
        return result;
    }
    if (NxResult result = mNodes->WriteEntry(FileNodes::kOpenMode,
                                             mode == NxGenOpenMode::kWrite ? "Write" : "Read");
        !result.IsOK()) {
        return result;
    }
    return FileNodes::RunOperation(*mNodes, "Open");
}

// Optional, and dynamic texts are often said to be empty: only a positive size is believed.
void NxGenFile::Impl::FindFileSize() {
    std::int64_t size = 0;
    if (mNodes->ReadInteger(FileNodes::kSize, size).IsOK() && size > 0) {
        mFileSize = static_cast<std::uint64_t>(size);
    }
}

NxResult NxGenFile::Impl::Close() {
    if (!mIsOpen) {
        return NxResult(kNxInvalidArgument, "No file of the device is open");
    }
    mIsOpen = false;
    mAccess.reset();
    mOperation.clear();
    if (mHangs) {
        // A Close would be waited for as long once more; an Open that the device refuses because
        // the file is open is followed by one.
        return NxResult(kNxTimeout, "The device's file " + mName +
                                        " stays open: " + mNodes->Device().Port().DeviceName() +
                                        " does not finish its last operation");
    }
    NxResult result = mNodes->WriteEntry(FileNodes::kOperationSelector, "Close");
    if (result.IsOK()) {
        result = FileNodes::RunOperation(*mNodes, "Close");
    }
    return result.IsOK() ? result : Explain(result, "close", 0);
}

// The operation that is selected decides what FileAccessLength may be.
NxResult NxGenFile::Impl::FindChunkSize(std::size_t& size) {
    std::uint64_t length = 0;
    if (NxResult result = mNodes->ReadRegisterLength(FileNodes::kBuffer, length); !result.IsOK()) {
        return result;
    }
    if (length == 0) {
        return NxResult(kNxBadDescription,
                        mNodes->Device().Port().DeviceName() + " has an empty FileAccessBuffer");
    }
    std::int64_t longest = 0;
    // Without a maximum that can be found the buffer alone decides.
    if (NxResult result = mNodes->ReadMaximum(FileNodes::kLength, longest);
        !result.IsOK() && result.GetCode() != kNxNodeAccess && result.GetCode() != kNxDeviceError) {
        return result;
    }
    size = static_cast<std::size_t>(std::min(length, kLargestChunk));
    // With a maximum of 0 nothing could be moved at all: the device may refuse the length itself.
    if (longest > 0) {
        size = std::min(size, static_cast<std::size_t>(longest));
    }
    // Leaves room for the zeros that fill up the last four bytes.
    if (size > 4) {
        size -= size % 4;
    }
    return {};
}

// Selects the operation, which may move the registers, and resolves what the chunks need.
NxResult NxGenFile::Impl::Prepare(const char* operation) {
    if (!mIsOpen) {
        return NxResult(kNxInvalidArgument, "No file of the device is open");
    }
    if (mOperation == operation) {
        return {};
    }
    mAccess.reset();
    if (NxResult result = mNodes->WriteEntry(FileNodes::kOperationSelector, operation);
        !result.IsOK()) {
        return result;
    }
    std::size_t chunkSize = 0;
    if (NxResult result = FindChunkSize(chunkSize); !result.IsOK()) {
        return result;
    }
    mAccess = RegisterChunkAccess::Resolve(*mNodes, chunkSize);
    if (mAccess == nullptr) {
        mAccess = std::make_unique<NodeChunkAccess>(*mNodes, chunkSize);
    }
    mOperation = operation;
    return {};
}

NxResult NxGenFile::Impl::WriteFrom(const std::string& localPath) {
    LocalPayload payload;
    if (NxResult result = payload.Open(localPath); !result.IsOK()) {
        return result;
    }
    done = 0;
    total = static_cast<long>(payload.Size());
    const std::uint64_t end = mPosition + payload.Size();
    if (NxResult result = Prepare("Write"); !result.IsOK()) {
        return Explain(result, "write", end);
    }
    std::vector<std::byte> buffer(mAccess->ChunkSize());
    for (std::uint64_t left = payload.Size(); left > 0;) {
        const std::span<std::byte> chunk = std::span(buffer).first(
            static_cast<std::size_t>(std::min<std::uint64_t>(left, buffer.size())));
        if (NxResult result = payload.Read(chunk); !result.IsOK()) {
            return Explain(result, "write", end);
        }
        std::uint64_t written = 0;
        NxResult result = WriteUntil(end, chunk, written);
        if (!result.IsOK()) {
            return result;
        }
        left -= chunk.size();
        done = static_cast<long>(payload.Size() - left);
    }
    return {};
}

NxResult NxGenFile::Impl::Write(std::span<const std::byte> data, std::uint64_t& written) {
    return WriteUntil(mPosition + data.size(), data, written);
}

NxResult NxGenFile::Impl::WriteUntil(std::uint64_t end, std::span<const std::byte> data,
                                     std::uint64_t& written) {
    if (NxResult result = Prepare("Write"); !result.IsOK()) {
        return Explain(result, "write", end);
    }
    while (!data.empty()) {
        std::uint64_t taken = 0;
        NxResult result = mAccess->Write(
            mPosition, data.first(std::min(data.size(), mAccess->ChunkSize())), taken);
        if (result.IsOK() && taken == 0) {
            result = NxResult(kNxTransferIncomplete,
                              mNodes->Device().Port().DeviceName() + " takes no more bytes");
        }
        if (!result.IsOK()) {
            mHangs = result.GetCode() == kNxTimeout;
            return Explain(result, "write", end);
        }
        // A device may take fewer: it goes on from the byte after the last one that it took.
        mPosition += taken;
        written += taken;
        data = data.subspan(static_cast<std::size_t>(taken));
    }
    return {};
}

NxResult NxGenFile::Impl::Read(std::span<std::byte> buffer, std::uint64_t& read) {
    const std::uint64_t end = mFileSize.value_or(mPosition + buffer.size());
    if (NxResult result = Prepare("Read"); !result.IsOK()) {
        return Explain(result, "read", end);
    }
    while (read < buffer.size()) {
        std::uint64_t wanted = std::min<std::uint64_t>(buffer.size() - read, mAccess->ChunkSize());
        if (mFileSize.has_value()) {
            wanted = std::min(wanted, *mFileSize - std::min(*mFileSize, mPosition));
        }
        if (wanted == 0) {
            return {};
        }
        std::uint64_t given = 0;
        if (NxResult result = mAccess->Read(
                mPosition,
                buffer.subspan(static_cast<std::size_t>(read), static_cast<std::size_t>(wanted)),
                given);
            !result.IsOK()) {
            mHangs = result.GetCode() == kNxTimeout;
            return Explain(result, "read", end);
        }
        mPosition += given;
        read += given;
        // Asking again past the end is an error to some devices.
        if (given == 0 || (given < wanted && !mFileSize.has_value())) {
            return {};
        }
    }
    return {};
}

NxGenFile::NxGenFile() : mImpl(std::make_unique<Impl>()) {}

NxGenFile::~NxGenFile() = default;

bool NxGenFile::IsSupported(NxGenParameterArray* parameters) {
    if (parameters == nullptr) {
        return false;
    }
    NodeMap& nodes = parameters->GetImpl().Nodes();
    const auto hasNode = [&nodes](const char* name) {
        ArvGcFeatureNode* node = nullptr;
        return nodes.Find(name, node).IsOK() && node != nullptr;
    };
    return hasNode(FileNodes::kOperationSelector) && hasNode(FileNodes::kExecute) &&
           hasNode(FileNodes::kOpenMode) && hasNode(FileNodes::kBuffer);
}

NxResult NxGenFile::Open(NxGenParameterArray* parameters, const NxString& fileName,
                         NxGenOpenMode mode) {
    if (parameters == nullptr) {
        return NxResult(kNxInvalidArgument, "No node map to open a device's file with");
    }
    return mImpl->Open(parameters->GetImpl().Nodes(), fileName.GetAscii(), mode);
}

NxResult NxGenFile::WriteFrom(const NxString& localPath) {
    return mImpl->WriteFrom(localPath.GetAscii());
}

NxResult NxGenFile::Write(const unsigned char* data, long length, long& written) {
    written = 0;
    if (length < 0 || (data == nullptr && length > 0)) {
        return NxResult(kNxInvalidArgument, "No bytes to write to a device's file");
    }
    std::uint64_t taken = 0;
    NxResult result =
        mImpl->Write(std::as_bytes(std::span(data, static_cast<std::size_t>(length))), taken);
    written = static_cast<long>(taken);
    return result;
}

NxResult NxGenFile::Read(unsigned char* buffer, long length, long& read) {
    read = 0;
    if (length < 0 || (buffer == nullptr && length > 0)) {
        return NxResult(kNxInvalidArgument, "No room to read a device's file into");
    }
    std::uint64_t given = 0;
    NxResult result = mImpl->Read(
        std::as_writable_bytes(std::span(buffer, static_cast<std::size_t>(length))), given);
    read = static_cast<long>(given);
    return result;
}

NxResult NxGenFile::Close() {
    return mImpl->Close();
}

NxResult NxGenFile::GetProgress(long& done, long& total) {
    done = mImpl->done;
    total = mImpl->total;
    return {};
}
