#include "Layouts.h"
#include "StatusWord.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

constexpr std::uint32_t kOpenMode = 0x1031c;

/// Status, result and file size are bit fields, limits are in registers (StatusWord.h), and the
/// open mode is locked while a file is open.
///
/// | address | register | rights |
/// |---|---|---|
/// | 0x10300 | FileSelector | RW |
/// | 0x10304 | FileOperationSelector | RW |
/// | 0x10310 | FileAccessOffset | RW |
/// | 0x10314 | FileAccessLength, a multiple of 4; a payload's padding is dropped at Close | RW |
/// | 0x10318 | FileOperationExecute: 1 until it is done | RW |
/// | 0x1031c | FileOpenMode, write-protected while a file is open | RW |
class BitFieldLayout : public FileLayout {
  public:
    using FileLayout::FileLayout;

    void Define(const Device& device) override {
        RegisterRegion& registers = device.registers;
        DefineFileSelector(registers, features::kFileSelector);
        DefineOperationSelector(registers, features::kOperationSelector);
        registers.DefineStored(kOffset);
        registers.DefineStored(kLength, Options().bufferSize);
        registers.Define(kOpenMode, 4, RegisterRegion::Access::kReadWrite,
                         {.isLocked = [&files = device.files] { return files.IsOpen(); }});
        StatusWord::Define(device, Options(), TheBus(),
                           [&registers] { return FileIn(registers, features::kFileSelector); });
        const Bytes buffer = DefineBuffer(device.memory, features::kBuffer);
        DefineCommand(device, kExecute, [device, buffer](std::uint32_t value) {
            const RegisterRegion& from = device.registers;
            return value == 0
                       ? MemoryStatus::kOk
                       : device.files.Start(RequestFor(
                             from,
                             static_cast<FileAccess::Operation>(
                                 from.GetNumber(features::kOperationSelector)),
                             static_cast<FileAccess::OpenMode>(from.GetNumber(kOpenMode)), buffer));
        });
    }

    void Describe(DescriptionWriter& writer) const override {
        DescribeCategory(writer);
        DescribeFileSelector(writer, DescriptionWriter::At(features::kFileSelector));
        DescribeOperationSelector(writer, {"pValue", "FileOperationSelectorReg"});
        writer.Register("FileOperationSelectorReg",
                        DescriptionWriter::At(features::kOperationSelector), "RW");
        writer.Command("FileOperationExecute", DescriptionWriter::At(kExecute));
        DescribeOpenMode(writer, {"pValue", "FileOpenModeReg"}, {}, {{"pIsLocked", "FileIsOpen"}});
        writer.Register("FileOpenModeReg", DescriptionWriter::At(kOpenMode), "RW");
        DescribeOffset(writer);
        writer.Node("Integer", "FileAccessLength",
                    {{"pValue", "FileAccessLengthReg"},
                     {"pMin", "FileAccessLengthMinReg"},
                     {"pMax", "FileAccessLengthMaxReg"},
                     {"pInc", "FileAccessLengthMinReg"}});
        writer.Register("FileAccessLengthReg", DescriptionWriter::At(kLength), "RW");
        writer.Register("FileAccessLengthMinReg", DescriptionWriter::At(StatusWord::kMinLength),
                        "RO");
        writer.Register("FileAccessLengthMaxReg", DescriptionWriter::At(StatusWord::kMaxLength),
                        "RO");
        DescribeStatus(writer, "FileOperationStatusField");
        StatusWord::Describe(writer, TheBus());
    }

    [[nodiscard]] std::uint32_t Increment() const override { return StatusWord::kIncrement; }
};

}  // namespace

std::unique_ptr<FileLayout> MakeBitFieldLayout(const DeviceOptions& options, Bus bus) {
    return std::make_unique<BitFieldLayout>(options, bus);
}

}  // namespace simulator
