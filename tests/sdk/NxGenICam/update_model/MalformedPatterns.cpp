#include "ManifestCases.h"

namespace {

std::string With(const std::string& part, const std::string& replacement) {
    return ReplaceInManifest(part, replacement);
}

}  // namespace

std::vector<ManifestCase> MalformedPatterns() {
    return {
        {"PatternStarFirst", With(">x<", ">*x<"),
         "4: <AssertPattern> is not a valid regular expression: quantifier does not follow a "
         "repeatable item (byte 1)"},
        {"PatternTwoStars", With(">x<", ">x**<"),
         "4: <AssertPattern> is not a valid regular expression: quantifier does not follow a "
         "repeatable item (byte 3)"},
        {"PatternStarAfterBar", With(">x<", ">a|+<"),
         "4: <AssertPattern> is not a valid regular expression: quantifier does not follow a "
         "repeatable item (byte 3)"},
        {"PatternStarAfterAnchor", With(">x<", ">^*<"),
         "4: <AssertPattern> is not a valid regular expression: quantifier does not follow a "
         "repeatable item (byte 2)"},
        {"PatternGroupNotClosed", With(">x<", ">(x<"),
         "4: <AssertPattern> is not a valid regular expression: missing closing parenthesis (byte "
         "3)"},
        {"PatternGroupNotOpened", With(">x<", ">x)<"),
         "4: <AssertPattern> is not a valid regular expression: unmatched closing parenthesis "
         "(byte 2)"},
        {"PatternGroupUnknown", With(">x<", ">(?i)x<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 1)"},
        {"PatternLookBehind", With(">x<", ">(?&lt;=a)x<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 1)"},
        {"PatternRecursion", With(">x<", ">(?R)<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 1)"},
        {"PatternVerb", With(">x<", ">(*UTF)x<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 1)"},
        {"PatternTooDeep", With(">x<", ">((((((x))))))<"),
         "4: <AssertPattern> is not a valid regular expression: parentheses are too deeply nested "
         "(byte 6)"},
        {"PatternClassNotClosed", With(">x<", ">[x<"),
         "4: <AssertPattern> is not a valid regular expression: missing terminating ] for "
         "character class (byte 3)"},
        {"PatternClassEmpty", With(">x<", ">x[]<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 2)"},
        {"PatternClassNotOpened", With(">x<", ">x]<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 2)"},
        {"PatternBraceNotClosed", With(">x<", ">x{2<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 2)"},
        {"PatternBraceWithoutNumber", With(">x<", ">x{,2}<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 2)"},
        {"PatternHexTooShort", With(">x<", ">\\x4<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 1)"},
        {"PatternHexInBraces", With(">x<", ">\\x{41}<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 1)"},
        {"PatternCountTooHigh", With(">x<", ">x{65536}<"),
         "4: <AssertPattern> is not a valid regular expression: number too big in {} quantifier "
         "(byte 8)"},
        {"PatternPossessive", With(">x<", ">x++<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 2)"},
        {"PatternBackslashLast", With(">x<", ">x\\<"),
         "4: <AssertPattern> is not a valid regular expression: \\ at end of pattern (byte 3)"},
        {"PatternEscapeUnknown", With(">x<", ">\\p{L}<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 1)"},
        {"PatternUnicodeSurrogate", With(">x<", ">\\uD800<"),
         "4: <AssertPattern> is not a valid regular expression: disallowed Unicode code point (>= "
         "0xd800 && <= 0xdfff) (byte 7)"},
        {"PatternOctal", With(">x<", ">\\012<"),
         "4: <AssertPattern> is not a valid regular expression: unsupported syntax (byte 1)"},
        {"PatternRangeReversed", With(">x<", ">[z-a]<"),
         "4: <AssertPattern> is not a valid regular expression: range out of order in character "
         "class (byte 4)"},
        {"PatternRangeOfSets", With(">x<", ">[a-\\d]<"),
         "4: <AssertPattern> is not a valid regular expression: invalid range in character class "
         "(byte 6)"},
        {"PatternCountsReversed", With(">x<", ">x{3,2}<"),
         "4: <AssertPattern> is not a valid regular expression: numbers out of order in {} "
         "quantifier (byte 6)"},
        {"PatternGroupMissing", With(">x<", ">(x)\\2<"),
         "4: <AssertPattern> is not a valid regular expression: reference to non-existent "
         "subpattern (byte 5)"},
        {"PatternTooLarge", With(">x<", ">(((x{1000}){1000}){1000})<"),
         "4: <AssertPattern> is not a valid regular expression: regular expression is too large "
         "(byte 26)"},
        {"ConditionBadPattern", With(">X<", ">X(<"),
         "10: <Condition> is not a valid regular expression: missing closing parenthesis (byte 3)"},
    };
}

std::vector<ManifestCase> BeyondTheSchema() {
    return {
        {"DocumentType", With("<FirmwareUpdate S", "<!DOCTYPE FirmwareUpdate>\n<FirmwareUpdate S"),
         "1: a document type declaration is not allowed"},
        {"InternalEntity",
         With("<FirmwareUpdate S",
              "<!DOCTYPE FirmwareUpdate [<!ENTITY m \"a\">]><FirmwareUpdate S"),
         "1: a document type declaration is not allowed"},
        {"EncodingLatin1",
         With("<FirmwareUpdate S",
              "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><FirmwareUpdate S"),
         "1: the encoding must be UTF-8"},
        {"XmlVersion11", With("<FirmwareUpdate S", "<?xml version=\"1.1\"?><FirmwareUpdate S"),
         "1: the XML version must be 1.0"},
        {"ZeroByte", PlainManifest() + std::string("\0 ", 2),
         "13: the character U+0000 is not allowed"},
        {"LargerThanAllowed", With("<DeviceReset/>", std::string(262144, ' ') + "<DeviceReset/>"),
         "1: it is larger than 262144 bytes"},
    };
}
