#include "Layouts.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

constexpr std::uint32_t kState = 0x1031c;

constexpr std::uint32_t kModeShift = 4;
constexpr std::uint32_t kDone = 0x80;
constexpr std::uint32_t kStatusShift = 8;
constexpr std::uint32_t kResultShift = 16;
constexpr std::uint32_t kSuccess = 1;

/// Whether it is busy, status and result are in the register that starts operations. Operation and
/// open mode are values in the description; there is no FileSize.
///
/// | address | register | rights |
/// |---|---|---|
/// | 0x10300 | FileSelector | RW |
/// | 0x10310 | FileAccessOffset | RW |
/// | 0x10314 | FileAccessLength; refused while no file is open | RW |
/// | 0x10318 | FileOperationExecute | RW |
/// | 0x1031c | bit 0: a file is open | RO |
/// | 0x1000000 | FileAccessBuffer | RW |
///
/// FileOperationExecute takes operation + 0x10 * open mode, so that 0 opens for reading, and shows
/// that until it is done; then 0x80 + 0x100 * status + 0x10000 * result. The status of success
/// is 1.
class CommandRegisterLayout : public FileLayout {
  public:
    using FileLayout::FileLayout;

    void Define(const Device& device) override {
        RegisterRegion& registers = device.registers;
        FileOperations& files = device.files;
        DefineFileSelector(registers, features::kFileSelector);
        registers.DefineStored(kOffset);
        registers.Define(kLength, 4, RegisterRegion::Access::kReadWrite,
                         {.isAvailable = [&files] { return files.IsOpen(); }});
        registers.SetNumber(kLength, Options().bufferSize);
        registers.DefineShown(kState, [&files] { return files.IsOpen() ? 1U : 0U; });
        registers.SetNumber(kExecute, Done({}));
        const Bytes buffer = DefineBuffer(device.memory, features::kBuffer);
        registers.Define(
            kExecute, 4, RegisterRegion::Access::kReadWrite,
            {.beforeRead =
                 [&registers, &files] {
                     if (!files.IsBusy() && files.Count() != 0) {
                         registers.SetNumber(kExecute, Done(files.Outcome()));
                     }
                 },
             .afterWrite =
                 [device, buffer] {
                     const RegisterRegion& from = device.registers;
                     const std::uint32_t value = from.GetNumber(kExecute);
                     constexpr std::uint32_t kDigit = 0xf;
                     if (value > 0xff || (value & kDigit) >= features::kOperationCount) {
                         return MemoryStatus::kInvalidParameter;
                     }
                     return device.files.Start(RequestFor(
                         from, static_cast<FileAccess::Operation>(value & kDigit),
                         static_cast<FileAccess::OpenMode>(value >> kModeShift), buffer));
                 }});
    }

    void Describe(DescriptionWriter& writer) const override {
        DescribeCategory(writer, false);
        DescribeFileSelector(writer, DescriptionWriter::At(features::kFileSelector));
        DescribeOperationSelector(writer, {"pValue", "FileOperationValue"});
        writer.Constant("FileOperationValue", 0);
        DescribeOpenMode(writer, {"Value", "0"});
        DescribeCommandByFormula(writer, "(OPERATION = 0) ? (MODE << 4) : OPERATION");
        writer.Formula("FileOperationBusy", {{"COMMAND", "FileOperationExecuteReg"}},
                       "(COMMAND & 0x80) ? 0 : 1");
        writer.Buffer("FileAccessBuffer", DescriptionWriter::At(features::kBuffer),
                      {"Length", std::to_string(Options().bufferSize)});
        DescribeOffset(writer);
        writer.MaskedRegister("FileIsOpen", DescriptionWriter::At(kState), "RO", {0, 0});
        writer.Node("Integer", "FileAccessLength",
                    {{"pIsAvailable", "FileIsOpen"},
                     {"pValue", "FileAccessLengthReg"},
                     {"Min", "1"},
                     {"Max", std::to_string(Options().bufferSize)}});
        writer.Register("FileAccessLengthReg", DescriptionWriter::At(kLength), "RW");
        DescribeStatus(writer, "FileOperationStatusValue", kSuccess);
        writer.Formula("FileOperationStatusValue", {{"COMMAND", "FileOperationExecuteReg"}},
                       "(COMMAND >> 8) & 0xFF");
        writer.Integer("FileOperationResult", "FileOperationResultField", 0, 0xffff);
        writer.MaskedRegister("FileOperationResultField", DescriptionWriter::At(kExecute), "RO",
                              {kResultShift, 31});
    }

  private:
    static std::uint32_t Done(const FileAccess::Outcome& outcome) {
        return kDone | (static_cast<std::uint32_t>(outcome.status) + kSuccess) << kStatusShift |
               outcome.result << kResultShift;
    }
};

}  // namespace

std::unique_ptr<FileLayout> MakeCommandRegisterLayout(const DeviceOptions& options, Bus bus) {
    return std::make_unique<CommandRegisterLayout>(options, bus);
}

}  // namespace simulator
