#include "GenICamDescription.h"

#include "DescriptionWriter.h"
#include "OddNodes.h"
#include "simulator/layouts/FileLayout.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

using Writer = DescriptionWriter;

constexpr std::size_t kFurtherBytes = 1'200'000;

void DescribeReset(Writer& writer, const DeviceOptions& options) {
    if (options.layout != RegisterLayout::kWriteOnlyExecute) {
        writer.Command("DeviceReset", Writer::At(features::kReset));
        return;
    }
    writer.Node("Command", "DeviceReset",
                {{"ImposedAccessMode", "WO"}, {"pValue", "DeviceResetReg"}, {"CommandValue", "1"}});
    writer.Register("DeviceResetReg", Writer::At(features::kReset), "RW");
}

void DescribeControl(Writer& writer, const DeviceOptions& options) {
    const Profile profile = options.profile;
    const bool hasLoad = profile != Profile::kSingleFile;
    if (hasLoad) {
        writer.Category("DeviceControl",
                        {"DeviceVendorName", "DeviceModelName", "DeviceManufacturerInfo",
                         "DeviceFirmwareVersion", "DeviceSerialNumber", "DeviceUserID",
                         "DeviceReset", "DeviceFirmwareLoad"});
    } else {
        writer.Category("DeviceControl", {"DeviceVendorName", "DeviceModelName",
                                          "DeviceManufacturerInfo", "DeviceFirmwareVersion",
                                          "DeviceSerialNumber", "DeviceUserID", "DeviceReset"});
    }
    writer.Text("DeviceVendorName", features::kVendorName, "RO");
    writer.Text("DeviceModelName", features::kModelName, "RO");
    writer.Text("DeviceManufacturerInfo", features::kManufacturerInfo, "RO");
    writer.Text("DeviceFirmwareVersion", features::kFirmwareVersion, "RO");
    writer.Text("DeviceSerialNumber", features::kSerialNumber, "RO");
    writer.Text("DeviceUserID", features::kUserId, "RW");
    DescribeReset(writer, options);
    if (hasLoad) {
        const char* const backup = "Camera BackupLoad (recovery only)";
        writer.Enumeration("DeviceFirmwareLoad", {"pValue", "DeviceFirmwareLoadReg"},
                           profile == Profile::kBackupLoad
                               ? std::vector<Writer::Entry>{{"Backup", 0, backup}}
                               : std::vector<Writer::Entry>{{"Main", 0, "Camera MainLoad"},
                                                            {"Backup", 1, backup}});
        writer.Register("DeviceFirmwareLoadReg", Writer::At(features::kFirmwareLoad), "RO");
    }
    writer.Category("ImageFormatControl", {"Width"});
    writer.Number("Width", Writer::At(features::kWidth), "RW", 1, features::kWidthMax);
}

// Bootstrap registers are big-endian, whatever the others are.
void DescribeTransport(Writer& writer, std::endian others) {
    writer.SetOrder(std::endian::big);
    writer.Category("TransportLayerControl", {"GevCCP", "GevHeartbeatTimeout"});
    writer.Enumeration("GevCCP", {"pValue", "GevCCPReg"},
                       {{"OpenAccess", 0}, {"ExclusiveAccess", 1}, {"ControlAccess", 2}});
    writer.Register("GevCCPReg", Writer::At(0xa00), "RW");
    writer.Number("GevHeartbeatTimeout", Writer::At(0x938), "RW", 0, 0xffffffffU);
    writer.SetOrder(others);
}

}  // namespace

std::string DescribeDevice(const DeviceOptions& options, Bus bus) {
    const std::endian order = DescribedOrder(options.layout, bus);
    Writer writer(options, order);
    std::vector<std::string> categories{"DeviceControl", "ImageFormatControl",
                                        "TransportLayerControl"};
    if (HasFiles(options.profile)) {
        categories.emplace_back("FileAccessControl");
    }
    if (options.description.contains(DescriptionShape::kHarmlessOddities)) {
        categories.emplace_back("OddControl");
    }
    writer.Category("Root", categories);
    DescribeControl(writer, options);
    if (bus == Bus::kGigEVision) {
        DescribeTransport(writer, order);
    } else {
        writer.Category("TransportLayerControl", {});
    }
    if (HasFiles(options.profile)) {
        FileLayout::Make(options, bus)->Describe(writer);
    }
    if (options.description.contains(DescriptionShape::kHarmlessOddities)) {
        writer.Raw(OddNodes());
    }
    if (options.description.contains(DescriptionShape::kLarge)) {
        writer.Raw(FurtherNodes(kFurtherBytes));
    } else if (options.additionalNodeBytes > 0) {
        writer.Raw(FurtherNodes(options.additionalNodeBytes));
    }
    return writer.Finish(bus == Bus::kGigEVision ? "GEV" : "U3V");
}

}  // namespace simulator
