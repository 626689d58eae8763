// Whatever a device stores as its description, up to the size that is read at all: understanding
// it, or refusing it, takes little memory and time.
#include <ctime>
#include <fstream>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/NxGenFile.h>

#include "ParameterArrayFixture.h"
#include "ZipBuilder.h"
#include "xml_location/DescriptionArchive.h"

namespace {

#ifdef MIRSKO_SANITIZED
constexpr long kMostKiB = 1024 * 1024;  // the sanitizers' own
constexpr double kMostSeconds = 40;
#elif !defined(__OPTIMIZE__)
constexpr long kMostKiB = 64 * 1024;
constexpr double kMostSeconds = 5;
#else
constexpr long kMostKiB = 64 * 1024;
constexpr double kMostSeconds = 2;
#endif

constexpr std::size_t kMiB = std::size_t{1} << 20U;
constexpr std::size_t kLargest = 16 * kMiB;

const std::string kBegin =
    "<RegisterDescription SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\">";
const std::string kEnd = "<Port Name=\"Device\"/></RegisterDescription>";

long PeakKiB() {
    constexpr std::string_view kPeak = "VmHWM:";
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line) && !line.starts_with(kPeak)) {
    }
    return line.starts_with(kPeak) ? std::stol(line.substr(kPeak.size())) : -1;
}

double CpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// A description of that many bytes at most: `piece` gives one part after the other.
std::string Fill(std::size_t size, const std::function<std::string(std::size_t)>& piece,
                 const std::string& begin = kBegin, const std::string& end = kEnd) {
    std::string xml;
    xml.reserve(size);
    xml = begin;
    for (std::size_t i = 0;; ++i) {
        const std::string next = piece(i);
        if (xml.size() + next.size() + end.size() > size) {
            break;
        }
        xml += next;
    }
    xml += end;
    return xml;
}

std::string Same(std::size_t size, const std::string& piece, const std::string& begin = kBegin,
                 const std::string& end = kEnd) {
    constexpr std::size_t kPiecesInBlock = 4096;
    std::string block;
    for (std::size_t i = 0; i < kPiecesInBlock; ++i) {
        block += piece;
    }
    const std::size_t count = (size - begin.size() - end.size()) / piece.size();
    std::string xml;
    xml.reserve(size);
    xml = begin;
    for (std::size_t i = 0; i < count / kPiecesInBlock; ++i) {
        xml += block;
    }
    xml.append(block, 0, count % kPiecesInBlock * piece.size());
    xml += end;
    return xml;
}

struct Case {
    std::string name;
    std::function<std::string()> make;
};

void PrintTo(const Case& one, std::ostream* stream) {
    *stream << one.name;
}

std::string Knife(const std::string& name, const std::string& content) {
    return "<IntSwissKnife Name=\"" + name + "\">" + content + "</IntSwissKnife>";
}

const std::string kFormulaEnd = "1</Formula></IntSwissKnife>" + kEnd;

// "A" is asked for in each.
const std::vector<Case> kCases{
    {"TinyNodes", [] { return Same(kLargest, "<Port/>"); }},
    {"NamedNodes",
     [] {
         return Fill(kLargest,
                     [](std::size_t i) { return "<Port Name=\"P" + std::to_string(i) + "\"/>"; });
     }},
    {"PropertiesOfOneNode",
     [] {
         return Same(kLargest, "<Min>1</Min>", kBegin + "<Integer Name=\"A\">",
                     "</Integer>" + kEnd);
     }},
    {"EverythingThatIsKept",
     [] {
         // Properties of the enumeration are interleaved with those of its entries.
         return Fill(
             kLargest,
             [](std::size_t i) {
                 return i < 90000
                            ? "<Min>" + std::string(30, '1') + "</Min><EnumEntry Name=\"e\"><Min>" +
                                  std::string(40, '1') + "</Min></EnumEntry>"
                        : i < 200000 ? std::string("<Min>1</Min>")
                                     : std::string("<!---->");
             },
             kBegin + "<Enumeration Name=\"A\">", "</Enumeration>" + kEnd);
     }},
    {"UnknownElements", [] { return Same(kLargest, "<x/>"); }},
    {"UnknownElementsOfOneNode",
     [] { return Same(kLargest, "<x/>", kBegin + "<Integer Name=\"A\">", "</Integer>" + kEnd); }},
    {"ManyNamesOfElements",
     [] { return Fill(kLargest, [](std::size_t i) { return "<x" + std::to_string(i) + "/>"; }); }},
    {"ManyNamesOfAttributes",
     [] {
         return Fill(kLargest,
                     [](std::size_t i) { return "<x a" + std::to_string(i) + "=\"\"/>"; });
     }},
    {"ManyNamespaces",
     [] {
         return Fill(kLargest,
                     [](std::size_t i) { return "<x xmlns=\"" + std::to_string(i) + "\"/>"; });
     }},
    {"AttributesOfOneElement",
     [] {
         return Fill(
             kLargest, [](std::size_t i) { return "a" + std::to_string(i) + "=\"\" "; },
             kBegin + "<Integer ", "/>" + kEnd);
     }},
    {"LongAttribute",
     [] { return Same(kLargest, "x", kBegin + "<Integer Name=\"", "\"/>" + kEnd); }},
    {"LongComment", [] { return Same(kLargest, "x", kBegin + "<!--", "-->" + kEnd); }},
    {"ManyComments", [] { return Same(kLargest, "<!---->"); }},
    {"LongText",
     [] {
         return Same(kLargest, "x", kBegin + "<String Name=\"A\"><Value>",
                     "</Value></String>" + kEnd);
     }},
    {"TextOfMarkup",
     [] {
         return Same(kLargest, "&#65;", kBegin + "<String Name=\"A\"><Value>",
                     "</Value></String>" + kEnd);
     }},
    {"TextInPieces",
     [] {
         return Same(kLargest, "x<!---->", kBegin + "<String Name=\"A\"><Value>",
                     "</Value></String>" + kEnd);
     }},
    {"DeepNesting", [] { return Same(kLargest, "<Group>"); }},
    {"DeepNestingOfUnknownElements", [] { return Same(kLargest, "<x>"); }},
    {"SkippedText", [] { return Same(kLargest, "x", kBegin + "<x>", "</x>" + kEnd); }},
    {"NotUtf8", [] { return Same(kLargest, "<Port Name=\"\xFC\"/>"); }},
    {"NotUtf8AtTheEnd",
     [] { return Same(kLargest, "<Group></Group>", kBegin, "<x>\xFC</x>" + kEnd); }},
    {"FormulaOfParentheses",
     [] {
         return Same(8 * kMiB, "(", kBegin + "<IntSwissKnife Name=\"A\"><Formula>", kFormulaEnd);
     }},
    {"FormulaOfSigns",
     [] {
         return Same(8 * kMiB, "-", kBegin + "<IntSwissKnife Name=\"A\"><Formula>", kFormulaEnd);
     }},
    {"FormulaOfPowers",
     [] {
         return Same(8 * kMiB, "1**", kBegin + "<IntSwissKnife Name=\"A\"><Formula>", kFormulaEnd);
     }},
    {"FormulaOfSums",
     [] {
         return Same(8 * kMiB, "1+", kBegin + "<IntSwissKnife Name=\"A\"><Formula>", kFormulaEnd);
     }},
    {"FormulaOfChoices",
     [] {
         return Same(8 * kMiB, "1?1:", kBegin + "<IntSwissKnife Name=\"A\"><Formula>", kFormulaEnd);
     }},
    {"FormulaOfBlanksInTurns",
     [] {
         // Each takes the next one's value often.
         std::string xml = kBegin;
         for (int i = 0; i < 80; ++i) {
             const std::string next = i < 79 ? "K" + std::to_string(i + 1) : "";
             std::string formula(100000, ' ');
             formula += "1";
             for (char name = 'a'; name <= 'f' && !next.empty(); ++name) {
                 formula += std::string(" + ") + name;
             }
             std::string variables;
             for (char name = 'a'; name <= 'f' && !next.empty(); ++name) {
                 variables +=
                     std::string("<pVariable Name=\"") + name + "\">" + next + "</pVariable>";
             }
             xml += Knife(i == 0 ? "A" : "K" + std::to_string(i),
                          variables + "<Formula>" + formula + "</Formula>");
         }
         return xml + kEnd;
     }},
    {"LongNumbersInTurns",
     [] {
         std::string formula = "0";
         std::string variables;
         for (int i = 0; i < 20000; ++i) {
             const std::string name = "v" + std::to_string(i);
             formula += "+" + name;
             variables += "<pVariable Name=\"" + name + "\">N</pVariable>";
         }
         return kBegin + "<Integer Name=\"N\"><Value>" + std::string(6 * kMiB, '0') +
                "</Value></Integer>" +
                Knife("A", variables + "<Formula>" + formula + "</Formula>") + kEnd;
     }},
    {"LongNamesInTurns",
     [] {
         const std::string name(1000000, 'N');
         std::string formula = "0";
         for (int i = 0; i < 40000; ++i) {
             formula += "+V";
         }
         std::string copies;
         for (int i = 0; i < 20000; ++i) {
             copies += "<pAddress>Y</pAddress>";
         }
         return kBegin + "<Integer Name=\"" + name + "\"><Value>1</Value></Integer>" +
                "<IntReg Name=\"A\"><Length>4</Length><pPort>Device</pPort>" + copies +
                "</IntReg><Integer Name=\"Y\"><pValue>" + name + "</pValue></Integer>" + kEnd;
     }},
    {"LongNameOfAnEnumeration",
     [] {
         return Fill(
             kLargest / 4,
             [](std::size_t i) {
                 return "<EnumEntry Name=\"" + std::to_string(i) +
                        "\"><Value>1</Value></EnumEntry>";
             },
             kBegin + "<Enumeration Name=\"" + std::string(1000000, 'N') + "\"><Value>1</Value>",
             "</Enumeration>" + kEnd);
     }},
    {"EntriesThatAskTheDevice",
     [] {
         return Fill(
                    12 * kMiB,
                    [](std::size_t i) {
                        return "<EnumEntry Name=\"" + std::to_string(i) +
                               "\"><Value>1</Value><pIsImplemented>R</pIsImplemented></EnumEntry>";
                    },
                    kBegin + GenXml::Register("R", 0x100) +
                        "<Enumeration Name=\"A\"><Value>1</Value>",
                    "") +
                "</Enumeration>" + kEnd;
     }},
    {"FewerEntriesThatAskTheDevice",
     [] {
         std::string entries;
         for (int i = 0; i < 30000; ++i) {
             entries += "<EnumEntry Name=\"" + std::to_string(i) +
                        "\"><Value>1</Value><pIsImplemented>R</pIsImplemented></EnumEntry>";
         }
         return kBegin + GenXml::Register("R", 0x100) + "<Enumeration Name=\"A\"><Value>2</Value>" +
                entries + "</Enumeration>" + kEnd;
     }},
    {"EntriesInAFormula",
     [] {
         std::string variables;
         std::string formula = "0";
         for (int i = 0; i < 2000; ++i) {
             variables += "<pVariable Name=\"v" + std::to_string(i) + ".Entry.last\">E</pVariable>";
             formula += "+v" + std::to_string(i) + ".Entry.last";
         }
         std::string entries;
         for (int i = 0; i < 90000; ++i) {
             entries += "<EnumEntry Name=\"e\"><Value>1</Value></EnumEntry>";
         }
         return kBegin +
                "<Enumeration Name=\"E\"><Value>1</Value>"
                "<EnumEntry Name=\"last\"><Value>1</Value></EnumEntry>" +
                entries + "</Enumeration>" +
                Knife("A", variables + "<Formula>" + formula + "</Formula>") + kEnd;
     }},
    {"ManyVariables",
     [] {
         std::string variables;
         std::string formula = "0";
         for (int i = 0; i < 40000; ++i) {
             variables += "<Constant Name=\"v" + std::to_string(i) + "\">1</Constant>";
             formula += "+v" + std::to_string(i);
         }
         return kBegin + Knife("A", variables + "<Formula>" + formula + "</Formula>") + kEnd;
     }},
    {"SomeVariablesOften",
     [] {
         std::string variables;
         std::string formula = "0";
         for (int i = 0; i < 2000; ++i) {
             variables += "<Constant Name=\"v" + std::to_string(i) + "\">1</Constant>";
             formula += "+v" + std::to_string(i);
         }
         for (int i = 0; i < 90000; ++i) {
             formula += "+v1999";
         }
         return kBegin + Knife("A", variables + "<Formula>" + formula + "</Formula>") + kEnd;
     }},
};

class HostileDescriptionTest : public ParameterArrayFixture,
                               public testing::WithParamInterface<Case> {};

class ArchivedDescriptionTest : public ParameterArrayFixture {};

TEST_P(HostileDescriptionTest, TakesLittleMemoryAndTime) {
    ASSERT_TRUE(std::ofstream("/proc/self/clear_refs") << 5);
    const std::string xml = GetParam().make();
    ASSERT_LE(xml.size(), kLargest);
    const double begin = CpuSeconds();
    result = LoadXml(xml);
    const std::string outcome = result.GetDescription().GetAscii();
    if (result.IsOK()) {
        (void)Text("A");
        if (NxGenEnum* entries = parameters->GetEnum("A"); entries != nullptr) {
            NxGenEnumEntry entry;
            (void)entries->GetEntryCount();
            (void)entries->GetEntryByName("nothing", entry);
        }
        EXPECT_FALSE(NxGenFile::IsSupported(parameters.get()));
    } else {
        EXPECT_EQ(result.GetCode(), kNxBadDescription);
    }
    const double seconds = CpuSeconds() - begin;
    const long peak = PeakKiB();
    EXPECT_GT(peak, 1024) << "no program is that small: the measurement is wrong";
    EXPECT_LT(peak, kMostKiB);
    EXPECT_LT(seconds, kMostSeconds);
    RecordProperty("KiB", std::to_string(peak));
    RecordProperty("seconds", std::to_string(seconds));
    if (std::getenv("MIRSKO_SHOW_BOUNDS") != nullptr) {
        std::printf("%-32s %7.1f MiB %6.2f s %s\n", GetParam().name.c_str(),
                    static_cast<double>(peak) / 1024, seconds, outcome.c_str());
    }
}

TEST_F(ArchivedDescriptionTest, TakesLittleMemoryAndTimeHoweverWellItWasPacked) {
    ASSERT_TRUE(std::ofstream("/proc/self/clear_refs") << 5);
    const std::string stored = MakeZip(
        {{.name = "a.xml", .content = Same(kLargest, "<x/>"), .method = ZipMember::kDeflated}});
    ASSERT_LT(stored.size(), 41000U);
    ASSERT_TRUE(std::ofstream("/proc/self/clear_refs") << 5);
    const double begin = CpuSeconds();
    std::string xml;
    std::string why;
    ASSERT_TRUE(UnpackDescription(std::as_bytes(std::span(stored)), xml, why)) << why;
    EXPECT_EQ(LoadXml(xml).GetCode(), kNxBadDescription);
    EXPECT_LT(PeakKiB(), kMostKiB);
    EXPECT_LT(CpuSeconds() - begin, kMostSeconds);
}

INSTANTIATE_TEST_SUITE_P(Every, HostileDescriptionTest, testing::ValuesIn(kCases),
                         [](const auto& one) { return one.param.name; });

}  // namespace
