// A camera whose GenICam description and whose registers are both the input's: its features are
// read, and its files are written and read as far as it lets them.
//
// The first byte chooses how the rest is used (Mode), the second how the device behaves.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenEnumEntry.h>
#include <NxGenICam/NxGenFile.h>
#include <internal/NxGenICam/ParameterArrayFactory.h>

#include "DescriptionGrammar.h"
#include "FakeClock.h"
#include "FuzzInput.h"
#include "FuzzedPort.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

enum Mode : std::uint8_t {
    kRaw = 1,        ///< the bytes are the XML; else they choose what a description is made of
    kFileNodes = 2,  ///< usable features of file access follow what the bytes make
    kUsb = 4,
    kOldSchema = 8,
};

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
    FuzzInput bytes(Input(data, size));
    const std::uint8_t mode = bytes.Next();
    const std::uint8_t behaviour = bytes.Next();
    std::string xml;
    if ((mode & kRaw) != 0) {
        xml.assign(reinterpret_cast<const char*>(data) + std::min<std::size_t>(2, size),
                   size - std::min<std::size_t>(2, size));
    } else {
        xml = "<RegisterDescription SchemaMajorVersion=\"1\" SchemaMinorVersion=\"" +
              std::string((mode & kOldSchema) != 0 ? "0" : "1") + "\">" +
              DescriptionGrammar(bytes).Nodes() +
              ((mode & kFileNodes) != 0 ? DescriptionGrammar::FileNodes() : "") +
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
