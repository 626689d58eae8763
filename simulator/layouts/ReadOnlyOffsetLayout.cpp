#include "Layouts.h"
#include "PlainLayout.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

constexpr std::uint32_t kPositions = 0x10400;
constexpr std::uint32_t kSizes = 0x10404;
constexpr std::uint32_t kStride = 0x10;

/// As plain, but the device keeps the position in the file: 0 when it was opened, and further by
/// what each operation moved. Position and size are indexed by the selected file:
///
/// | address | register | rights |
/// |---|---|---|
/// | 0x10400 + 0x10 * file | FileAccessOffset | RO |
/// | 0x10404 + 0x10 * file | FileSize | RO |
class ReadOnlyOffsetLayout : public PlainLayout {
  public:
    using PlainLayout::PlainLayout;

  private:
    void DefineOffset(const Device& device, const Block& /*block*/) const override {
        ForEachFile([&](FileAccess::File file, std::uint32_t index) {
            device.registers.DefineShown(kPositions + index, [device, file] {
                return static_cast<std::uint32_t>(device.files.Position(file));
            });
        });
    }

    void DefineFileSize(const Device& device, const Block& /*block*/) const override {
        ForEachFile([&](FileAccess::File file, std::uint32_t index) {
            device.registers.DefineShown(kSizes + index, [device, file] {
                return static_cast<std::uint32_t>(device.files.Size(file));
            });
        });
    }

    [[nodiscard]] std::uint64_t OffsetOf(const Device& device, const Block& block) const override {
        return device.files.Position(FileOf(device, block));
    }

    void DescribeAddresses(DescriptionWriter& writer) const override {
        writer.Constant("FileStride", kStride);
    }

    void DescribeAccessOffset(DescriptionWriter& writer) const override {
        writer.Number("FileAccessOffset",
                      Indexed(kPositions, "Offset=\"" + HexNumber(kStride) + "\""), "RO", 0,
                      0xffffffffU);
    }

    void DescribeFileSize(DescriptionWriter& writer) const override {
        writer.Number("FileSize", Indexed(kSizes, "pOffset=\"FileStride\""), "RO", 0, 0xffffffffU);
    }

    [[nodiscard]] Elements Indexed(std::uint32_t address, const std::string& offset) const {
        Elements place = DescriptionWriter::At(address);
        if (HasSelector()) {
            place.push_back({"pIndex", "FileSelectorReg", offset});
        }
        return place;
    }

    template <typename Visit>
    void ForEachFile(Visit visit) const {
        for (std::uint32_t file = 0; file < (HasSelector() ? features::kFileCount : 1); ++file) {
            visit(static_cast<FileAccess::File>(file), file * kStride);
        }
    }
};

}  // namespace

std::unique_ptr<FileLayout> MakeReadOnlyOffsetLayout(const DeviceOptions& options, Bus bus) {
    return std::make_unique<ReadOnlyOffsetLayout>(options, bus);
}

}  // namespace simulator
