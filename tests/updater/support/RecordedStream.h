#pragma once

#include <ostream>
#include <streambuf>
#include <string>

/// Takes the place of a standard stream's buffer and keeps its bytes, writes and flushes.
class RecordedStream : private std::streambuf {
  public:
    explicit RecordedStream(std::ostream& stream);
    ~RecordedStream() override;
    RecordedStream(const RecordedStream&) = delete;
    RecordedStream& operator=(const RecordedStream&) = delete;

    [[nodiscard]] const std::string& Text() const { return mText; }
    /// The text with "<flush>" at every place where the stream was flushed.
    [[nodiscard]] const std::string& TextWithFlushes() const { return mTextWithFlushes; }
    /// Number of bytes of the largest single write.
    [[nodiscard]] std::size_t LargestWrite() const { return mLargestWrite; }

  private:
    std::streamsize xsputn(const char* bytes, std::streamsize count) override;
    int_type overflow(int_type character) override;
    int sync() override;
    void Append(const std::string& bytes);

    std::ostream& mStream;
    std::streambuf* mPrevious;
    std::ios::fmtflags mFlags;
    std::ostream* mTied;
    std::string mText;
    std::string mTextWithFlushes;
    std::size_t mLargestWrite = 0;
};
