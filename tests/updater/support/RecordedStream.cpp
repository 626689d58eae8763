#include "RecordedStream.h"

#include <algorithm>
#include <string_view>

#include "Script.h"

RecordedStream::RecordedStream(std::ostream& stream)
    : mStream(stream),
      mPrevious(stream.rdbuf(this)),
      mFlags(stream.flags()),
      mTied(stream.tie(nullptr)) {
    // Only the flushes that the code under test asks for.
    stream.unsetf(std::ios::unitbuf);
}

RecordedStream::~RecordedStream() {
    (void)mStream.rdbuf(mPrevious);
}

std::streamsize RecordedStream::xsputn(const char* bytes, std::streamsize count) {
    Append(std::string(bytes, static_cast<std::size_t>(count)));
    return count;
}

RecordedStream::int_type RecordedStream::overflow(int_type character) {
    Append(std::string(1, traits_type::to_char_type(character)));
    return character;
}

int RecordedStream::sync() {
    mTextWithFlushes += "<flush>";
    // Right after the start of a worker: whether it is complete at the first look must not be left
    // to chance.
    constexpr std::string_view kStarted = "Starting update...\n";
    if (mText.size() >= kStarted.size() &&
        std::string_view(mText).substr(mText.size() - kStarted.size()) == kStarted &&
        Script::Current() != nullptr) {
        Script::Current()->WaitUntilSettled();
    }
    return 0;
}

void RecordedStream::Append(const std::string& bytes) {
    mText += bytes;
    mTextWithFlushes += bytes;
    mLargestWrite = std::max(mLargestWrite, bytes.size());
}
