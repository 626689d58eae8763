#include "DescriptionWriter.h"

#include <cctype>
#include <sstream>
#include <utility>

#include "OddNodes.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

using Element = DescriptionWriter::Element;
using Elements = DescriptionWriter::Elements;

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

std::string Line(const Element& element, const char* indent = "    ") {
    return indent + ("<" + element.name) +
           (element.attributes.empty() ? "" : " " + element.attributes) + ">" +
           Escaped(element.value) + "</" + element.name + ">\n";
}

Elements Joined(std::initializer_list<Elements> parts) {
    Elements all;
    for (const Elements& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Elements Access(unsigned int size, const std::string& access) {
    return {{"Length", std::to_string(size)}, {"AccessMode", access}, {"pPort", "Device"}};
}

}  // namespace

std::string Identifier(const std::string& text) {
    std::string identifier;
    for (const char character : text) {
        identifier += std::isalnum(static_cast<unsigned char>(character)) != 0 ? character : '_';
    }
    return identifier.empty() ? "_" : identifier;
}

std::string HexNumber(std::uint64_t value) {
    std::ostringstream text;
    text << "0x" << std::hex << value;
    return text.str();
}

DescriptionWriter::DescriptionWriter(const DeviceOptions& options, std::endian order)
    : mOptions(options), mOrder(order) {}

void DescriptionWriter::Open(const std::string& indent, const std::string& kind,
                             const std::string& name) {
    mText += indent + "<" + kind + " Name=\"" + name + "\" NameSpace=\"Standard\">\n";
    if (mOptions.description.contains(DescriptionShape::kExtensions)) {
        mText += ExtensionOf(name, indent + "  ");
    }
}

void DescriptionWriter::Node(const std::string& kind, const std::string& name,
                             const Elements& children) {
    Open("  ", kind, name);
    for (const Element& child : children) {
        mText += Line(child);
    }
    mText += "  </" + kind + ">\n";
}

void DescriptionWriter::Category(const std::string& name,
                                 const std::vector<std::string>& features) {
    Elements children;
    for (const std::string& feature : features) {
        children.push_back({"pFeature", feature});
    }
    Node("Category", name, children);
}

void DescriptionWriter::Text(const std::string& name, std::uint64_t address,
                             const std::string& access) {
    Node("StringReg", name, Joined({At(address), Access(features::kTextSize, access)}));
}

void DescriptionWriter::Constant(const std::string& name, std::uint64_t value) {
    Node("Integer", name, {{"Value", std::to_string(value)}});
}

void DescriptionWriter::Integer(const std::string& name, const std::string& value,
                                std::uint64_t minimum, std::uint64_t maximum) {
    Node("Integer", name,
         {{"pValue", value}, {"Min", std::to_string(minimum)}, {"Max", std::to_string(maximum)}});
}

void DescriptionWriter::Number(const std::string& name, const Elements& place,
                               const std::string& access, std::uint64_t minimum,
                               std::uint64_t maximum, unsigned int size) {
    Integer(name, name + "Reg", minimum, maximum);
    Register(name + "Reg", place, access, size);
}

void DescriptionWriter::Enumeration(const std::string& name, const Element& value,
                                    const std::vector<Entry>& entries,
                                    const std::vector<std::string>& selected,
                                    const Elements& more) {
    Open("  ", "Enumeration", name);
    for (const Element& element : more) {
        mText += Line(element);
    }
    for (const Entry& entry : entries) {
        Open("    ", "EnumEntry", entry.name);
        const char* const indent = "      ";
        if (!entry.displayName.empty()) {
            mText += Line({"DisplayName", entry.displayName}, indent);
        }
        if (!entry.isAvailable.empty()) {
            mText += Line({"pIsAvailable", entry.isAvailable}, indent);
        }
        mText += Line({"Value", std::to_string(entry.value)}, indent) + "    </EnumEntry>\n";
    }
    mText += Line(value);
    for (const std::string& feature : selected) {
        mText += Line({"pSelected", feature});
    }
    mText += "  </Enumeration>\n";
}

void DescriptionWriter::Register(const std::string& name, const Elements& place,
                                 const std::string& access, unsigned int size) {
    Node("IntReg", name,
         Joined({place, Access(size, access), {{"Sign", "Unsigned"}, {"Endianess", OrderName()}}}));
}

void DescriptionWriter::MaskedRegister(const std::string& name, const Elements& place,
                                       const std::string& access, Bits bits) {
    Node("MaskedIntReg", name,
         Joined({place,
                 Access(4, access),
                 FieldOf(bits),
                 {{"Sign", "Unsigned"}, {"Endianess", OrderName()}}}));
}

void DescriptionWriter::StructRegister(const std::string& name, const Elements& place,
                                       const std::string& access, Bits bits) {
    mText += "  <StructReg Comment=\"" + name + "\">\n";
    for (const Element& element :
         Joined({place, Access(4, access), {{"Endianess", OrderName()}}})) {
        mText += Line(element);
    }
    Open("    ", "StructEntry", name);
    for (const Element& element : Joined({FieldOf(bits), {{"Sign", "Unsigned"}}})) {
        mText += Line(element, "      ");
    }
    mText += "    </StructEntry>\n  </StructReg>\n";
}

void DescriptionWriter::Formula(const std::string& name,
                                const std::vector<std::pair<std::string, std::string>>& variables,
                                const std::string& formula) {
    Elements children;
    for (const auto& [variable, node] : variables) {
        children.push_back({"pVariable", node, "Name=\"" + variable + "\""});
    }
    children.push_back({"Formula", formula});
    Node("IntSwissKnife", name, children);
}

void DescriptionWriter::Command(const std::string& name, const Elements& place) {
    Node("Command", name, {{"pValue", name + "Reg"}, {"CommandValue", "1"}});
    Register(name + "Reg", place, "RW");
}

void DescriptionWriter::Buffer(const std::string& name, const Elements& place,
                               const Element& length) {
    Node("Register", name, Joined({place, {length, {"AccessMode", "RW"}, {"pPort", "Device"}}}));
}

Elements DescriptionWriter::At(std::uint64_t address) {
    return {{"Address", HexNumber(address)}};
}

Elements DescriptionWriter::At(std::uint64_t offset, const std::string& node) {
    return {{"Address", HexNumber(offset)}, {"pAddress", node}};
}

std::string DescriptionWriter::OrderName() const {
    return mOrder == std::endian::big ? "BigEndian" : "LittleEndian";
}

Elements DescriptionWriter::FieldOf(Bits bits) const {
    // GenApi counts the bits of a big-endian register from its most significant one.
    const bool big = mOrder == std::endian::big;
    return {{"LSB", std::to_string(big ? 31 - bits.low : bits.low)},
            {"MSB", std::to_string(big ? 31 - bits.high : bits.high)}};
}

std::string DescriptionWriter::Finish(const std::string& nameSpace) const {
    const std::string minor =
        mOptions.description.contains(DescriptionShape::kSchema10) ? "0" : "1";
    const std::string schema = "http://www.genicam.org/GenApi/Version_1_" + minor;
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<RegisterDescription ModelName=\"" +
           Identifier(mOptions.model) + "\" VendorName=\"" + Identifier(mOptions.vendor) +
           "\" ToolTip=\"" + Escaped(mOptions.model) + "\" StandardNameSpace=\"" + nameSpace +
           "\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"" + minor +
           "\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\""
           " SubMinorVersion=\"0\" ProductGuid=\"3c2b0c52-7d0a-4bb5-9d0e-0f2d8f2a6e01\""
           " VersionGuid=\"9f0c4a1e-52b7-4c0f-8a7d-5a1c6e3b7f02\" xmlns=\"" +
           schema +
           "\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:schemaLocation=\"" +
           schema + " http://www.genicam.org/GenApi/GenApiSchema_Version_1_" + minor + ".xsd\">\n" +
           mText + "  <Port Name=\"Device\"/>\n</RegisterDescription>\n";
}

}  // namespace simulator
