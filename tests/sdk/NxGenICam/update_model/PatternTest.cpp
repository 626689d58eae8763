#include "update_model/Pattern.h"

#include <gtest/gtest.h>

using NxGenICamLib::Pattern;
using Match = Pattern::Match;

namespace {

Match Matches(const std::string& pattern, const std::string& value) {
    Pattern compiled;
    EXPECT_EQ(compiled.Compile(pattern), "");
    return compiled.Matches(value);
}

struct PatternCase {
    const char* pattern;
    const char* value;
    bool matches;
};

}  // namespace

TEST(PatternTest, MatchesAsEcmaScriptDoes) {
    const PatternCase cases[] = {
        {"AB", "AB", true},
        {"AB", "ABC", false},
        {"AB", "xAB", false},
        {"ab", "AB", false},
        {"A|AB", "AB", true},
        {"^A$", "A", true},
        {"A$", "A\n", false},
        {"a.c", "a\nc", false},
        {"a.c", "a\rc", false},
        {"a.c",
         "a\xE2\x80\xA8"
         "c",
         false},  // U+2028, a line end to ECMAScript
        {"a.c",
         "a\xE2\x82\xAC"
         "c",
         true},
        {"a[^]c", "a\nc", true},
        {"\\d+\\.\\d+", "12.7", true},
        {"\\d+\\.\\d+", "12x7", false},
        {"\\v", "\v", true},
        {"[a-f0-9]{2,3}", "0f", true},
        {"[a-f0-9]{2,3}", "0f0f", false},
        {"a{2,}?", "aaaa", true},
        {"[\\b]", "\b", true},
        {"[a\\-z]", "-", true},
        {"[a\\-z]", "b", false},
        {"[a-]", "-", true},
        {"[-a]", "-", true},
        {"\\x41\\u0042", "AB", true},
        {"\\u20AC", "\xE2\x82\xAC", true},
        {"(a)\\1", "aa", true},
        {"(a)\\1", "ab", false},
        {"(?:(a)|b)\\1", "b", true},  // a group that took no part matches the empty text
        {"(?!AB)A.*", "AC", true},
        {"(?!AB)A.*", "ABC", false},
        {"(?=A)..", "AB", true},
        {"#x y", "#x y", true},
        {"\\#", "#", true},
        {"a\\bb", "ab", false},
        {"a\\b-b", "a-b", true},
        {"()", "", true},
        {".", "\xFF", false},  // not UTF-8
    };
    for (const PatternCase& one : cases) {
        EXPECT_EQ(Matches(one.pattern, one.value), one.matches ? Match::kYes : Match::kNo)
            << one.pattern << " on " << one.value;
    }
}

TEST(PatternTest, DiffersFromEcmaScriptAsDocumented) {
    // There the second round would forget what the group captured in the first.
    EXPECT_EQ(Matches("(?:(a)|b){2}\\1", "aba"), Match::kYes);
    EXPECT_EQ(Matches("(?:(a)|b){2}\\1", "ab"), Match::kNo);
    // There white space also has U+00A0.
    EXPECT_EQ(Matches("a\\sb", "a\tb"), Match::kYes);
    EXPECT_EQ(Matches("a\\sb", "a\xC2\xA0\x62"), Match::kNo);
    // There \v is one character, and "." leaves out fewer line ends.
    EXPECT_EQ(Matches("\\v", "\n"), Match::kYes);
    EXPECT_EQ(Matches("[\\v]", "\n"), Match::kYes);
    EXPECT_EQ(Matches("a.c", "a\vc"), Match::kNo);
    EXPECT_EQ(Matches("a.c", "a\xC2\x85\x63"), Match::kNo);
}

TEST(PatternTest, RefusesWhatIsNotEcmaScript) {
    for (const char* pattern :
         {"(?i)x",       "(?<=a)x",  "(?<!a)x", "(?>x)", "(?|x)",   "(?R)",       "(?1)",
          "(?<n>x)",     "(?P<n>x)", "(?C1)",   "(?#x)", "(*UTF)x", "x(*ACCEPT)", "x++",
          "x*+",         "x?+",      "x{2}+",   "\\A",   "\\Qx\\E", "\\K",        "\\R",
          "\\X",         "\\h",      "\\p{L}",  "\\g1",  "\\k<n>",  "\\012",      "\\0",
          "\\o{12}",     "\\a",      "\\e",     "\\cA",  "\\N",     "[\\1]",      "[\\B]",
          "[[:alpha:]]", "[[.x.]]",  "[[=x=]]", "[]x]",  "[^]x]",   "\\x4",       "\\x{41}",
          "\\u41",       "\\11",     "x{,2}",   "x{2",   "x]",      "x}"}) {
        const std::string wrong = Pattern().Compile(pattern);
        EXPECT_FALSE(wrong.empty()) << pattern;
    }
    EXPECT_EQ(Pattern().Compile("x{2}+"), "unsupported syntax (byte 2)");
    EXPECT_EQ(Pattern().Compile("a\\(?b[(?*]c\\++[^[]d\\\\"), "");
}

TEST(PatternTest, MatchesNothingThatIsLongerThanAllowed) {
    EXPECT_EQ(Matches("a*", std::string(Pattern::kMaximumValue, 'a')), Match::kYes);
    EXPECT_EQ(Matches("a*", std::string(Pattern::kMaximumValue + 1, 'a')), Match::kNo);
}

TEST(PatternTest, BoundsTheStepsOfAMatch) {
    EXPECT_EQ(Matches("(a+)+b", std::string(4000, 'a') + "c"), Match::kNo);
    EXPECT_EQ(Matches("(a|aa)+c?[bd]", std::string(4000, 'a')), Match::kTooCostly);
}

TEST(PatternTest, MatchesNothingBeforeItIsCompiled) {
    EXPECT_EQ(Pattern().Matches(""), Match::kNo);
}
