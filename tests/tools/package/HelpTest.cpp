#include <sstream>

#include <gmock/gmock.h>

#include "PackageTool.h"

using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

namespace {

/// What mirsko-package says of itself.
class HelpTest : public PackageTool {
  protected:
    void ExpectHelp(const std::vector<std::string>& arguments,
                    const std::vector<std::string>& texts) const {
        const ProcessResult result = Run(arguments);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.err, "");
        for (const std::string& text : texts) {
            EXPECT_THAT(result.out, HasSubstr(text));
        }
    }
};

}  // namespace

TEST_F(HelpTest, OfTheProgramNamesEverySubcommandAndTheExitStatuses) {
    ExpectHelp({"--help"},
               {"Creates, inspects and checks firmware payloads and packages.",
                "Exit status: 0 success, 1 failure or problems found, 2 usage error.", "--help-all",
                "payload", "create", "info", "check", "import", "sign", "verify"});
}

TEST_F(HelpTest, OfEachSubcommandNamesItsOptionsAndArguments) {
    ExpectHelp({"payload", "--help"}, {"--family", "--version", "BINARY", "PAYLOAD"});
    ExpectHelp({"create", "--help"},
               {"--manifest", "--model", "--upload", "--description", "--version", "PACKAGE"});
    ExpectHelp({"info", "--help"}, {"--json", "FILE"});
    ExpectHelp({"check", "--help"}, {"--model", "--accept WARNING", "--json", "FILE"});
    ExpectHelp({"import", "--help"}, {"--transport", "--language", "--drop-reset", "--ca",
                                      "--ignore-signature", "UPDATE", "PACKAGE"});
    ExpectHelp({"sign", "--help"},
               {"--key", "--certificate", "--passphrase-file", "--signature", "FILE"});
    ExpectHelp({"verify", "--help"}, {"--ca", "--signature", "FILE"});
}

TEST_F(HelpTest, OfAllNamesTheOptionsOfEverySubcommand) {
    ExpectHelp({"--help-all"},
               {"--family", "--manifest", "--upload", "--json", "--model", "--transport"});
}

TEST_F(HelpTest, NamesValuesInWordsOfTheirOwn) {
    ExpectHelp({"payload", "--help"},
               {"\n  BINARY  ", "\n  --version MAJOR.MINOR  ", "; required\n"});
    ExpectHelp({"create", "--help"}, {"\n  --upload TRANSPORT=FILE  ", "\n  --model NAME  "});
    ExpectHelp({"import", "--help"}, {"\n  --transport TRANSPORT  ", "GenICam (the default)"});
    std::istringstream lines(Run({"--help-all"}).out);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 100U) << line;
        EXPECT_THAT(line, Not(AnyOf(HasSubstr("{"), HasSubstr("..."), HasSubstr("REQUIRED"),
                                    HasSubstr(" :"), HasSubstr("Excludes"))));
    }
}

TEST_F(HelpTest, OfTheVersionIsOneLine) {
    const ProcessResult result = Run({"--version"});
    EXPECT_THAT(result.out, testing::MatchesRegex("mirsko-package [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(HelpTest, WrongUsageIsStatus2AndSaidOnStandardError) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"nonsense"},
                                               {"--nonsense"},
                                               {"payload"},
                                               {"create"},
                                               {"info"},
                                               {"check"},
                                               {"import"},
                                               {"info", "--nonsense", "@a"},
                                               {"info", "@a", "@b"}}) {
        const ProcessResult result = Run(arguments);
        EXPECT_EQ(result.exitStatus, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(result.out, "") << testing::PrintToString(arguments);
        EXPECT_NE(result.err, "") << testing::PrintToString(arguments);
    }
}
