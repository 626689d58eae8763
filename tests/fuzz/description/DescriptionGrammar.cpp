#include "DescriptionGrammar.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace {

constexpr std::array<std::string_view, 29> kNames{
    "A",
    "B",
    "C",
    "D",
    "E",
    "F",
    "",
    " ",
    "Absent",
    "Device",
    "FileSelector",
    "FileOperationSelector",
    "FileOpenMode",
    "FileOperationExecute",
    "FileAccessBuffer",
    "FileAccessOffset",
    "FileAccessLength",
    "FileOperationStatus",
    "FileOperationResult",
    "FileSize",
    "FileSelectorReg",
    "FileOperationSelectorReg",
    "FileOpenModeReg",
    "FileOperationExecuteReg",
    "FileAccessOffsetReg",
    "FileOperationStatusReg",
    "EnumEntry_A_B",
    "Open",
    "Success",
};
constexpr std::array<std::string_view, 29> kNumbers{
    "0",
    "1",
    "-1",
    "2",
    "3",
    "4",
    "8",
    "31",
    "63",
    "64",
    "0x100",
    "0xA000",
    "0x10000",
    "0xFFFFFFFF",
    "0x100000000",
    "0xffffd0000000",
    "0x7FFFFFFFFFFFFFFF",
    "0x8000000000000000",
    "-9223372036854775808",
    "0xFFFFFFFFFFFFFFFF",
    "0x10000000000000000",
    "17000000",
    "1.5",
    "-1e300",
    "1e999",
    "nan",
    "",
    " ",
    "true",
};
constexpr std::array<std::string_view, 32> kOperators{
    "+", "-",  "*",  "/", "%", "**", "&", "|", "^", "&&", "||", "<<",   ">>", "=",   "<>",     "<",
    ">", "<=", ">=", "?", ":", "!",  "~", "(", ")", ",",  ".",  "SGN(", "0x", "1e-", "ROUND(", " "};
constexpr std::array<std::string_view, 12> kVariables{
    "X", "Y", "TO", "FROM", "X.Max", "X.Min", "X.Inc", "X.Entry.B", "PI", "E()", "SQRT(2)", "Z"};
constexpr std::array<std::string_view, 22> kKinds{
    "Integer",     "IntReg",      "MaskedIntReg", "StructReg", "IntSwissKnife", "IntConverter",
    "SwissKnife",  "Converter",   "Float",        "FloatReg",  "Boolean",       "Command",
    "Enumeration", "String",      "StringReg",    "Register",  "Port",          "Group",
    "EnumEntry",   "StructEntry", "Category",     "Extension"};
constexpr std::array<std::string_view, 47> kElements{
    "Value",
    "pValue",
    "pValueCopy",
    "ValueIndexed",
    "pValueIndexed",
    "ValueDefault",
    "pValueDefault",
    "pIndex",
    "Address",
    "pAddress",
    "Length",
    "pLength",
    "LSB",
    "MSB",
    "Bit",
    "Sign",
    "Endianess",
    "AccessMode",
    "ImposedAccessMode",
    "pIsImplemented",
    "pIsAvailable",
    "pIsLocked",
    "Min",
    "pMin",
    "Max",
    "pMax",
    "Inc",
    "pInc",
    "pPort",
    "pInvalidator",
    "Cachable",
    "PollingTime",
    "Formula",
    "FormulaTo",
    "FormulaFrom",
    "pVariable",
    "Constant",
    "Expression",
    "OnValue",
    "OffValue",
    "CommandValue",
    "pCommandValue",
    "Symbolic",
    "DisplayName",
    "ChunkID",
    "pChunkID",
    "EventID",
};
constexpr std::array<std::string_view, 8> kWords{"RO",     "WO",           "RW",      "BigEndian",
                                                 "Signed", "LittleEndian", "NoCache", "Unsigned"};

std::string Register(const std::string& name, int address) {
    return "<IntReg Name=\"" + name + "\"><Address>" + std::to_string(address) +
           "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
           "<Endianess>BigEndian</Endianess></IntReg>";
}

std::string Selector(const std::string& name, const std::string& entries) {
    return "<Enumeration Name=\"" + name + "\">" + entries + "<pValue>" + name +
           "Reg</pValue></Enumeration>";
}

std::string Entry(const std::string& name, int value) {
    return "<EnumEntry Name=\"" + name + "\"><Value>" + std::to_string(value) +
           "</Value></EnumEntry>";
}

}  // namespace

std::string DescriptionGrammar::Nodes() {
    for (int count = 0; count < 80 && mBytes.AreLeft(); ++count) {
        Node(0);
    }
    return std::move(mXml);
}

void DescriptionGrammar::Node(int depth) {
    const std::string kind(mBytes.From(kKinds));
    const std::string name(mBytes.From(kNames));
    mXml += "<" + kind + " Name=\"" + name + "\">";
    const std::uint8_t more = mBytes.Next();
    // What most nodes have, so that few bytes make a useful one.
    if ((more & 0x80U) == 0) {
        mXml += "<pPort>Device</pPort><AccessMode>RW</AccessMode><Length>" +
                std::string((more & 0x40U) != 0 ? "8" : "4") + "</Length><Address>0x1" +
                std::to_string(more & 0x3FU) + "0</Address>";
    }
    for (int i = 0; i < more % 8 && mBytes.AreLeft(); ++i) {
        if (depth < 3 && mBytes.Next() % 8 == 0) {
            Node(depth + 1);
        } else {
            Element();
        }
    }
    mXml += "</" + kind + ">\n";
}

void DescriptionGrammar::Element() {
    const std::string tag(mBytes.From(kElements));
    mXml += "<" + tag;
    if (tag == "pVariable" || tag == "Constant" || tag == "Expression") {
        mXml += " Name=\"" + std::string(mBytes.From(kVariables)) + "\"";
    } else if (tag == "ValueIndexed" || tag == "pValueIndexed") {
        mXml += " Index=\"" + std::string(mBytes.From(kNumbers)) + "\"";
    } else if (tag == "pIndex") {
        const std::uint8_t step = mBytes.Next();
        mXml += step % 3 == 0   ? ""
                : step % 3 == 1 ? " Offset=\"" + std::string(mBytes.From(kNumbers)) + "\""
                                : " pOffset=\"" + std::string(mBytes.From(kNames)) + "\"";
    }
    mXml += ">";
    if (tag.starts_with("Formula") || tag == "Expression") {
        Formula();
    } else if (tag[0] == 'p') {
        mXml += mBytes.From(kNames);
    } else if (tag == "AccessMode" || tag == "ImposedAccessMode" || tag == "Sign" ||
               tag == "Endianess" || tag == "Cachable") {
        mXml += mBytes.From(kWords);
    } else {
        mXml += mBytes.From(kNumbers);
    }
    mXml += "</" + tag + ">";
}

void DescriptionGrammar::Formula() {
    for (int parts = mBytes.Next() % 24; parts >= 0; --parts) {
        const std::uint8_t kind = mBytes.Next();
        const std::string_view part = kind % 3 == 0   ? mBytes.From(kOperators)
                                      : kind % 3 == 1 ? mBytes.From(kNumbers)
                                                      : mBytes.From(kVariables);
        // Long and deep ones take few bytes.
        for (int times = kind > 240 ? 1 << (kind - 240) : 1; times > 0; --times) {
            for (const char c : part) {
                mXml += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
            }
        }
    }
}

std::string DescriptionGrammar::FileNodes() {
    std::string xml =
        Selector("FileSelector", Entry("File", 0)) +
        Selector("FileOperationSelector",
                 Entry("Open", 0) + Entry("Close", 1) + Entry("Read", 2) + Entry("Write", 3)) +
        Selector("FileOpenMode", Entry("Read", 0) + Entry("Write", 1)) +
        Selector("FileOperationStatus", Entry("Success", 0) + Entry("Failure", 1)) +
        "<Command Name=\"FileOperationExecute\"><pValue>FileOperationExecuteReg</pValue>"
        "<CommandValue>1</CommandValue></Command>"
        "<Register Name=\"FileAccessBuffer\"><Address>0x2000</Address><Length>64</Length>"
        "<AccessMode>RW</AccessMode><pPort>Device</pPort></Register>";
    int address = 0x1000;
    for (const char* name : {"FileSelector", "FileOperationSelector", "FileOpenMode",
                             "FileOperationStatus", "FileOperationExecute"}) {
        xml += Register(std::string(name) + "Reg", address);
        address += 4;
    }
    for (const char* name : {"FileAccessOffset", "FileAccessLength", "FileOperationResult"}) {
        xml += Register(name, address);
        address += 4;
    }
    return xml;
}
