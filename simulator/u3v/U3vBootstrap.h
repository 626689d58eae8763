#pragma once

#include <functional>
#include <string>

#include "U3vOptions.h"
#include "UsbDescriptors.h"
#include "simulator/registers/DeviceMemory.h"
#include "simulator/registers/RegisterRegion.h"

namespace simulator {

/// The registers with a USB3 Vision device's texts, limits and description: ABRM, SBRM, SIRM
/// and manifest table (GenCP 1.1, section 5; USB3 Vision 1.0, section 4).
class U3vBootstrap {
  public:
    /// Adds its regions to the memory, which must outlive this object.
    /// @param xmlSize bytes of the description at features::kXml
    /// @param zipped whether it is a zip archive
    /// @param userName asked whenever the user-defined name is read, since others change it too
    /// @param renamed called with a new user-defined name; false: refused
    U3vBootstrap(DeviceMemory& memory, const U3vOptions& options, const U3vTexts& texts,
                 std::uint64_t xmlSize, bool zipped, std::function<std::string()> userName,
                 std::function<bool(const std::string& name)> renamed);

  private:
    void DefineText(std::uint64_t address, const std::string& text);
    static void DefineNumber(RegisterRegion& region, std::uint64_t address, std::uint32_t value);
    static void DefineLongNumber(RegisterRegion& region, std::uint64_t address,
                                 std::uint32_t value);

    RegisterRegion& mAbrm;
};

}  // namespace simulator
