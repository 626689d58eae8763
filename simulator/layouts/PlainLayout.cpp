#include "PlainLayout.h"

#include "Layouts.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

std::unique_ptr<FileLayout> MakePlainLayout(const DeviceOptions& options, Bus bus) {
    return std::make_unique<PlainLayout>(options, bus);
}

void PlainLayout::Define(const Device& device) {
    DefineSelectors(device);
    DefineBlock(device,
                {features::kPlainBlock, DefineBuffer(device.memory, features::kBuffer), {}, {}});
}

void PlainLayout::DefineSelectors(const Device& device) const {
    DefineFileSelector(device.registers, features::kFileSelector);
    DefineOperationSelector(device.registers, features::kOperationSelector);
}

void PlainLayout::DefineBlock(const Device& device, const Block& block) const {
    RegisterRegion& registers = device.registers;
    FileOperations& files = device.files;
    registers.DefineStored(block.address + features::kAccessLength, Options().bufferSize);
    registers.DefineStored(block.address + features::kOpenMode);
    DefineOffset(device, block);
    DefineExecute(device, block);
    DefineFileSize(device, block);
    registers.DefineShown(block.address + features::kStatus, [&files] {
        return files.Outcome().status == FileAccess::Status::kSuccess ? 0U : 1U;
    });
    registers.DefineShown(block.address + features::kResult,
                          [&files] { return files.Outcome().result; });
}

void PlainLayout::DefineOffset(const Device& device, const Block& block) const {
    device.registers.DefineStored(block.address + features::kAccessOffset);
}

void PlainLayout::DefineExecute(const Device& device, const Block& block) const {
    DefineCommand(device, block.address + features::kExecute,
                  [this, device, block](std::uint32_t value) {
                      return value == 0 ? MemoryStatus::kOk
                                        : Start(device, block, FileOperations::Completion::kShown);
                  });
}

void PlainLayout::DefineFileSize(const Device& device, const Block& block) const {
    device.registers.DefineShown(block.address + features::kFileSize, [this, device, block] {
        return static_cast<std::uint32_t>(device.files.Size(FileOf(device, block)));
    });
}

std::uint64_t PlainLayout::OffsetOf(const Device& device, const Block& block) const {
    return device.registers.GetNumber(block.address + features::kAccessOffset);
}

FileAccess::File PlainLayout::FileOf(const Device& device, const Block& block) const {
    return block.file.value_or(FileIn(device.registers, features::kFileSelector));
}

MemoryStatus PlainLayout::Start(const Device& device, const Block& block,
                                FileOperations::Completion completion) const {
    const RegisterRegion& registers = device.registers;
    const auto selected =
        static_cast<FileAccess::Operation>(registers.GetNumber(features::kOperationSelector));
    return device.files.Start(
        {FileOf(device, block), block.operation.value_or(selected),
         static_cast<FileAccess::OpenMode>(
             registers.GetNumber(block.address + features::kOpenMode)),
         OffsetOf(device, block), registers.GetNumber(block.address + features::kAccessLength),
         block.buffer},
        completion);
}

void PlainLayout::Describe(DescriptionWriter& writer) const {
    DescribeCategory(writer);
    DescribeFileSelector(writer, DescriptionWriter::At(features::kFileSelector));
    DescribeOperationSelector(writer, {"pValue", "FileOperationSelectorReg"});
    writer.Register("FileOperationSelectorReg", DescriptionWriter::At(features::kOperationSelector),
                    "RW");
    DescribeAddresses(writer);
    DescribeExecute(writer);
    DescribeOpenMode(writer, {"pValue", "FileOpenModeReg"});
    writer.Register("FileOpenModeReg", At(features::kOpenMode), "RW");
    writer.Buffer("FileAccessBuffer", AtBuffer(), {"Length", std::to_string(Options().bufferSize)});
    DescribeAccessOffset(writer);
    writer.Number("FileAccessLength", At(features::kAccessLength), "RW", 1, Options().bufferSize);
    writer.Enumeration("FileOperationStatus", {"pValue", "FileOperationStatusReg"},
                       {{"Success", 0}, {"Failure", 1}});
    writer.Register("FileOperationStatusReg", At(features::kStatus), "RO");
    writer.Number("FileOperationResult", At(features::kResult), "RO", 0, 0xffffffffU);
    DescribeFileSize(writer);
}

FileLayout::Elements PlainLayout::At(std::uint32_t offset) const {
    return DescriptionWriter::At(features::kPlainBlock + offset);
}

FileLayout::Elements PlainLayout::AtBuffer() const {
    return DescriptionWriter::At(features::kBuffer);
}

void PlainLayout::DescribeAddresses(DescriptionWriter& /*writer*/) const {}

void PlainLayout::DescribeAccessOffset(DescriptionWriter& writer) const {
    writer.Number("FileAccessOffset", At(features::kAccessOffset), "RW", 0, 0xffffffffU);
}

void PlainLayout::DescribeExecute(DescriptionWriter& writer) const {
    writer.Command("FileOperationExecute", At(features::kExecute));
}

void PlainLayout::DescribeFileSize(DescriptionWriter& writer) const {
    writer.Number("FileSize", At(features::kFileSize), "RO", 0, 0xffffffffU);
}

}  // namespace simulator
