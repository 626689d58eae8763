#include "ManifestCases.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

std::string Repeat(int count, const std::function<std::string(int)>& part) {
    std::string all;
    for (int number = 0; number < count; ++number) {
        all += part(number);
    }
    return all;
}

std::string Procedures(int count) {
    return ReplaceInManifest("<Update P", Repeat(count, [](int number) {
                                              return "<Procedure Id=\"" + std::to_string(number) +
                                                     "\"><DeviceReset/></Procedure>\n";
                                          }) + "<Update P");
}

std::string Steps(int count) {
    return ReplaceInManifest("<DeviceReset/>",
                             Repeat(count, [](int) { return "<DeviceReset/>\n"; }));
}

std::string Updates(int count) {
    return ReplaceInManifest(
        "</FirmwareUpdate>",
        Repeat(count, [](int) {
            return "<Update ProcedureId=\"p\"><Condition Feature=\"F\">x</Condition>"
                   "</Update>\n";
        }) + "</FirmwareUpdate>");
}

std::string Infos(int count) {
    return ReplaceInManifest("<Condition", Repeat(count, [](int number) {
                                               return "<Info Name=\"i" + std::to_string(number) +
                                                      "\"/>\n";
                                           }) + "<Condition");
}

std::string Conditions(int count) {
    return ReplaceInManifest("</Update>", Repeat(count, [](int) {
                                              return "<Condition Feature=\"F\">x</Condition>\n";
                                          }) + "</Update>");
}

std::string WithPattern(const std::string& pattern) {
    return ReplaceInManifest(">x<", ">" + pattern + "<");
}

}  // namespace

std::string PlainManifest() {
    return R"(<FirmwareUpdate SchemaMajorVersion="1" SchemaMinorVersion="0">
<Procedure Id="p">
<FileUpload Transport="TFTP"><FileName>a.dfw</FileName></FileUpload>
<FeatureAssert><FeatureName>F</FeatureName><AssertPattern>x</AssertPattern><Message>m</Message></FeatureAssert>
<FeatureWrite><FeatureName>F</FeatureName><Value>v</Value></FeatureWrite>
<DeviceReset/>
</Procedure>
<Update ProcedureId="p">
<Info Name="Version">1.0</Info>
<Condition Feature="DeviceModelName">X</Condition>
</Update>
</FirmwareUpdate>
)";
}

std::string ReplaceInManifest(const std::string& part, const std::string& replacement) {
    std::string text = PlainManifest();
    const std::size_t found = text.find(part);
    if (found == std::string::npos || text.find(part, found + 1) != std::string::npos) {
        ADD_FAILURE() << "not exactly once in the manifest: " << part;
        return text;
    }
    return text.replace(found, part.size(), replacement);
}

std::vector<ManifestCase> OverfullManifests() {
    return {
        {"TooManyProcedures", Procedures(64),
         "71: <Procedure> is not expected here: <FirmwareUpdate> holds 1 to 64 <Procedure>, then 1 "
         "to 256 <Update>"},
        {"TooManySteps", Steps(254),
         "259: <DeviceReset> is not expected here: <Procedure> holds 1 to 256 steps: <FileUpload>, "
         "<FeatureAssert>, <FeatureWrite>, <FeatureExecute>, <DeviceReset>"},
        {"TooManyUpdates", Updates(256),
         "267: <Update> is not expected here: <FirmwareUpdate> holds 1 to 64 <Procedure>, then 1 "
         "to 256 <Update>"},
        {"TooManyInfos", Infos(32),
         "41: <Info> is not expected here: <Update> holds up to 32 <Info>, then 1 to 32 "
         "<Condition>"},
        {"TooManyConditions", Conditions(32),
         "42: <Condition> is not expected here: <Update> holds up to 32 <Info>, then 1 to 32 "
         "<Condition>"},
    };
}

std::vector<ManifestCase> GoodManifests() {
    const auto with = ReplaceInManifest;
    return {
        {"Plain", PlainManifest(), ""},
        {"ByteOrderMark", "\xEF\xBB\xBF" + PlainManifest(), ""},
        {"Declaration",
         "<?xml version='1.0' encoding=\"utf-8\" standalone='yes'?>\n" + PlainManifest(), ""},
        {"CommentsAndInstructions",
         "<?editor x?><!-- a -->" + with("<DeviceReset/>", "<!----><?x?><DeviceReset/>"), ""},
        {"CommentWithinText", with(">a.dfw<", ">a<!-- . -->.dfw<"), ""},
        {"TextAsCdata", with(">m<", "><![CDATA[<a> & ]] > ]]>b<"), ""},
        {"References", with(">m<", ">&lt;&amp;&gt;&quot;&apos;&#65;&#x20ac;<"), ""},
        {"ReferencesWithLeadingZeros", with(">m<", ">&#x0000000000041;&#0000000000000000000065;<"),
         ""},
        {"SchemaHint",
         with("MinorVersion=\"0\"",
              "MinorVersion=\"0\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-"
              "instance\" xsi:noNamespaceSchemaLocation=\"FirmwareUpdate.xsd\""),
         ""},
        {"NamespaceDeclared", with("MinorVersion=\"0\"", "MinorVersion=\"0\" xmlns:x=\"urn:x\""),
         ""},
        {"SchemaInstanceInside",
         with("<DeviceReset/>",
              "<DeviceReset xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
              "xsi:type=\"DeviceReset\"/>"),
         ""},
        {"FieldsInAnyOrder",
         with("<FileName>a.dfw</FileName>",
              "<DeviceFileName>RemoteUpdateDfw</DeviceFileName><FileName>a.dfw</FileName>"
              "<Description>d</Description>"),
         ""},
        {"FeatureExecute",
         with("<DeviceReset/>", "<FeatureExecute><FeatureName>_F1</FeatureName></FeatureExecute>"),
         ""},
        {"DescriptionEmpty", with("<DeviceReset/>", "<DeviceReset><Description/></DeviceReset>"),
         ""},
        {"DescriptionInJapanese",
         with("<DeviceReset/>",
              "<DeviceReset><Description>\xE3\x82\xAB\xE3\x83\xA1\xE3\x83\xA9"
              "</Description></DeviceReset>"),
         ""},
        {"SpaceAroundTexts", with(">a.dfw<", ">\n  a.dfw\t<"), ""},
        {"FileNameWithSpaces", with(">a.dfw<", ">camera  3.1 (beta) [x]-~.dfw.<"), ""},
        {"FileNameAsLongAsAllowed", with(">a.dfw<", ">" + std::string(128, 'a') + "<"), ""},
        {"MessageAsLongAsAllowed", with(">m<", ">" + std::string(1024, 'm') + "<"), ""},
        {"IdAsLongAsAllowed",
         "" + with("<DeviceReset/>\n</Procedure>",
                   "<DeviceReset/>\n</Procedure>\n<Procedure Id=\"" + std::string(64, '~') +
                       "\"><DeviceReset/></Procedure>"),
         ""},
        {"ValueEmpty", with(">v<", "><"), ""},
        {"ValueOfSpaces", with(">v<", ">  <"), ""},
        {"AnotherTransport", with("\"TFTP\"", "'GenICam'"), ""},
        {"WithoutInfo", with("<Info Name=\"Version\">1.0</Info>\n", ""), ""},
        {"AsManyProceduresAsAllowed", Procedures(63), ""},
        {"AsManyStepsAsAllowed", Steps(253), ""},
        {"AsManyUpdatesAsAllowed", Updates(255), ""},
        {"AsManyInfosAsAllowed", Infos(31), ""},
        {"AsManyConditionsAsAllowed", Conditions(31), ""},
        {"PatternOfEverything",
         WithPattern(R"(^(?:a|\(|[^\]x\d-]{2,}?){0,3}(?=b)(?!c)(\w+)\1*\x41\u20AC\.\/$)"), ""},
        {"PatternNested", WithPattern("((((x)+)?)*){1000}"), ""},
        {"PatternEmptyAlternative", WithPattern("(|a|)"), ""},
        {"PatternAnyClass", WithPattern("[^]+[[-]"), ""},
        {"PatternWithAHighCount", WithPattern("x{65535}"), ""},
        {"PatternInJapanese", WithPattern("[\xE3\x82\xAB-\xE3\x83\xA9]\xE3\x83\xA1"), ""},
        {"PatternAsLongAsAllowed", WithPattern(std::string(512, 'x')), ""},
    };
}
