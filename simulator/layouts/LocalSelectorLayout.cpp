#include "../FeatureAddresses.h"
#include "Layouts.h"
#include "StatusWord.h"

namespace simulator {

namespace {

constexpr std::uint32_t kOffset = 0x10310;
constexpr std::uint32_t kLength = 0x10314;
constexpr std::uint32_t kCommand = 0x10318;
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
/// | 0x10318 | FileOperationExecute: 0x11 opens for writing, 0x10 for reading, 1 closes, 2 reads, 3
/// writes; the value until it is done, then 0 | RW | | 0x1031c | which files there are, a bit for
/// each value of FileSelector | RO |
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
        DefineCommand(device, kCommand, [device, buffer](std::uint32_t value) {
            const RegisterRegion& from = device.registers;
            FileOperations::Request request{.file = FileIn(from, features::kFileSelector),
                                            .offset = from.GetNumber(kOffset),
                                            .length = from.GetNumber(kLength),
                                            .buffer = buffer};
            return IsOperation(value, request) ? device.files.Start(request)
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
        writer.Node(
            "Command", "FileOperationExecute",
            {{"pValue", "FileOperationExecuteReg"}, {"pCommandValue", "FileOperationCommand"}});
        writer.Register("FileOperationExecuteReg", DescriptionWriter::At(kCommand), "RW");
        writer.Formula("FileOperationCommand",
                       {{"OPERATION", "FileOperationSelector"}, {"MODE", "FileOpenMode"}},
                       "(OPERATION = 0) ? ((MODE = 1) ? 0x11 : 0x10) : OPERATION");
        writer.Buffer("FileAccessBuffer", DescriptionWriter::At(features::kBuffer),
                      {"pLength", "FileBufferLengthReg"});
        writer.Register("FileBufferLengthReg", DescriptionWriter::At(StatusWord::kBufferLength),
                        "RO");
        writer.Number("FileAccessOffset", DescriptionWriter::At(kOffset), "RW", 0, 0xffffffffU);
        writer.Node("Integer", "FileAccessLength",
                    {{"pValue", "FileAccessLengthReg"}, {"pMax", "FileAccessLengthMaxReg"}});
        writer.Register("FileAccessLengthReg", DescriptionWriter::At(kLength), "RW");
        writer.Register("FileAccessLengthMaxReg", DescriptionWriter::At(StatusWord::kMaxLength),
                        "RO");
        DescribeStatus(writer, "FileOperationStatusField");
        StatusWord::Describe(writer, TheBus());
    }

  private:
    static bool IsOperation(std::uint32_t value, FileOperations::Request& request) {
        if (value == kOpenForReading || value == kOpenForWriting) {
            request.operation = FileAccess::Operation::kOpen;
            request.mode = value == kOpenForWriting ? FileAccess::OpenMode::kWrite
                                                    : FileAccess::OpenMode::kRead;
            return true;
        }
        request.operation = static_cast<FileAccess::Operation>(value);
        return value == 1 || value == 2 || value == 3;
    }
};

}  // namespace

std::unique_ptr<FileLayout> MakeLocalSelectorLayout(const DeviceOptions& options, Bus bus) {
    return std::make_unique<LocalSelectorLayout>(options, bus);
}

}  // namespace simulator
