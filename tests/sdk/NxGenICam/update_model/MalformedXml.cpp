#include "ManifestCases.h"

namespace {

std::string With(const std::string& part, const std::string& replacement) {
    return ReplaceInManifest(part, replacement);
}

}  // namespace

std::vector<ManifestCase> MalformedXml() {
    return {
        {"EmptyText", "",
         "1: it is empty, missing from the package, or cannot be unpacked (damaged, "
         "encrypted, or /tmp is full)"},
        {"OnlySpaces", "  \n \n", "3:"},
        {"PlainText", "firmware", "1:"},
        {"OnlyAComment", "<!-- nothing -->", "1:"},
        {"NotUtf8", With(">a.dfw<", ">a\xff.dfw<"), "3:"},
        {"OverlongUtf8", With(">m<", ">\xc0\xafm<"), "4:"},
        {"SurrogateInUtf8", With(">m<", ">\xed\xa0\x80<"), "4:"},
        {"Utf16", std::string("\xff\xfe\x3c\x00F\x00", 6),
         "1: the character U+0000 is not allowed"},
        {"ControlCharacter", With(">m<", ">m\x01<"), "4:"},
        {"NotACharacter", With(">m<", ">\xef\xbf\xbe<"), "4:"},
        {"TruncatedInATag", With("</Update>\n</FirmwareUpdate>\n", "</Upd"), "11:"},
        {"TruncatedAfterAnElement", With("</Update>\n</FirmwareUpdate>\n", "</Update>\n"), "12:"},
        {"TruncatedInAnAttribute",
         With("=\"DeviceModelName\">X</Condition>\n</Update>\n</FirmwareUpdate>\n", "=\"DeviceMod"),
         "10:"},
        {"EndTagOfAnother", With("</FileName>", "</Filename>"), "3:"},
        {"EndTagTooMany", With("</FirmwareUpdate>\n", "</FirmwareUpdate>\n</FirmwareUpdate>\n"),
         "13:"},
        {"EndTagWithAttribute", With("</Update>", "</Update x=\"1\">"), "11:"},
        {"SecondRoot", With("</FirmwareUpdate>\n", "</FirmwareUpdate>\n<FirmwareUpdate/>\n"),
         "13:"},
        {"TextBeforeTheRoot", With("<FirmwareUpdate S", "x<FirmwareUpdate S"), "1:"},
        {"TextAfterTheRoot", With("</FirmwareUpdate>\n", "</FirmwareUpdate>\nend\n"), "13:"},
        {"CdataAfterTheRoot", With("</FirmwareUpdate>\n", "</FirmwareUpdate>\n<![CDATA[ ]]>"),
         "13:"},
        {"LessThanInText", With(">m<", ">a < b<"), "4:"},
        {"AmpersandInText", With(">m<", ">a & b<"), "4:"},
        {"UnknownEntity", With(">m<", ">&nbsp;<"), "4:"},
        {"ReferenceToNoCharacter", With(">m<", ">&#1;<"), "4:"},
        {"ReferenceToNoCharacterWithLeadingZeros", With(">m<", ">&#x0000000000000001;<"), "4:"},
        {"ReferenceBeyondUnicode", With(">m<", ">&#x110000;<"), "4:"},
        {"ReferenceNotClosed", With(">m<", ">&amp m<"), "4:"},
        {"CdataEndInText", With(">m<", ">]]><"), "4:"},
        {"CdataNotClosed", With(">m<", "><![CDATA[m<"), "13:"},
        {"CommentNotClosed", With("<DeviceReset/>", "<!-- <DeviceReset/>"), "13:"},
        {"CommentWithTwoDashes", With("<DeviceReset/>", "<!-- a -- b --><DeviceReset/>"), "6:"},
        {"InstructionNotClosed", With("<DeviceReset/>", "<?editor <DeviceReset/>"), "13:"},
        {"InstructionWithoutName", With("<DeviceReset/>", "<? editor?><DeviceReset/>"), "6:"},
        {"DeclarationNotFirst",
         With("<FirmwareUpdate S", "\n<?xml version=\"1.0\"?><FirmwareUpdate S"), "2:"},
        {"DeclarationWithoutVersion",
         With("<FirmwareUpdate S", "<?xml encoding=\"UTF-8\"?><FirmwareUpdate S"), "1:"},
        {"DeclarationNotClosed",
         With("<FirmwareUpdate S", "<?xml version=\"1.0\"><FirmwareUpdate S"), "1:"},
        {"DeclarationStandaloneMaybe",
         With("<FirmwareUpdate S", "<?xml version=\"1.0\" standalone=\"maybe\"?><FirmwareUpdate S"),
         "1:"},
        {"EncodingUnknown",
         With("<FirmwareUpdate S", "<?xml version=\"1.0\" encoding=\"X-NONE\"?><FirmwareUpdate S"),
         "1:"},
        {"AttributeTwice", With("Id=\"p\">\n<File", "Id=\"p\" Id=\"q\">\n<File"), "2:"},
        {"AttributeWithoutQuotes", With("Transport=\"TFTP\"", "Transport=TFTP"), "3:"},
        {"AttributeWithoutValue", With("Transport=\"TFTP\"", "Transport"), "3:"},
        {"AttributesWithoutSpace", With("\"1\" SchemaMinor", "\"1\"SchemaMinor"), "1:"},
        {"AttributeNameOfDigits", With("Transport=\"TFTP\"", "1=\"TFTP\""), "3:"},
        {"AttributeWithLessThan", With("Transport=\"TFTP\"", "Transport=\"<\""), "3:"},
        {"ElementNameOfDigits", With("<DeviceReset/>", "<1/>"), "6:"},
        {"EntityDeclaration", With("<DeviceReset/>", "<!ENTITY a \"b\"><DeviceReset/>"), "6:"},
    };
}
