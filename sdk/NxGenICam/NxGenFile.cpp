#include <NxGenICam/NxGenFile.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/LocalFile.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include "ParameterArrayImpl.h"
#include "file_access/FileChunks.h"
#include "file_access/FileFeatures.h"
#include "file_access/FileOperation.h"
#include "file_access/TransferPace.h"

namespace {

// What a transfer will use is there and may be used once a file is open.
NxResult FindFileAccess(NodeMap& nodes) {
    NX_RETURN_IF_FAILED(nodes.SettleByteOrder());
    for (const auto& [feature, kind, isWritten] :
         {std::tuple{FileFeatures::kOperationSelector, NodeKind::kEnumeration, false},
          std::tuple{FileFeatures::kOpenMode, NodeKind::kEnumeration, false},
          std::tuple{FileFeatures::kExecute, NodeKind::kCommand, true},
          std::tuple{FileFeatures::kBuffer, NodeKind::kRegister, true}}) {
        NodeMap::Id node = NodeTable::kNone;
        NX_RETURN_IF_FAILED(nodes.Find(feature, node));
        const std::string name = nodes.Port().DeviceName() + " has no GenICam file access: ";
        if (node == NodeTable::kNone) {
            return NxResult(kNxNoFileAccess, name + "it has no feature " + feature);
        }
        if (nodes.Table().Kind(node) != kind) {
            return NxResult(kNxNoFileAccess, name + "its " + feature + " has an unsupported type");
        }
        NodeRights rights;
        NX_RETURN_IF_FAILED(nodes.FindRights(node, NodeRights::Scope::kEver, rights));
        NodeValues::Source source;
        if (kind == NodeKind::kCommand &&
            (!nodes.Access().FindSource(node, source).IsOK() || source.node == NodeTable::kNone)) {
            return NxResult(kNxNoFileAccess, name + "its " + feature + " has no register");
        }
        if (isWritten && !rights.isWritable) {
            return NxResult(kNxNoFileAccess, name + "its " + feature + " cannot be written");
        }
    }
    return {};
}

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
    NxResult RunOnce(const char* operation);
    NxResult Prepare(FileChunks::Direction direction);
    NxResult SendFile(const LocalFile& payload);
    NxResult Send(std::span<const std::byte> data, std::uint64_t& written);
    NxResult Fetch(std::span<std::byte> buffer, std::uint64_t& read);
    void FindFileSize();
    void StartPace() {
        mPace = TransferPace(TransferPace::Clock::now());
        mPaceStart = mPosition;
    }
    [[nodiscard]] NxResult CheckPace() const {
        return mPace.Check(mPosition - mPaceStart, TransferPace::Clock::now());
    }
    /// The outcome of moving a chunk, remembered for Close when the device did not finish it.
    NxResult NoteHanging(NxResult result) {
        mHangs = result.IsOK() ? mHangs : result.GetCode() == kNxTimeout;
        return result;
    }
    /// The same outcome, a failure said of the file.
    /// @param end size of what is moved; 0 when nothing is
    [[nodiscard]] NxResult Explain(const NxResult& outcome, const std::string& verb,
                                   std::uint64_t end) const;

    NodeMap* mNodes = nullptr;
    std::string mName;
    bool mIsOpen = false;
    bool mHangs = false;  ///< an operation on the device was given up
    FileOperation::Habits mHabits;
    FileChunks::Direction mDirection = FileChunks::Direction::kWrite;
    std::unique_ptr<FileChunks> mChunks;  ///< of that direction; null until something is moved
    std::uint64_t mPosition = 0;
    TransferPace mPace{TransferPace::Clock::time_point()};  ///< since mPaceStart was moved
    std::uint64_t mPaceStart = 0;
    std::optional<std::uint64_t> mFileSize;
};

NxResult NxGenFile::Impl::Explain(const NxResult& outcome, const std::string& verb,
                                  std::uint64_t end) const {
    if (outcome.IsOK()) {
        return outcome;
    }
    std::string where;
    if (end > 0) {
        where = " at byte " + std::to_string(mPosition) + " of " + std::to_string(end);
    }
    return NxResult(outcome.GetCode(), "Cannot " + verb + " the device's file " + mName + where +
                                           ": " + outcome.GetDescription().GetAscii());
}

NxResult NxGenFile::Impl::Open(NodeMap& nodes, const std::string& name, NxGenOpenMode mode) {
    // What is known of another device says nothing of this one.
    mHabits = mNodes == &nodes ? mHabits : FileOperation::Habits();
    mNodes = &nodes;
    mName = name;
    mIsOpen = false;
    mHangs = false;
    mChunks.reset();
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
    // Nothing may be written in the wrong order.
    NX_RETURN_IF_FAILED(mNodes->SettleByteOrder());
    for (const char* feature : {FileFeatures::kOffset, FileFeatures::kLength}) {
        NodeMap::Id node = NodeTable::kNone;
        NX_RETURN_IF_FAILED(mNodes->Require(feature, node));
    }
    NodeMap::Id selector = NodeTable::kNone;
    NX_RETURN_IF_FAILED(mNodes->Find(FileFeatures::kSelector, selector));
    // Without a selector the device has one file, whatever its name.
    if (selector != NodeTable::kNone) {
        NX_RETURN_IF_FAILED(mNodes->WriteEntry(FileFeatures::kSelector, mName));
    }
    NX_RETURN_IF_FAILED(mNodes->WriteEntry(FileFeatures::kOperationSelector, "Open"));
    NxResult result = mNodes->WriteEntry(FileFeatures::kOpenMode,
                                         mode == NxGenOpenMode::kWrite ? "Write" : "Read");
    if ((result.GetCode() == kNxNoSuchNode || result.GetCode() == kNxNodeAccess) &&
        mNodes->WriteEntry(FileFeatures::kOpenMode, "ReadWrite").IsOK()) {
        result = NxResult();
    }
    return result.IsOK() ? RunOnce("Open") : result;
}

NxResult NxGenFile::Impl::RunOnce(const char* operation) {
    FileOperation once(*mNodes, operation, mHabits);
    NX_RETURN_IF_FAILED(once.Prepare(NodeTable::kNone));
    NX_RETURN_IF_FAILED(once.FindWhetherValueIsKept());
    return once.Run({});
}

// Optional, and dynamic texts are often said to be empty: only a positive size is believed.
void NxGenFile::Impl::FindFileSize() {
    std::int64_t size = 0;
    if (mNodes->ReadInteger(FileFeatures::kSize, size).IsOK() && size > 0) {
        mFileSize = static_cast<std::uint64_t>(size);
    }
}

NxResult NxGenFile::Impl::Close() {
    if (!mIsOpen) {
        return NxResult(kNxInvalidArgument, "No file of the device is open");
    }
    mIsOpen = false;
    mChunks.reset();
    if (mHangs) {
        // A Close would be waited for as long once more; an Open that the device refuses because
        // the file is open is followed by one.
        return NxResult(kNxTimeout, "Cannot close the device's file " + mName + ": " +
                                        mNodes->Port().DeviceName() +
                                        " has not finished its last operation");
    }
    NxResult result = mNodes->WriteEntry(FileFeatures::kOperationSelector, "Close");
    return Explain(result.IsOK() ? RunOnce("Close") : result, "close", 0);
}

// Selects the operation, which may move the registers, and finds what the chunks need.
NxResult NxGenFile::Impl::Prepare(FileChunks::Direction direction) {
    if (!mIsOpen) {
        return NxResult(kNxInvalidArgument, "No file of the device is open");
    }
    if (mChunks != nullptr && mDirection == direction) {
        return {};
    }
    mChunks.reset();
    NX_RETURN_IF_FAILED(
        mNodes->WriteEntry(FileFeatures::kOperationSelector,
                           direction == FileChunks::Direction::kWrite ? "Write" : "Read"));
    auto chunks = std::make_unique<FileChunks>(*mNodes, direction, mHabits);
    NX_RETURN_IF_FAILED(chunks->Prepare());
    mChunks = std::move(chunks);
    mDirection = direction;
    return {};
}

NxResult NxGenFile::Impl::WriteFrom(const std::string& localPath) {
    LocalFile payload;
    NX_RETURN_IF_FAILED(payload.Open(localPath));
    done = 0;
    total = static_cast<long>(payload.Size());
    const std::uint64_t end = mPosition + payload.Size();
    return Explain(SendFile(payload), "write", end);
}

NxResult NxGenFile::Impl::SendFile(const LocalFile& payload) {
    NX_RETURN_IF_FAILED(Prepare(FileChunks::Direction::kWrite));
    StartPace();
    std::vector<std::byte> buffer(mChunks->ChunkSize());
    for (std::uint64_t sent = 0; sent < payload.Size();) {
        const std::span<std::byte> chunk = std::span(buffer).first(static_cast<std::size_t>(
            std::min<std::uint64_t>(payload.Size() - sent, buffer.size())));
        NX_RETURN_IF_FAILED(payload.ReadWhole(sent, chunk));
        if (sent + chunk.size() == payload.Size()) {
            // Before the last bytes are sent: a mixture is never complete in the device.
            NX_RETURN_IF_FAILED(payload.CheckUnchanged());
        }
        std::uint64_t written = 0;
        NX_RETURN_IF_FAILED(Send(chunk, written));
        sent += chunk.size();
        done = static_cast<long>(sent);
    }
    return payload.CheckUnchanged();
}

NxResult NxGenFile::Impl::Write(std::span<const std::byte> data, std::uint64_t& written) {
    const std::uint64_t end = mPosition + data.size();
    StartPace();
    return Explain(Send(data, written), "write", end);
}

NxResult NxGenFile::Impl::Send(std::span<const std::byte> data, std::uint64_t& written) {
    NX_RETURN_IF_FAILED(Prepare(FileChunks::Direction::kWrite));
    while (!data.empty()) {
        std::uint64_t taken = 0;
        NX_RETURN_IF_FAILED(NoteHanging(mChunks->Write(
            mPosition, data.first(std::min(data.size(), mChunks->ChunkSize())), taken)));
        if (taken == 0) {
            return NxResult(kNxTransferIncomplete,
                            mNodes->Port().DeviceName() + " accepts no more bytes");
        }
        // A device may take fewer: it goes on from the byte after the last one that it took.
        mPosition += taken;
        written += taken;
        data = data.subspan(static_cast<std::size_t>(taken));
        NX_RETURN_IF_FAILED(CheckPace());
    }
    return {};
}

NxResult NxGenFile::Impl::Read(std::span<std::byte> buffer, std::uint64_t& read) {
    const std::uint64_t end = mFileSize.value_or(mPosition + buffer.size());
    StartPace();
    return Explain(Fetch(buffer, read), "read", end);
}

NxResult NxGenFile::Impl::Fetch(std::span<std::byte> buffer, std::uint64_t& read) {
    NX_RETURN_IF_FAILED(Prepare(FileChunks::Direction::kRead));
    while (read < buffer.size()) {
        std::uint64_t wanted = std::min<std::uint64_t>(buffer.size() - read, mChunks->ChunkSize());
        if (mFileSize.has_value()) {
            wanted = std::min(wanted, *mFileSize - std::min(*mFileSize, mPosition));
        }
        if (wanted == 0) {
            return {};
        }
        std::uint64_t given = 0;
        NX_RETURN_IF_FAILED(NoteHanging(mChunks->Read(
            mPosition,
            buffer.subspan(static_cast<std::size_t>(read), static_cast<std::size_t>(wanted)),
            given)));
        mPosition += given;
        read += given;
        NX_RETURN_IF_FAILED(CheckPace());
        // Asking again past the end is an error to some devices.
        if (given == 0 || (given < wanted && !mFileSize.has_value())) {
            return {};
        }
    }
    return {};
}

NxGenFile::NxGenFile() : mImpl(std::make_unique<Impl>()) {}

NxGenFile::~NxGenFile() = default;

NxResult NxGenFile::CheckSupport(NxGenParameterArray* parameters) {
    return parameters != nullptr ? FindFileAccess(parameters->GetImpl().Nodes())
                                 : NxResult(kNxInvalidArgument, "No node map given");
}

bool NxGenFile::IsSupported(NxGenParameterArray* parameters) {
    const NxResult result = CheckSupport(parameters);
    if (!result.IsOK() && parameters != nullptr) {
        parameters->GetImpl().Nodes().Port().NoteNoFileAccess(result.GetDescription().GetAscii());
    }
    return result.IsOK();
}

NxResult NxGenFile::Open(NxGenParameterArray* parameters, const NxString& fileName,
                         NxGenOpenMode mode) {
    if (parameters == nullptr) {
        return NxResult(kNxInvalidArgument, "No node map given");
    }
    return mImpl->Open(parameters->GetImpl().Nodes(), fileName.GetAscii(), mode);
}

NxResult NxGenFile::WriteFrom(const NxString& localPath) {
    return mImpl->WriteFrom(localPath.GetAscii());
}

NxResult NxGenFile::Write(const unsigned char* data, long length, long& written) {
    written = 0;
    if (length < 0 || (data == nullptr && length > 0)) {
        return NxResult(kNxInvalidArgument, "No data to write");
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
        return NxResult(kNxInvalidArgument, "No buffer to read into");
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
