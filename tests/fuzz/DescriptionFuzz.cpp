// A camera whose GenICam description and whose registers are both the input's: its features are
// read, and its files are written and read as far as it lets them.
//
// The first byte chooses how the rest is used (Mode), the second and third how the device behaves.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenEnumEntry.h>
#include <NxGenICam/NxGenFile.h>
#include <internal/NxGenICam/ParameterArrayFactory.h>

#include "FakeClock.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Input = std::span<const std::uint8_t>;

enum Mode : std::uint8_t {
    kRaw = 1,        ///< the bytes are the XML; else they choose what a description is made of
    kFileNodes = 2,  ///< usable features of file access follow what the bytes make
    kUsb = 4,
    kOldSchema = 8,
};

class Bytes {
  public:
    explicit Bytes(Input input) : mInput(input) {}
    [[nodiscard]] bool AreLeft() const { return !mInput.empty(); }
    std::uint8_t Next() {
        if (mInput.empty()) {
            return 0;
        }
        const std::uint8_t byte = mInput.front();
        mInput = mInput.subspan(1);
        return byte;
    }
    template <typename List>
    auto& From(const List& list) {
        return list[Next() % std::size(list)];
    }

  private:
    Input mInput;
};

// Registers hold the input's bytes until they are written. Some accesses fail, all of them after
// the last that it allows, so that waiting ends too.
class FuzzedPort : public GenPort {
  public:
    FuzzedPort(Input input, bool isUsb, std::uint8_t behaviour)
        : mInput(input), mIsUsb(isUsb), mBehaviour(behaviour) {}

    NxResult ReadMemory(std::uint64_t address, std::span<std::byte> buffer) override {
        NxResult result = Account();
        for (std::size_t i = 0; i < buffer.size() && result.IsOK(); ++i) {
            buffer[i] = Load(address + i);
        }
        return result;
    }
    NxResult WriteMemory(std::uint64_t address, std::span<const std::byte> data) override {
        NxResult result = Account();
        for (std::size_t i = 0; i < std::min<std::size_t>(data.size(), 64) && result.IsOK(); ++i) {
            mWritten[address + i] = data[i];
        }
        return result;
    }
    NxResult ReadRegisters(std::span<Register> registers) override {
        for (Register& one : registers) {
            if (NxResult result = ReadMemory(one.address, one.bytes); !result.IsOK()) {
                return result;
            }
        }
        return {};
    }
    NxResult WriteRegisters(std::span<const Register> registers) override {
        for (const Register& one : registers) {
            if (NxResult result = WriteMemory(one.address, one.bytes); !result.IsOK()) {
                return result;
            }
        }
        return {};
    }
    [[nodiscard]] std::string DeviceName() const override { return "192.0.2.7 on eth9"; }
    [[nodiscard]] bool CombinesRegisters() const override { return (mBehaviour & 1U) != 0; }
    [[nodiscard]] bool HasRegisterCommands() const override { return !mIsUsb; }

  private:
    static constexpr int kMostAccesses = 3000;

    NxResult Account() {
        ++mAccesses;
        if (mAccesses > kMostAccesses) {
            return NxResult(kNxTimeout, "the device is gone");
        }
        const int everySo = mBehaviour >> 4U;
        if (everySo != 0 && mAccesses % (everySo * 7) == 0) {
            return NxResult((mBehaviour & 2U) != 0 ? kNxDeviceError : kNxAccessDenied, "refused");
        }
        return {};
    }
    [[nodiscard]] std::byte Load(std::uint64_t address) const {
        // What executes an operation goes back to zero, in half of the devices.
        if (const auto written = mWritten.find(address);
            written != mWritten.end() && ((mBehaviour & 4U) == 0 || address % 4 != 3)) {
            return written->second;
        }
        return (mBehaviour & 8U) != 0 || mInput.empty()
                   ? std::byte{0}
                   : static_cast<std::byte>(mInput[(address ^ address >> 5U) % mInput.size()]);
    }

    Input mInput;
    bool mIsUsb;
    std::uint8_t mBehaviour;
    int mAccesses = 0;
    std::map<std::uint64_t, std::byte> mWritten;
};

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
constexpr std::array<std::string_view, 47> kElements{"Value",
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
                                                     "EventID"};
constexpr std::array<std::string_view, 8> kWords{"RO",     "WO",           "RW",      "BigEndian",
                                                 "Signed", "LittleEndian", "NoCache", "Unsigned"};

// One description out of bytes that choose its parts.
class Grammar {
  public:
    explicit Grammar(Bytes& bytes) : mBytes(bytes) {}

    std::string Nodes() {
        for (int count = 0; count < 80 && mBytes.AreLeft(); ++count) {
            Node(0);
        }
        return std::move(mXml);
    }

  private:
    void Node(int depth) {
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
    void Element() {
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
    void Formula() {
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

    Bytes& mBytes;
    std::string mXml;
};

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

// The first node of a name is the one, so that those of the input go before these.
std::string FileNodes() {
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

// Every text in quotes after "Name=".
std::set<std::string> NamesIn(const std::string& xml) {
    constexpr std::string_view kBefore = "Name=\"";
    std::set<std::string> names;
    for (std::size_t at = xml.find(kBefore); at != std::string::npos && names.size() < 60;
         at = xml.find(kBefore, at + 1)) {
        const std::size_t begin = at + kBefore.size();
        names.insert(xml.substr(begin, xml.find('"', begin) - begin));
    }
    return names;
}

void Expect(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void ReadFeature(NxGenParameterArray& parameters, const std::string& name) {
    NxString text("untouched");
    const NxResult result = parameters.GetStringValue(NxString(name), text);
    Expect(result.IsOK() || std::string_view(text.GetAscii()) == "untouched");
    Expect(result.IsOK() || std::string_view(result.GetDescription().GetAscii()) != "");
    NxGenEnum* enumeration = parameters.GetEnum(NxString(name));
    if (enumeration == nullptr) {
        return;
    }
    for (unsigned int i = 0; i < std::min(enumeration->GetEntryCount() + 1, 5U); ++i) {
        NxGenEnumEntry entry;
        NxString entryName;
        if (enumeration->GetEntryByIndex(i, entry).IsOK()) {
            Expect(entry.GetName(entryName).IsOK());
            (void)enumeration->GetEntryByName(entryName, entry);
        }
    }
}

void MoveFiles(NxGenParameterArray& parameters) {
    (void)NxGenFile::IsSupported(&parameters);
    std::array<unsigned char, 100> bytes{};
    long moved = 0;
    NxGenFile file;
    for (const char* name : {"File", "A"}) {
        if (file.Open(&parameters, NxString(name), NxGenOpenMode::kWrite).IsOK()) {
            (void)file.Write(bytes.data(), static_cast<long>(bytes.size()), moved);
            Expect(moved >= 0 && moved <= static_cast<long>(bytes.size()));
            (void)file.Close();
        }
        if (file.Open(&parameters, NxString(name), NxGenOpenMode::kRead).IsOK()) {
            (void)file.Read(bytes.data(), static_cast<long>(bytes.size()), moved);
            Expect(moved >= 0 && moved <= static_cast<long>(bytes.size()));
            (void)file.Close();
        }
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(Input(data, size));
    const std::uint8_t mode = bytes.Next();
    const std::uint8_t behaviour = bytes.Next();
    std::string xml;
    if ((mode & kRaw) != 0) {
        xml.assign(reinterpret_cast<const char*>(data) + std::min<std::size_t>(2, size),
                   size - std::min<std::size_t>(2, size));
    } else {
        xml = "<RegisterDescription SchemaMajorVersion=\"1\" SchemaMinorVersion=\"" +
              std::string((mode & kOldSchema) != 0 ? "0" : "1") + "\">" + Grammar(bytes).Nodes() +
              ((mode & kFileNodes) != 0 ? FileNodes() : "") +
              "<Port Name=\"Device\"/></RegisterDescription>";
    }
    // Waiting for an operation takes no time.
    const FakeClock clock;
    const auto port =
        std::make_shared<FuzzedPort>(Input(data, size), (mode & kUsb) != 0, behaviour);
    std::unique_ptr<NxGenParameterArray> parameters;
    if (!MakeParameterArray(port, xml, parameters).IsOK()) {
        Expect(parameters == nullptr);
        return 0;
    }
    for (const std::string& name : NamesIn(xml)) {
        ReadFeature(*parameters, name);
    }
    MoveFiles(*parameters);
    return 0;
}
