#include "StatusWord.h"

#include <utility>

#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

using Bits = DescriptionWriter::Bits;

constexpr std::uint32_t kFirst = StatusWord::kMinLength;
constexpr std::uint32_t kSize = 0x20;
constexpr unsigned int kCountShift = 25;
constexpr std::uint32_t kCountMask = 7;

Bits OpenBit(Bus bus) {
    return bus == Bus::kGigEVision ? Bits{31, 31} : Bits{0, 0};
}

}  // namespace

Bits StatusWord::FileSizeBits(Bus bus) {
    return bus == Bus::kGigEVision ? Bits{0, 26} : Bits{5, 31};
}

void StatusWord::Define(const FileLayout::Device& device, const DeviceOptions& options, Bus bus,
                        std::function<FileAccess::File()> file) {
    FileOperations& files = device.files;
    auto& words = device.memory.Add<RegisterRegion>(
        kFirst, kSize, RegisterOrder(options.layout, bus), RegisterRegion::Gaps::kUnmapped);
    words.DefineShown(kMinLength, [] { return kIncrement; });
    words.DefineShown(kMaxLength, [&options] { return options.bufferSize; });
    words.DefineShown(kBufferLength, [&options] { return options.bufferSize; });
    words.DefineShown(kFileWord, [&files, bus, file = std::move(file)] {
        const Bits bits = FileSizeBits(bus);
        const std::uint64_t mask = (1ULL << (bits.high - bits.low + 1)) - 1;
        return static_cast<std::uint32_t>((files.Size(file()) & mask) << bits.low) |
               (files.IsOpen() ? 1U << OpenBit(bus).low : 0U);
    });
    words.DefineShown(kStatusWord, [&files] {
        const FileAccess::Outcome outcome = files.Outcome();
        return static_cast<std::uint32_t>(outcome.status) << kStatusBits.low |
               (files.Count() & kCountMask) << kCountShift | outcome.result;
    });
}

void StatusWord::Describe(DescriptionWriter& writer, Bus bus) {
    writer.Buffer("FileAccessBuffer", DescriptionWriter::At(features::kBuffer),
                  {"pLength", "FileBufferLengthReg"});
    writer.Register("FileBufferLengthReg", DescriptionWriter::At(kBufferLength), "RO");
    writer.MaskedRegister("FileIsOpen", DescriptionWriter::At(kFileWord), "RO", OpenBit(bus));
    writer.Integer("FileSize", "FileSizeField", 0, (1U << 27U) - 1);
    writer.MaskedRegister("FileSizeField", DescriptionWriter::At(kFileWord), "RO",
                          FileSizeBits(bus));
    writer.StructRegister("FileOperationStatusField", DescriptionWriter::At(kStatusWord), "RO",
                          kStatusBits);
    writer.Integer("FileOperationResult", "FileOperationResultField", 0, (1U << 25U) - 1);
    writer.MaskedRegister("FileOperationResultField", DescriptionWriter::At(kStatusWord), "RO",
                          kResultBits);
}

}  // namespace simulator
