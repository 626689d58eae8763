#pragma once

#include <optional>

#include "FileLayout.h"

namespace simulator {

/// A register of 4 bytes for each number of file access, and those that differ from that in one
/// point.
///
/// | address | register | rights |
/// |---|---|---|
/// | 0x10300 | FileSelector | RW |
/// | 0x10304 | FileOperationSelector | RW |
/// | 0x10310 | FileAccessOffset | RW |
/// | 0x10314 | FileAccessLength | RW |
/// | 0x10318 | FileOperationExecute: 1 until it is done | RW |
/// | 0x1031c | FileOperationStatus: 0 Success, 1 Failure | RO |
/// | 0x10320 | FileOperationResult | RO |
/// | 0x10324 | FileOpenMode | RW |
/// | 0x10328 | FileSize | RO |
/// | 0x1000000 | FileAccessBuffer | RW |
class PlainLayout : public FileLayout {
  public:
    using FileLayout::FileLayout;
    void Define(const Device& device) override;
    void Describe(DescriptionWriter& writer) const override;

  protected:
    /// Where a set of the registers is, and what it is for.
    struct Block {
        std::uint32_t address = 0;
        Bytes buffer = {};
        std::optional<FileAccess::File> file = {};            ///< nothing: the selected one
        std::optional<FileAccess::Operation> operation = {};  ///< nothing: the selected one
    };

    void DefineSelectors(const Device& device) const;
    void DefineBlock(const Device& device, const Block& block) const;
    [[nodiscard]] MemoryStatus Start(const Device& device, const Block& block,
                                     FileOperations::Completion completion) const;
    [[nodiscard]] FileAccess::File FileOf(const Device& device, const Block& block) const;

    // What a variation has otherwise.
    virtual void DefineOffset(const Device& device, const Block& block) const;
    virtual void DefineExecute(const Device& device, const Block& block) const;
    virtual void DefineFileSize(const Device& device, const Block& block) const;
    [[nodiscard]] virtual std::uint64_t OffsetOf(const Device& device, const Block& block) const;

    [[nodiscard]] virtual Elements At(std::uint32_t offset) const;
    [[nodiscard]] virtual Elements AtBuffer() const;
    virtual void DescribeAddresses(DescriptionWriter& writer) const;
    virtual void DescribeAccessOffset(DescriptionWriter& writer) const;
    virtual void DescribeExecute(DescriptionWriter& writer) const;
    virtual void DescribeFileSize(DescriptionWriter& writer) const;
};

}  // namespace simulator
