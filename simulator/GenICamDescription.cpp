#include "GenICamDescription.h"

#include <algorithm>
#include <cctype>
#include <initializer_list>

#include "FeatureAddresses.h"
#include "ZipArchive.h"

namespace simulator {

namespace {

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

std::string Identifier(const std::string& text) {
    std::string identifier;
    for (const char character : text) {
        identifier += std::isalnum(static_cast<unsigned char>(character)) != 0 ? character : '_';
    }
    return identifier.empty() ? "_" : identifier;
}

struct Entry {
    const char* name;
    const char* displayName;
    std::uint32_t value;
};

/// Writes the nodes one after the other.
class Writer {
  public:
    Writer(const DeviceOptions& options, Bus bus)
        : mOptions(options), mOrder(bus == Bus::kGigEVision ? "BigEndian" : "LittleEndian") {}

    void Category(const std::string& name, std::initializer_list<const char*> features) {
        mText += "  <Category Name=\"" + name + "\" NameSpace=\"Standard\">\n";
        for (const char* feature : features) {
            mText += Element("pFeature", feature);
        }
        mText += "  </Category>\n";
    }

    void Text(const std::string& name, std::uint32_t address, const char* access) {
        mText += "  <StringReg Name=\"" + name + "\" NameSpace=\"Standard\">\n" +
                 Element("Address", Hex(address)) +
                 Element("Length", std::to_string(features::kTextSize)) +
                 Element("AccessMode", access) + Element("pPort", "Device") + "  </StringReg>\n";
    }

    /// An Integer over a four-byte register.
    void Number(const std::string& name, const std::string& place, const char* access,
                std::uint32_t minimum, std::uint32_t maximum) {
        mText += "  <Integer Name=\"" + name + "\" NameSpace=\"Standard\">\n" +
                 Element("pValue", name + "Reg") + Element("Min", std::to_string(minimum)) +
                 Element("Max", std::to_string(maximum)) + "  </Integer>\n";
        Register(name, place, access);
    }

    void Enumeration(const std::string& name, const std::string& place, const char* access,
                     const std::vector<Entry>& entries,
                     std::initializer_list<const char*> selected = {}) {
        mText += "  <Enumeration Name=\"" + name + "\" NameSpace=\"Standard\">\n";
        for (const Entry& entry : entries) {
            mText +=
                std::string("    <EnumEntry Name=\"") + entry.name + "\" NameSpace=\"Standard\">\n";
            if (entry.displayName != nullptr) {
                mText += "  " + Element("DisplayName", entry.displayName);
            }
            mText += "  " + Element("Value", std::to_string(entry.value)) + "    </EnumEntry>\n";
        }
        mText += Element("pValue", name + "Reg");
        for (const char* feature : selected) {
            mText += Element("pSelected", feature);
        }
        mText += "  </Enumeration>\n";
        Register(name, place, access);
    }

    void Command(const std::string& name, const std::string& place) {
        mText += "  <Command Name=\"" + name + "\" NameSpace=\"Standard\">\n" +
                 Element("pValue", name + "Reg") + Element("CommandValue", "1") + "  </Command>\n";
        Register(name, place, "RW");
    }

    void Buffer(const std::string& name, const std::string& place) {
        mText += "  <Register Name=\"" + name + "\" NameSpace=\"Standard\">\n" + place +
                 Element("Length", std::to_string(mOptions.bufferSize)) +
                 Element("AccessMode", "RW") + Element("pPort", "Device") + "  </Register>\n";
    }

    /// An address made of the values of two selectors.
    void BlockAddress(const std::string& name, bool hasSelector, std::uint32_t base,
                      std::uint32_t fileStride, std::uint32_t operationStride) {
        mText += "  <IntSwissKnife Name=\"" + name + "\">\n";
        std::string formula = std::to_string(base);
        if (hasSelector) {
            mText += "    <pVariable Name=\"FILE\">FileSelectorReg</pVariable>\n";
            formula += " + FILE * " + std::to_string(fileStride);
        }
        if (operationStride != 0) {
            mText += "    <pVariable Name=\"OPERATION\">FileOperationSelectorReg</pVariable>\n";
            formula += " + OPERATION * " + std::to_string(operationStride);
        }
        mText += Element("Formula", formula) + "  </IntSwissKnife>\n";
    }

    [[nodiscard]] static std::string At(std::uint32_t address) {
        return Element("Address", Hex(address));
    }

    /// `offset` beyond the address that the named node gives.
    [[nodiscard]] static std::string At(std::uint32_t offset, const char* node) {
        return Element("Address", Hex(offset)) + Element("pAddress", node);
    }

    [[nodiscard]] std::string Finish(const std::string& nameSpace) const {
        return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
               "<RegisterDescription ModelName=\"" +
               Escaped(Identifier(mOptions.model)) + "\" VendorName=\"" +
               Escaped(Identifier(mOptions.vendor)) + "\" ToolTip=\"" + Escaped(mOptions.model) +
               "\" StandardNameSpace=\"" + nameSpace +
               "\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\""
               " MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\""
               " ProductGuid=\"3c2b0c52-7d0a-4bb5-9d0e-0f2d8f2a6e01\""
               " VersionGuid=\"9f0c4a1e-52b7-4c0f-8a7d-5a1c6e3b7f02\""
               " xmlns=\"http://www.genicam.org/GenApi/Version_1_1\""
               " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
               " xsi:schemaLocation=\"http://www.genicam.org/GenApi/Version_1_1"
               " http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd\">\n" +
               mText + "  <Port Name=\"Device\"/>\n</RegisterDescription>\n";
    }

  private:
    static std::string Element(const std::string& name, const std::string& value) {
        return "    <" + name + ">" + Escaped(value) + "</" + name + ">\n";
    }

    static std::string Hex(std::uint32_t value) {
        std::string digits;
        do {
            digits.insert(digits.begin(), "0123456789abcdef"[value & 0xfU]);
            value >>= 4U;
        } while (value != 0);
        return "0x" + digits;
    }

    void Register(const std::string& name, const std::string& place, const char* access) {
        mText += "  <IntReg Name=\"" + name + "Reg\">\n" + place + Element("Length", "4") +
                 Element("AccessMode", access) + Element("pPort", "Device") +
                 Element("Sign", "Unsigned") + Element("Endianess", mOrder) + "  </IntReg>\n";
    }

    const DeviceOptions& mOptions;
    const char* const mOrder;
    std::string mText;
};

bool HasFiles(Profile profile) {
    return profile != Profile::kNoFileAccess && profile != Profile::kLoader;
}

bool HasFileSelector(Profile profile) {
    return profile == Profile::kFileAccess || profile == Profile::kSelectorWithoutDfw;
}

void DescribeControl(Writer& writer, Profile profile) {
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
    writer.Command("DeviceReset", Writer::At(features::kReset));
    if (hasLoad) {
        const std::vector<Entry> entries =
            profile == Profile::kBackupLoad
                ? std::vector<Entry>{{"Backup", "Camera BackupLoad (recovery only)", 0}}
                : std::vector<Entry>{{"Main", "Camera MainLoad", 0},
                                     {"Backup", "Camera BackupLoad (recovery only)", 1}};
        writer.Enumeration("DeviceFirmwareLoad", Writer::At(features::kFirmwareLoad), "RO",
                           entries);
    }
    writer.Category("ImageFormatControl", {"Width"});
    writer.Number("Width", Writer::At(features::kWidth), "RW", 1, features::kWidthMax);
}

void DescribeTransport(Writer& writer) {
    writer.Category("TransportLayerControl", {"GevCCP", "GevHeartbeatTimeout"});
    writer.Enumeration("GevCCP", Writer::At(0xa00), "RW",
                       {{"OpenAccess", nullptr, 0},
                        {"ExclusiveAccess", nullptr, 1},
                        {"ControlAccess", nullptr, 2}});
    writer.Number("GevHeartbeatTimeout", Writer::At(0x938), "RW", 0, 0xffffffffU);
}

void DescribeFiles(Writer& writer, const DeviceOptions& options) {
    const bool hasSelector = HasFileSelector(options.profile);
    const bool dependent = options.layout == RegisterLayout::kSelectorDependent;
    const auto at = [dependent](std::uint32_t offset) {
        return dependent ? Writer::At(offset, "FileBlockAddress")
                         : Writer::At(features::kPlainBlock + offset);
    };
    if (hasSelector) {
        writer.Category("FileAccessControl",
                        {"FileSelector", "FileOperationSelector", "FileOperationExecute",
                         "FileOpenMode", "FileAccessBuffer", "FileAccessOffset", "FileAccessLength",
                         "FileOperationStatus", "FileOperationResult", "FileSize"});
        const std::vector<Entry> entries =
            options.profile == Profile::kSelectorWithoutDfw
                ? std::vector<Entry>{{"StatusTxt", nullptr, 1}, {"UserData", nullptr, 2}}
                : std::vector<Entry>{{"RemoteUpdateDfw", nullptr, 0}, {"StatusTxt", nullptr, 1}};
        writer.Enumeration("FileSelector", Writer::At(features::kFileSelector), "RW", entries,
                           {"FileOperationSelector", "FileOperationExecute", "FileOpenMode",
                            "FileAccessBuffer", "FileAccessOffset", "FileAccessLength",
                            "FileOperationStatus", "FileOperationResult", "FileSize"});
    } else {
        writer.Category("FileAccessControl",
                        {"FileOperationSelector", "FileOperationExecute", "FileOpenMode",
                         "FileAccessBuffer", "FileAccessOffset", "FileAccessLength",
                         "FileOperationStatus", "FileOperationResult", "FileSize"});
    }
    writer.Enumeration(
        "FileOperationSelector", Writer::At(features::kOperationSelector), "RW",
        {{"Open", nullptr, 0}, {"Close", nullptr, 1}, {"Read", nullptr, 2}, {"Write", nullptr, 3}},
        {"FileOperationExecute", "FileAccessOffset", "FileAccessLength", "FileOperationStatus",
         "FileOperationResult"});
    if (dependent) {
        writer.BlockAddress("FileBlockAddress", hasSelector, features::kFirstBlock,
                            features::kFileStride, features::kOperationStride);
        writer.BlockAddress("FileBufferAddress", hasSelector, features::kBuffer,
                            features::kBufferStride, 0);
    }
    writer.Command("FileOperationExecute", at(features::kExecute));
    writer.Enumeration("FileOpenMode", at(features::kOpenMode), "RW",
                       {{"Read", nullptr, 0}, {"Write", nullptr, 1}, {"ReadWrite", nullptr, 2}});
    writer.Buffer("FileAccessBuffer",
                  dependent ? Writer::At(0, "FileBufferAddress") : Writer::At(features::kBuffer));
    writer.Number("FileAccessOffset", at(features::kAccessOffset), "RW", 0, 0xffffffffU);
    writer.Number("FileAccessLength", at(features::kAccessLength), "RW", 1, options.bufferSize);
    writer.Enumeration("FileOperationStatus", at(features::kStatus), "RO",
                       {{"Success", nullptr, 0}, {"Failure", nullptr, 1}});
    writer.Number("FileOperationResult", at(features::kResult), "RO", 0, 0xffffffffU);
    writer.Number("FileSize", at(features::kFileSize), "RO", 0, 0xffffffffU);
}

}  // namespace

std::string DescribeDevice(const DeviceOptions& options, Bus bus) {
    Writer writer(options, bus);
    if (HasFiles(options.profile)) {
        writer.Category("Root", {"DeviceControl", "ImageFormatControl", "TransportLayerControl",
                                 "FileAccessControl"});
    } else {
        writer.Category("Root", {"DeviceControl", "ImageFormatControl", "TransportLayerControl"});
    }
    DescribeControl(writer, options.profile);
    if (bus == Bus::kGigEVision) {
        DescribeTransport(writer);
    } else {
        writer.Category("TransportLayerControl", {});
    }
    if (HasFiles(options.profile)) {
        DescribeFiles(writer, options);
    }
    return writer.Finish(bus == Bus::kGigEVision ? "GEV" : "U3V");
}

std::vector<std::uint8_t> EncodeDescription(const DeviceOptions& options, Bus bus,
                                            std::string& fileName) {
    const std::string text = DescribeDevice(options, bus);
    const std::string name = Identifier(options.vendor + "_" + options.model);
    fileName = name + (options.zippedXml ? ".zip" : ".xml");
    return options.zippedXml ? ZipOneFile(name + ".xml", text)
                             : std::vector<std::uint8_t>(text.begin(), text.end());
}

}  // namespace simulator
