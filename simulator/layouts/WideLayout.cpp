#include "Layouts.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

constexpr std::uint64_t kBase = 0xffffd0000000;
constexpr std::uint64_t kRegionSize = 0x100;
constexpr std::uint64_t kLowWord = 0xffffffff;

constexpr std::uint32_t kSelector = 0x00;
constexpr std::uint32_t kOperation = 0x04;
constexpr std::uint32_t kExecuteAt = 0x10;
constexpr std::uint32_t kOffsetAt = 0x18;
constexpr std::uint32_t kLengthAt = 0x20;
constexpr std::uint32_t kStatus = 0x24;
constexpr std::uint32_t kResult = 0x28;
constexpr std::uint32_t kOpenMode = 0x2c;
constexpr std::uint32_t kFileSize = 0x30;
constexpr std::uint32_t kBuffer = 0x1000000;

/// Registers of 8 bytes, which are accessed as a whole only, and addresses of 48 bits. On GigE
/// Vision, where an address has 32, they count modulo 2^32; the description masks that of the
/// buffer and leaves it to the application for the others.
///
/// | 0xffffd0000000 + | register | bytes | rights |
/// |---|---|---|---|
/// | 0x00 | FileSelector | 4 | RW |
/// | 0x04 | FileOperationSelector | 4 | RW |
/// | 0x10 | FileOperationExecute: 1 until it is done | 8 | RW |
/// | 0x18 | FileAccessOffset | 8 | RW |
/// | 0x20 | FileAccessLength | 4 | RW |
/// | 0x24 | FileOperationStatus: as FileAccess::Status | 4 | RO |
/// | 0x28 | FileOperationResult | 4 | RO |
/// | 0x2c | FileOpenMode | 4 | RW |
/// | 0x30 | FileSize | 8 | RO |
/// | 0x1000000 | FileAccessBuffer | | RW |
class WideLayout : public FileLayout {
  public:
    using FileLayout::FileLayout;

    void Define(const Device& device) override {
        const std::uint64_t base = TheBus() == Bus::kGigEVision ? kBase & kLowWord : kBase;
        auto& registers = device.memory.Add<RegisterRegion>(
            base, kRegionSize, RegisterOrder(Options().layout, TheBus()),
            RegisterRegion::Gaps::kUnmapped);
        FileOperations& files = device.files;
        DefineFileSelector(registers, base + kSelector);
        DefineOperationSelector(registers, base + kOperation);
        registers.DefineLong(base + kOffsetAt, RegisterRegion::Access::kReadWrite);
        registers.DefineStored(base + kLengthAt, Options().bufferSize);
        registers.DefineShown(base + kStatus, [&files] {
            return static_cast<std::uint32_t>(files.Outcome().status);
        });
        registers.DefineShown(base + kResult, [&files] { return files.Outcome().result; });
        registers.DefineStored(base + kOpenMode);
        registers.DefineLong(base + kFileSize, RegisterRegion::Access::kReadOnly,
                             {.beforeRead = [&registers, &files, base] {
                                 registers.SetLong(base + kFileSize,
                                                   files.Size(FileIn(registers, base + kSelector)));
                             }});
        const Bytes buffer = DefineBuffer(device.memory, base + kBuffer);
        registers.DefineLong(
            base + kExecuteAt, RegisterRegion::Access::kReadWrite,
            {.beforeRead =
                 [this, &registers, &files, base] {
                     if (!files.IsBusy() && !Options().executeKeepsValue) {
                         registers.SetLong(base + kExecuteAt, 0);
                     }
                 },
             .afterWrite =
                 [&registers, &files, buffer, base] {
                     return registers.GetLong(base + kExecuteAt) == 0
                                ? MemoryStatus::kOk
                                : files.Start({FileIn(registers, base + kSelector),
                                               static_cast<FileAccess::Operation>(
                                                   registers.GetNumber(base + kOperation)),
                                               static_cast<FileAccess::OpenMode>(
                                                   registers.GetNumber(base + kOpenMode)),
                                               registers.GetLong(base + kOffsetAt),
                                               registers.GetNumber(base + kLengthAt), buffer});
                 }});
    }

    void Describe(DescriptionWriter& writer) const override {
        DescribeCategory(writer);
        writer.Constant("FileRegisterBase", kBase);
        writer.Formula(
            "FileBufferAddress", {{"BASE", "FileRegisterBase"}},
            TheBus() == Bus::kGigEVision ? "(BASE & 0xFFFFFFFF) + 0x1000000" : "BASE + 0x1000000");
        DescribeFileSelector(writer, DescriptionWriter::At(kBase + kSelector));
        DescribeOperationSelector(writer, {"pValue", "FileOperationSelectorReg"});
        writer.Register("FileOperationSelectorReg", DescriptionWriter::At(kBase + kOperation),
                        "RW");
        writer.Node("Command", "FileOperationExecute",
                    {{"pValue", "FileOperationExecuteReg"}, {"CommandValue", "1"}});
        writer.Register("FileOperationExecuteReg", At(kExecuteAt), "RW", 8);
        DescribeOpenMode(writer, {"pValue", "FileOpenModeReg"});
        writer.Register("FileOpenModeReg", At(kOpenMode), "RW");
        writer.Buffer("FileAccessBuffer", {{"pAddress", "FileBufferAddress"}},
                      {"Length", std::to_string(Options().bufferSize)});
        writer.Number("FileAccessOffset", At(kOffsetAt), "RW", 0, 0xffffffffffU, 8);
        writer.Number("FileAccessLength", At(kLengthAt), "RW", 1, Options().bufferSize);
        DescribeStatus(writer, "FileOperationStatusReg");
        writer.Register("FileOperationStatusReg", At(kStatus), "RO");
        writer.Number("FileOperationResult", At(kResult), "RO", 0, 0xffffffffU);
        writer.Number("FileSize", At(kFileSize), "RO", 0, 0xffffffffffU, 8);
    }

  private:
    [[nodiscard]] static Elements At(std::uint32_t offset) {
        return DescriptionWriter::At(offset, "FileRegisterBase");
    }
};

}  // namespace

std::unique_ptr<FileLayout> MakeWideLayout(const DeviceOptions& options, Bus bus) {
    return std::make_unique<WideLayout>(options, bus);
}

}  // namespace simulator
