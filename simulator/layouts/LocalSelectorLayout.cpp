#include "Layouts.h"
#include "StatusWord.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

constexpr std::uint32_t kPresent = 0x1031c;

constexpr std::uint32_t kOpenForReading = 0x10;
constexpr std::uint32_t kOpenForWriting = 0x11;

/// FileOperationSelector and FileOpenMode are values in the description and have no registers: the
/// operation is in the command's value. Status, result and size as in the layout bitfields
/// (StatusWord.h), but lengths need not be a multiple of 4. The description knows more files and
/// open modes than the device has.
///
/// | address | register | rights |
/// |---|---|---|
/// | 0x10300 | FileSelector | RW |
/// | 0x10310 | FileAccessOffset | RW |
/// | 0x10314 | FileAccessLength | RW |
/// | 0x10318 | FileOperationExecute | RW |
/// | 0x1031c | which files there are, a bit for each value of FileSelector | RO |
///
/// FileOperationExecute takes 0x11 to open for writing, 0x10 to open for reading, 1 to close, 2 to
/// read, 3 to write, and shows it until it is done; then 0.
class LocalSelectorLayout : public FileLayout {
  public:
    using FileLayout::FileLayout;

    void Define(const Device& device) override {
        RegisterRegion& registers = device.registers;
        DefineFileSelector(registers, features::kFileSelector);
        registers.DefineStored(kOffset);
        registers.DefineStored(kLength, Options().bufferSize);
        registers.DefineShown(kPresent, [] { return 0x3U; });
        StatusWord::Define(device, Options(), TheBus(),
                           [&registers] { return FileIn(registers, features::kFileSelector); });
        const Bytes buffer = DefineBuffer(device.memory, features::kBuffer);
        DefineCommand(device, kExecute, [device, buffer](std::uint32_t value) {
            FileAccess::Operation operation{value};
            FileAccess::OpenMode mode{};
            return IsOperation(value, operation, mode)
                       ? device.files.Start(RequestFor(device.registers, operation, mode, buffer))
                       : MemoryStatus::kInvalidParameter;
        });
    }

    void Describe(DescriptionWriter& writer) const override {
        DescribeCategory(writer);
        DescribeFileSelector(writer, DescriptionWriter::At(features::kFileSelector),
                             {{"UserSet1", 3, "", "UserSetsPresent"},
                              {"UserSet2", 4, "", "UserSetsPresent"},
                              {"UserSet3", 5, "", "UserSetsPresent"},
                              {"LUTLuminance", 6, "", "NotBuiltIn"},
                              {"LUTRed", 7, "", "NotBuiltIn"},
                              {"LUTGreen", 8, "", "NotBuiltIn"},
                              {"LUTBlue", 9, "", "NotBuiltIn"},
                              {"DefectPixels", 10, "", "NotBuiltIn"}});
        writer.MaskedRegister("UserSetsPresent", DescriptionWriter::At(kPresent), "RO", {3, 3});
        writer.Constant("NotBuiltIn", 0);
        DescribeOperationSelector(writer, {"Value", "0"});
        DescribeOpenMode(writer, {"pValue", "FileOpenModeValue"},
                         {{"ReadWrite", 2, "", "NotBuiltIn"}, {"Append", 3, "", "NotBuiltIn"}});
        writer.Constant("FileOpenModeValue", 0);
        DescribeCommandByFormula(writer,
                                 "(OPERATION = 0) ? ((MODE = 1) ? 0x11 : 0x10) : OPERATION");
        DescribeOffset(writer);
        writer.Node("Integer", "FileAccessLength",
                    {{"pValue", "FileAccessLengthReg"}, {"pMax", "FileAccessLengthMaxReg"}});
        writer.Register("FileAccessLengthReg", DescriptionWriter::At(kLength), "RW");
        writer.Register("FileAccessLengthMaxReg", DescriptionWriter::At(StatusWord::kMaxLength),
                        "RO");
        DescribeStatus(writer, "FileOperationStatusField");
        StatusWord::Describe(writer, TheBus());
    }

  private:
    static bool IsOperation(std::uint32_t value, FileAccess::Operation& operation,
                            FileAccess::OpenMode& mode) {
        if (value == kOpenForReading || value == kOpenForWriting) {
            operation = FileAccess::Operation::kOpen;
            mode = value == kOpenForWriting ? FileAccess::OpenMode::kWrite
                                            : FileAccess::OpenMode::kRead;
            return true;
        }
        return value == 1 || value == 2 || value == 3;
    }
};

}  // namespace

std::unique_ptr<FileLayout> MakeLocalSelectorLayout(const DeviceOptions& options, Bus bus) {
    return std::make_unique<LocalSelectorLayout>(options, bus);
}

}  // namespace simulator
