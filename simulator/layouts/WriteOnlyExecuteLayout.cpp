#include "Layouts.h"
#include "PlainLayout.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

/// As plain, but FileOperationExecute refuses to be read: the command that starts an operation is
/// acknowledged when it is done. A device that keeps what is written there has the register
/// readable, and the command over it write-only by ImposedAccessMode.
class WriteOnlyExecuteLayout : public PlainLayout {
  public:
    using PlainLayout::PlainLayout;

  private:
    void DefineExecute(const Device& device, const Block& block) const override {
        const std::uint32_t address = block.address + features::kExecute;
        device.registers.Define(address, 4, AccessOfExecute(), {.afterWrite = [=, this] {
                                    return device.registers.GetNumber(address) == 0
                                               ? MemoryStatus::kOk
                                               : Start(device, block,
                                                       FileOperations::Completion::kAcknowledged);
                                }});
    }

    void DescribeExecute(DescriptionWriter& writer) const override {
        Elements children;
        if (Options().executeKeepsValue) {
            children.push_back({"ImposedAccessMode", "WO"});
        }
        children.push_back({"pValue", "FileOperationExecuteReg"});
        children.push_back({"CommandValue", "1"});
        writer.Node("Command", "FileOperationExecute", children);
        writer.Register("FileOperationExecuteReg", At(features::kExecute),
                        Options().executeKeepsValue ? "RW" : "WO");
    }

    [[nodiscard]] RegisterRegion::Access AccessOfExecute() const {
        return Options().executeKeepsValue ? RegisterRegion::Access::kReadWrite
                                           : RegisterRegion::Access::kWriteOnly;
    }
};

}  // namespace

std::unique_ptr<FileLayout> MakeWriteOnlyExecuteLayout(const DeviceOptions& options, Bus bus) {
    return std::make_unique<WriteOnlyExecuteLayout>(options, bus);
}

}  // namespace simulator
