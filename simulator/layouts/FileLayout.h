#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "simulator/description/DescriptionWriter.h"
#include "simulator/device/DeviceProfile.h"
#include "simulator/registers/Bus.h"
#include "simulator/registers/DeviceMemory.h"
#include "simulator/registers/FileOperations.h"
#include "simulator/registers/RegisterRegion.h"

namespace simulator {

/// How the features of file access are laid over registers, from both sides: the registers that the
/// device has, and the nodes that describe them. What layouts have in common is here.
class FileLayout {
  public:
    /// What the registers act on; outlives the layout.
    struct Device {
        DeviceMemory& memory;
        RegisterRegion& registers;  ///< where the device's features are
        FileOperations& files;
    };

    /// @param options outlive the layout
    FileLayout(const DeviceOptions& options, Bus bus) : mOptions(options), mBus(bus) {}
    virtual ~FileLayout() = default;
    FileLayout(const FileLayout&) = delete;
    FileLayout& operator=(const FileLayout&) = delete;

    [[nodiscard]] static std::unique_ptr<FileLayout> Make(const DeviceOptions& options, Bus bus);

    /// Adds the registers to the device, once.
    virtual void Define(const Device& device) = 0;
    /// Adds the nodes over them.
    virtual void Describe(DescriptionWriter& writer) const = 0;
    /// What FileAccessLength is a multiple of.
    [[nodiscard]] virtual std::uint32_t Increment() const { return 1; }

  protected:
    using Element = DescriptionWriter::Element;
    using Elements = DescriptionWriter::Elements;
    using Bits = DescriptionWriter::Bits;
    using Entry = DescriptionWriter::Entry;

    // Where most layouts have these.
    static constexpr std::uint32_t kOffset = 0x10310;
    static constexpr std::uint32_t kLength = 0x10314;
    static constexpr std::uint32_t kExecute = 0x10318;

    [[nodiscard]] const DeviceOptions& Options() const { return mOptions; }
    [[nodiscard]] Bus TheBus() const { return mBus; }
    [[nodiscard]] bool HasSelector() const { return HasFileSelector(mOptions.profile); }

    // Registers.

    /// FileSelector, unless the profile has none.
    void DefineFileSelector(RegisterRegion& registers, std::uint64_t address) const;
    static void DefineOperationSelector(RegisterRegion& registers, std::uint64_t address);
    /// FileAccessBuffer, a region of its own.
    [[nodiscard]] Bytes DefineBuffer(DeviceMemory& memory, std::uint64_t address) const;
    /// FileOperationExecute: what is written starts an operation, and is shown until it is done.
    /// @param start called with the number that was written
    void DefineCommand(const Device& device, std::uint64_t address,
                       std::function<MemoryStatus(std::uint32_t value)> start) const;
    /// An operation on the selected file, with the offset and the length that are in the registers.
    [[nodiscard]] static FileOperations::Request RequestFor(const RegisterRegion& registers,
                                                            FileAccess::Operation operation,
                                                            FileAccess::OpenMode mode,
                                                            Bytes buffer);
    [[nodiscard]] static FileAccess::File FileIn(const RegisterRegion& registers,
                                                 std::uint64_t address);

    // Nodes.

    /// The category with those of the features that there are.
    void DescribeCategory(DescriptionWriter& writer, bool hasFileSize = true) const;
    /// FileSelector, unless the profile has none.
    /// @param more entries that are not in the profile
    void DescribeFileSelector(DescriptionWriter& writer, const Elements& place,
                              const std::vector<Entry>& more = {}) const;
    static void DescribeOperationSelector(DescriptionWriter& writer, const Element& value);
    static void DescribeOpenMode(DescriptionWriter& writer, const Element& value,
                                 const std::vector<Entry>& more = {}, const Elements& extra = {});
    /// FileAccessOffset at kOffset.
    static void DescribeOffset(DescriptionWriter& writer);
    /// FileOperationExecute, its value a formula called FileOperationCommand of OPERATION and MODE.
    static void DescribeCommandByFormula(DescriptionWriter& writer, const std::string& formula);
    /// FileOperationStatus with all that FileAccess::Status knows. @param value the node
    /// @param success the value of Success; those of the others follow
    static void DescribeStatus(DescriptionWriter& writer, const std::string& value,
                               std::uint32_t success = 0);

  private:
    const DeviceOptions& mOptions;
    const Bus mBus;
};

}  // namespace simulator
