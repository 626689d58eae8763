#pragma once

#include "FileLayout.h"

namespace simulator {

/// The words before FileAccessBuffer in the layouts that keep status and result in one word, and
/// limits in registers. All are read-only.
///
/// | address | word |
/// |---|---|
/// | 0xffffe0 | least FileAccessLength, which is also its increment: 4 |
/// | 0xffffe4 | greatest FileAccessLength |
/// | 0xffffe8 | length of FileAccessBuffer |
/// | 0xfffff8 | FileSize and whether a file is open |
/// | 0xfffffc | FileOperationStatus and FileOperationResult |
/// | 0x1000000 | FileAccessBuffer |
///
/// FileSize is in bits 31 to 5 as GenApi counts them: the low 27 bits of a big-endian word, the
/// high 27 of a little-endian one. Of the other five, the outermost is 1 while a file is open. The
/// status is in the high 4 bits of its word, the result in the low 25, the number of operations so
/// far, modulo 8, in between.
class StatusWord {
  public:
    using Bits = DescriptionWriter::Bits;

    static constexpr std::uint32_t kMinLength = 0xffffe0;
    static constexpr std::uint32_t kMaxLength = 0xffffe4;
    static constexpr std::uint32_t kBufferLength = 0xffffe8;
    static constexpr std::uint32_t kFileWord = 0xfffff8;
    static constexpr std::uint32_t kStatusWord = 0xfffffc;
    static constexpr std::uint32_t kIncrement = 4;

    static constexpr Bits kStatusBits{28, 31};
    static constexpr Bits kResultBits{0, 24};

    /// @param file returns the file whose size is shown
    static void Define(const FileLayout::Device& device, const DeviceOptions& options, Bus bus,
                       std::function<FileAccess::File()> file);

    /// Where "bits 31 to 5" are.
    [[nodiscard]] static Bits FileSizeBits(Bus bus);
    /// FileAccessBuffer, FileIsOpen, FileSize, and the fields of the status word.
    static void Describe(DescriptionWriter& writer, Bus bus);
};

}  // namespace simulator
