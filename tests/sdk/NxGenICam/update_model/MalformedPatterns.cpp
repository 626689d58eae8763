#include "ManifestCases.h"

namespace {

std::string With(const std::string& part, const std::string& replacement) {
    return ReplaceInManifest(part, replacement);
}

}  // namespace

std::vector<ManifestCase> MalformedPatterns() {
    return {
        {"PatternStarFirst", With(">x<", ">*x<"),
         "4:44: <AssertPattern> is no regular expression: there is nothing that \"*\" could repeat "
         "(character 1)"},
        {"PatternTwoStars", With(">x<", ">x**<"),
         "4:44: <AssertPattern> is no regular expression: there is nothing that \"*\" could repeat "
         "(character 3)"},
        {"PatternStarAfterBar", With(">x<", ">a|+<"),
         "4:44: <AssertPattern> is no regular expression: there is nothing that \"+\" could repeat "
         "(character 3)"},
        {"PatternStarAfterAnchor", With(">x<", ">^*<"),
         "4:44: <AssertPattern> is no regular expression: there is nothing that \"*\" could repeat "
         "(character 2)"},
        {"PatternGroupNotClosed", With(">x<", ">(x<"),
         "4:44: <AssertPattern> is no regular expression: a group is not closed (character 3)"},
        {"PatternGroupNotOpened", With(">x<", ">x)<"),
         "4:44: <AssertPattern> is no regular expression: \")\" closes no group (character 2)"},
        {"PatternGroupUnknown", With(">x<", ">(?i)x<"),
         "4:44: <AssertPattern> is no regular expression: only (?: (?= and (?! may begin a group "
         "with a question mark (character 1)"},
        {"PatternLookBehind", With(">x<", ">(?&lt;=a)x<"),
         "4:44: <AssertPattern> is no regular expression: only (?: (?= and (?! may begin a group "
         "with a question mark (character 1)"},
        {"PatternRecursion", With(">x<", ">(?R)<"),
         "4:44: <AssertPattern> is no regular expression: only (?: (?= and (?! may begin a group "
         "with a question mark (character 1)"},
        {"PatternVerb", With(">x<", ">(*UTF)x<"),
         "4:44: <AssertPattern> is no regular expression: there is nothing that \"*\" could repeat "
         "(character 2)"},
        {"PatternTooDeep", With(">x<", ">((((((x))))))<"),
         "4:44: <AssertPattern> is no regular expression: groups are nested deeper than 4 "
         "(character 5)"},
        {"PatternClassNotClosed", With(">x<", ">[x<"),
         "4:44: <AssertPattern> is no regular expression: a class is not closed (character 1)"},
        {"PatternClassEmpty", With(">x<", ">x[]<"),
         "4:44: <AssertPattern> is no regular expression: a class is empty (character 2)"},
        {"PatternClassNotOpened", With(">x<", ">x]<"),
         "4:44: <AssertPattern> is no regular expression: \"]\" must be written with a backslash "
         "(character 2)"},
        {"PatternBraceNotClosed", With(">x<", ">x{2<"),
         "4:44: <AssertPattern> is no regular expression: \"{\" must begin {n}, {n,} or {n,m}, or "
         "be written with a backslash (character 2)"},
        {"PatternBraceWithoutNumber", With(">x<", ">x{,2}<"),
         "4:44: <AssertPattern> is no regular expression: \"{\" must begin {n}, {n,} or {n,m}, or "
         "be written with a backslash (character 2)"},
        {"PatternCountTooHigh", With(">x<", ">x{1001}<"),
         "4:44: <AssertPattern> is no regular expression: a count is higher than 1000 (character "
         "2)"},
        {"PatternPossessive", With(">x<", ">x++<"),
         "4:44: <AssertPattern> is no regular expression: there is nothing that \"+\" could repeat "
         "(character 3)"},
        {"PatternBackslashLast", With(">x<", ">x\\<"),
         "4:44: <AssertPattern> is no regular expression: a backslash stands at the end (character "
         "2)"},
        {"PatternEscapeUnknown", With(">x<", ">\\p{L}<"),
         "4:44: <AssertPattern> is no regular expression: an escape that is not known (character "
         "1)"},
        {"PatternHexTooShort", With(">x<", ">\\x4<"),
         "4:44: <AssertPattern> is no regular expression: an escape that is not known (character "
         "1)"},
        {"PatternUnicodeSurrogate", With(">x<", ">\\uD800<"),
         "4:44: <AssertPattern> is no regular expression: an escape that is not known (character "
         "1)"},
        {"PatternOctal", With(">x<", ">\\012<"),
         "4:44: <AssertPattern> is no regular expression: an escape that is not known (character "
         "1)"},
        {"PatternTooLong", With(">x<", ">" + std::string(513, 'x') + "<"),
         "4:44: <AssertPattern> is longer than 512 characters"},
        {"PatternOfSpaces", With(">x<", ">   <"), "4:44: <AssertPattern> must not be empty"},
        {"ConditionBadPattern", With(">X<", ">X(<"),
         "10:1: <Condition> is no regular expression: a group is not closed (character 3)"},
    };
}

std::vector<ManifestCase> BeyondTheSchema() {
    return {
        {"DocumentType", With("<FirmwareUpdate S", "<!DOCTYPE FirmwareUpdate>\n<FirmwareUpdate S"),
         "1:1: document type and other declarations are not allowed"},
        {"InternalEntity",
         With("<FirmwareUpdate S",
              "<!DOCTYPE FirmwareUpdate [<!ENTITY m \"a\">]><FirmwareUpdate S"),
         "1:1: document type and other declarations are not allowed"},
        {"EncodingLatin1",
         With("<FirmwareUpdate S",
              "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><FirmwareUpdate S"),
         "1:30: the encoding must be UTF-8"},
        {"XmlVersion11", With("<FirmwareUpdate S", "<?xml version=\"1.1\"?><FirmwareUpdate S"),
         "1:15: the XML version must be 1.0"},
        {"NamespaceDeclared", With("MinorVersion=\"0\"", "MinorVersion=\"0\" xmlns:x=\"urn:x\""),
         "1:63: unknown attribute \"xmlns:x\" of <FirmwareUpdate>"},
        {"SchemaInstanceInside",
         With("<DeviceReset/>",
              "<DeviceReset xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
              "xsi:type=\"DeviceReset\"/>"),
         "6:14: unknown attribute \"xmlns:xsi\" of <DeviceReset>"},
        {"PatternRangeReversed", With(">x<", ">[z-a]<"),
         "4:44: <AssertPattern> is no regular expression: a range of a class stands in the wrong "
         "order (character 2)"},
        {"PatternRangeOfSets", With(">x<", ">[a-\\d]<"),
         "4:44: <AssertPattern> is no regular expression: a range of a class stands in the wrong "
         "order (character 2)"},
        {"PatternCountsReversed", With(">x<", ">x{3,2}<"),
         "4:44: <AssertPattern> is no regular expression: the counts stand in the wrong order "
         "(character 2)"},
        {"PatternGroupMissing", With(">x<", ">(x)\\2<"),
         "4:44: <AssertPattern> is no regular expression: there is no group 2 (character 4)"},
        {"PatternTooLarge", With(">x<", ">(((x{1000}){1000}){1000})<"),
         "4:44: <AssertPattern> is no regular expression: regular expression is too large"},
        {"LargerThanAllowed", With("<DeviceReset/>", std::string(262144, ' ') + "<DeviceReset/>"),
         "1:1: it is larger than 262144 bytes"},
    };
}
