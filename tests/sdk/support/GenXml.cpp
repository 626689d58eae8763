#include "GenXml.h"

namespace {

std::string Element(const std::string& tag, const std::string& name, const std::string& content) {
    return "<" + tag + " Name=\"" + name + "\">" + content + "</" + tag + ">\n";
}

std::string Hex(unsigned int number) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    do {
        text.insert(text.begin(), kDigits[number % 16]);
        number /= 16;
    } while (number != 0);
    return "0x" + text;
}

}  // namespace

std::string GenXml::Description(const std::string& nodes, int schemaMajor, int schemaMinor) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<RegisterDescription ModelName=\"Test\" VendorName=\"Test\" StandardNameSpace=\"GEV\" "
           "SchemaMajorVersion=\"" +
           std::to_string(schemaMajor) + "\" SchemaMinorVersion=\"" + std::to_string(schemaMinor) +
           "\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" "
           "SubMinorVersion=\"0\" ProductGuid=\"0\" VersionGuid=\"0\" "
           "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n" +
           nodes + "<Port Name=\"Device\"></Port>\n</RegisterDescription>\n";
}

std::string GenXml::Register(const std::string& name, unsigned int address,
                             const std::string& accessMode, const std::string& more) {
    return Element("IntReg", name,
                   "<Address>" + Hex(address) + "</Address>" + more +
                       "<Length>4</Length><AccessMode>" + accessMode +
                       "</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign>"
                       "<Endianess>BigEndian</Endianess>");
}

std::string GenXml::StringRegister(const std::string& name, unsigned int address,
                                   const std::string& length) {
    return Element("StringReg", name,
                   "<Address>" + Hex(address) + "</Address><Length>" + length +
                       "</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>");
}

std::string GenXml::Integer(const std::string& name, const std::string& more) {
    return Element("Integer", name, more);
}

std::string GenXml::Enumeration(const std::string& name, const std::string& entriesAndMore) {
    return Element("Enumeration", name, entriesAndMore);
}

std::string GenXml::Entry(const std::string& name, int value, const std::string& more) {
    return Element("EnumEntry", name, more + "<Value>" + std::to_string(value) + "</Value>");
}
