// The firmware file when a read of it fails half-way and when the memory is exhausted.
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <new>

#include <gtest/gtest.h>

#include "NxFwFileReader.h"
#include "TemporaryFolder.h"

namespace {

constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

// What the program may still read, in calls, and the largest block of memory that it may have.
std::size_t readsLeft = kUnlimited;
std::size_t largestBlock = kUnlimited;
// What was read under a limit, in bytes.
std::size_t bytesRead = 0;

class NxFwFileReaderFaultsTest : public testing::Test {
  protected:
    ~NxFwFileReaderFaultsTest() override { EndFaults(); }

    static void EndFaults() {
        readsLeft = kUnlimited;
        largestBlock = kUnlimited;
    }
    /// The text of a file with this content of which only the first read succeeds.
    std::string TextOfFirstRead(const std::string& content) {
        const NxFwFileReader reader("", folder.Write("Manifest.xml", content));
        bytesRead = 0;
        readsLeft = 1;
        std::string text = reader.GetFileContent();
        EndFaults();
        return text;
    }

    TemporaryFolder folder;
};

}  // namespace

// These take the place of the C library's and the C++ library's functions in this program.
[[gnu::visibility("default")]] ssize_t read(int file, void* buffer, std::size_t size) {
    if (readsLeft == 0) {
        errno = EIO;
        return -1;
    }
    const ssize_t count = syscall(SYS_read, file, buffer, size);
    if (readsLeft != kUnlimited) {
        --readsLeft;
        bytesRead += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return count;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return size > largestBlock ? nullptr : std::malloc(size);
}

void* operator new(std::size_t size) {
    void* const block = operator new(size, std::nothrow);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

TEST_F(NxFwFileReaderFaultsTest, AReadErrorPartWayGivesWhatWasReadUpToThen) {
    std::string content;
    while (content.size() < 100000) {
        content += std::to_string(content.size()) + "\n";
    }
    const std::string text = TextOfFirstRead(content);
    EXPECT_GT(bytesRead, 0U);
    EXPECT_LT(bytesRead, content.size());
    EXPECT_EQ(text, content.substr(0, bytesRead));
}

TEST_F(NxFwFileReaderFaultsTest, WhatWasReadBeforeAReadErrorEndsAtItsFirstZeroByteToo) {
    EXPECT_EQ(TextOfFirstRead(std::string("ab\0cd", 5) + std::string(100000, 'x')), "ab");
    EXPECT_LT(bytesRead, 100000U);
}

TEST_F(NxFwFileReaderFaultsTest, NothingIsReadPastTheFirstZeroByte) {
    const NxFwFileReader reader(
        "", folder.Write("Manifest.xml", std::string("ab\0", 3) + std::string(1000000, 'x')));
    bytesRead = 0;
    readsLeft = 1000;
    EXPECT_EQ(reader.GetFileContent(), "ab");
    EXPECT_LT(bytesRead, 100000U);
}

TEST_F(NxFwFileReaderFaultsTest, AFirstReadThatFailsGivesNoText) {
    const NxFwFileReader reader("", folder.Write("Manifest.xml", "text"));
    readsLeft = 0;
    const std::string text = reader.GetFileContent();
    EndFaults();
    EXPECT_EQ(text, "");
}

TEST_F(NxFwFileReaderFaultsTest, ATextThatDoesNotFitInTheMemoryThrows) {
    const NxFwFileReader reader("", folder.Write("Manifest.xml", std::string(1000000, 'x')));
    largestBlock = 65536;
    bool threw = false;
    try {
        (void)reader.GetFileContent();
    } catch (const std::bad_alloc&) {
        threw = true;
    }
    EndFaults();
    EXPECT_TRUE(threw);
    EXPECT_EQ(reader.GetFileContent(), std::string(1000000, 'x'));
}
