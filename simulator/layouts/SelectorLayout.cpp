#include "Layouts.h"
#include "PlainLayout.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

/// As plain, but with a block of registers for each file and operation at 0x11000 + 0x400 * file +
/// 0x100 * operation, and a buffer for each file at 0x1000000 + 0x1000000 * file.
class SelectorLayout : public PlainLayout {
  public:
    using PlainLayout::PlainLayout;

    void Define(const Device& device) override {
        DefineSelectors(device);
        for (std::uint32_t file = 0; file < (HasSelector() ? features::kFileCount : 1); ++file) {
            const Bytes buffer =
                DefineBuffer(device.memory, features::kBuffer + file * features::kBufferStride);
            for (std::uint32_t operation = 0; operation < features::kOperationCount; ++operation) {
                DefineBlock(device, {features::kFirstBlock + file * features::kFileStride +
                                         operation * features::kOperationStride,
                                     buffer, static_cast<FileAccess::File>(file),
                                     static_cast<FileAccess::Operation>(operation)});
            }
        }
    }

  private:
    [[nodiscard]] Elements At(std::uint32_t offset) const override {
        return DescriptionWriter::At(offset, "FileBlockAddress");
    }

    [[nodiscard]] Elements AtBuffer() const override {
        return DescriptionWriter::At(0, "FileBufferAddress");
    }

    void DescribeAddresses(DescriptionWriter& writer) const override {
        DescribeAddress(writer, "FileBlockAddress", features::kFirstBlock, features::kFileStride,
                        features::kOperationStride);
        DescribeAddress(writer, "FileBufferAddress", features::kBuffer, features::kBufferStride, 0);
    }

    void DescribeAddress(DescriptionWriter& writer, const std::string& name, std::uint32_t base,
                         std::uint32_t fileStride, std::uint32_t operationStride) const {
        std::vector<std::pair<std::string, std::string>> variables;
        std::string formula = std::to_string(base);
        if (HasSelector()) {
            variables.emplace_back("FILE", "FileSelectorReg");
            formula += " + FILE * " + std::to_string(fileStride);
        }
        if (operationStride != 0) {
            variables.emplace_back("OPERATION", "FileOperationSelectorReg");
            formula += " + OPERATION * " + std::to_string(operationStride);
        }
        writer.Formula(name, variables, formula);
    }
};

}  // namespace

std::unique_ptr<FileLayout> MakeSelectorLayout(const DeviceOptions& options, Bus bus) {
    return std::make_unique<SelectorLayout>(options, bus);
}

}  // namespace simulator
