#include "ManifestCases.h"

namespace {

std::string With(const std::string& part, const std::string& replacement) {
    return ReplaceInManifest(part, replacement);
}

}  // namespace

std::vector<ManifestCase> MalformedManifests() {
    return {
        {"WrongRoot", "<Firmware SchemaMajorVersion=\"1\" SchemaMinorVersion=\"0\"/>",
         "1: the root element must be <FirmwareUpdate> without a namespace, not <Firmware>"},
        {"RootInANamespace", With("<FirmwareUpdate S", "<FirmwareUpdate xmlns=\"urn:x\" S"),
         "1: the root element must be <FirmwareUpdate> without a namespace, not <FirmwareUpdate>"},
        {"RootEmpty", "<FirmwareUpdate SchemaMajorVersion=\"1\" SchemaMinorVersion=\"0\"/>",
         "1: <FirmwareUpdate> is incomplete: it holds 1 to 64 <Procedure>, then 1 to 256 <Update>"},
        {"MajorVersionMissing", With("SchemaMajorVersion=\"1\" ", ""),
         "1: Element 'FirmwareUpdate'"},
        {"MinorVersionMissing", With(" SchemaMinorVersion=\"0\"", ""),
         "1: Element 'FirmwareUpdate'"},
        {"MajorVersionTwo", With("MajorVersion=\"1\"", "MajorVersion=\"2\""),
         "1: \"SchemaMajorVersion\" of <FirmwareUpdate> is \"2\", but must be \"1\""},
        {"MinorVersionOne", With("MinorVersion=\"0\"", "MinorVersion=\"1\""),
         "1: \"SchemaMinorVersion\" of <FirmwareUpdate> is \"1\", but must be \"0\""},
        {"MajorVersionWithSpace", With("MajorVersion=\"1\"", "MajorVersion=\" 1\""),
         "1: \"SchemaMajorVersion\" of <FirmwareUpdate> is \" 1\", but must be \"1\""},
        {"RootAttributeUnknown", With("MinorVersion=\"0\"", "MinorVersion=\"0\" Author=\"me\""),
         "1: Element 'FirmwareUpdate', attribute 'Author'"},
        {"SchemaHintWithoutPrefix",
         With("MinorVersion=\"0\"", "MinorVersion=\"0\" xsi:noNamespaceSchemaLocation=\"a.xsd\""),
         "1:"},
        {"SchemaHintOfAnotherNamespace",
         With("MinorVersion=\"0\"",
              "MinorVersion=\"0\" xmlns:xsi=\"urn:x\" xsi:noNamespaceSchemaLocation=\"a.xsd\""),
         "1: Element 'FirmwareUpdate', attribute '{urn:x}noNamespaceSchemaLocation'"},
        {"ElementUnknownInRoot", With("<Update ", "<Package/>\n<Update "),
         "8: <Package> is not expected here: <FirmwareUpdate> holds 1 to 64 <Procedure>, then 1 to "
         "256 <Update>"},
        {"ElementInOtherCase", With("<DeviceReset/>", "<devicereset/>"),
         "6: <devicereset> is not expected here: <Procedure> holds 1 to 256 steps: <FileUpload>, "
         "<FeatureAssert>, <FeatureWrite>, <FeatureExecute>, <DeviceReset>"},
        {"TextInRoot", With("<Update P", "text\n<Update P"),
         "8: text is not allowed in <FirmwareUpdate>"},
        {"ProcedureMissing",
         "<FirmwareUpdate SchemaMajorVersion=\"1\" SchemaMinorVersion=\"0\">\n<Update "
         "ProcedureId=\"p\"><Condition Feature=\"F\">X</Condition></Update>\n</FirmwareUpdate>\n",
         "2: <Update> is not expected here: <FirmwareUpdate> holds 1 to 64 <Procedure>, then 1 to "
         "256 <Update>"},
        {"UpdateMissing",
         "<FirmwareUpdate SchemaMajorVersion=\"1\" SchemaMinorVersion=\"0\">\n  <Procedure "
         "Id=\"p\"><DeviceReset/></Procedure>\n</FirmwareUpdate>\n",
         "1: <FirmwareUpdate> is incomplete: it holds 1 to 64 <Procedure>, then 1 to 256 <Update>"},
        {"ProcedureAfterUpdate",
         With("</FirmwareUpdate>",
              "<Procedure Id=\"q\"><DeviceReset/></Procedure></FirmwareUpdate>"),
         "12: <Procedure> is not expected here: <FirmwareUpdate> holds 1 to 64 <Procedure>, then 1 "
         "to 256 <Update>"},
        {"ProcedureWithoutId", With("<Procedure Id=\"p\">", "<Procedure>"),
         "2: Element 'Procedure'"},
        {"ProcedureIdEmpty", With("Id=\"p\">\n<F", "Id=\"\">\n<F"),
         "2: \"Id\" of <Procedure> is \"\", but must be 1 to 64 printable ASCII characters without "
         "spaces around them"},
        {"ProcedureIdWithSpaceAround", With("Id=\"p\">\n<F", "Id=\" p\">\n<F"),
         "2: \"Id\" of <Procedure> is \" p\", but must be 1 to 64 printable ASCII characters "
         "without spaces around them"},
        {"ProcedureIdTooLong", With("Id=\"p\">\n<F", "Id=\"" + std::string(65, 'p') + "\">\n<F"),
         "2: \"Id\" of <Procedure> is "
         "\"pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp...\", but must be 1 to 64 "
         "printable ASCII characters without spaces around them"},
        {"ProcedureIdTwice",
         With("<Update P", "<Procedure Id=\"p\"><DeviceReset/></Procedure>\n<Update P"),
         "8: duplicate procedure id \"p\" (first defined on line 2)"},
        {"ProcedureAttributeUnknown", With("Id=\"p\">\n<F", "Id=\"p\" Name=\"x\">\n<F"),
         "2: Element 'Procedure', attribute 'Name'"},
        {"ProcedureEmpty", With("<Update P", "<Procedure Id=\"q\"></Procedure>\n<Update P"),
         "8: <Procedure> is incomplete: it holds 1 to 256 steps: <FileUpload>, <FeatureAssert>, "
         "<FeatureWrite>, <FeatureExecute>, <DeviceReset>"},
        {"ProcedureWithText", With("<DeviceReset/>", "reset"),
         "6: text is not allowed in <Procedure>"},
        {"CdataBetweenElements", With("<DeviceReset/>", "<DeviceReset/><![CDATA[ ]]>"),
         "6: text is not allowed in <Procedure>"},
        {"StepUnknown", With("<DeviceReset/>", "<DeviceReboot/>"),
         "6: <DeviceReboot> is not expected here: <Procedure> holds 1 to 256 steps: <FileUpload>, "
         "<FeatureAssert>, <FeatureWrite>, <FeatureExecute>, <DeviceReset>"},
        {"StepInUpdate", With("<Info Name", "<DeviceReset/><Info Name"),
         "9: <DeviceReset> is not expected here: <Update> holds up to 32 <Info>, then 1 to 32 "
         "<Condition>"},
        {"TransportMissing", With(" Transport=\"TFTP\"", ""), "3: Element 'FileUpload'"},
        {"TransportEmpty", With("Transport=\"TFTP\"", "Transport=\"\""),
         "3: \"Transport\" of <FileUpload> is \"\", but must be 1 to 32 letters, digits, \"_\", "
         "\".\" and \"-\""},
        {"TransportWithSpace", With("Transport=\"TFTP\"", "Transport=\"TF TP\""),
         "3: \"Transport\" of <FileUpload> is \"TF TP\", but must be 1 to 32 letters, digits, "
         "\"_\", \".\" and \"-\""},
        {"TransportTooLong",
         With("Transport=\"TFTP\"", "Transport=\"" + std::string(33, 'T') + "\""),
         "3: \"Transport\" of <FileUpload> is \"TTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTT\", but must be 1 "
         "to 32 letters, digits, \"_\", \".\" and \"-\""},
        {"FileNameMissing", With("<FileName>a.dfw</FileName>", ""),
         "3: <FileUpload> is incomplete: it holds <FileName>, and optionally <DeviceFileName> and "
         "<Description>"},
        {"FileNameTwice",
         With("<FileName>a.dfw</FileName>", "<FileName>a.dfw</FileName><FileName>b.dfw</FileName>"),
         "3: <FileName> is not expected here: <FileUpload> holds <FileName>, and optionally "
         "<DeviceFileName> and <Description>"},
        {"FileNameEmpty", With(">a.dfw<", "><"),
         "3: <FileName> is \"\", but must be 1 to 128 printable ASCII characters without slash, "
         "backslash or \"..\", and not begin with a dot"},
        {"FileNameOfSpaces", With(">a.dfw<", ">  <"),
         "3: <FileName> is \"  \", but must be 1 to 128 printable ASCII characters without slash, "
         "backslash or \"..\", and not begin with a dot"},
        {"FileNameWithSlash", With(">a.dfw<", ">fw/a.dfw<"),
         "3: <FileName> is \"fw/a.dfw\", but must be 1 to 128 printable ASCII characters without "
         "slash, backslash or \"..\", and not begin with a dot"},
        {"FileNameAbsolute", With(">a.dfw<", ">/etc/passwd<"),
         "3: <FileName> is \"/etc/passwd\", but must be 1 to 128 printable ASCII characters "
         "without slash, backslash or \"..\", and not begin with a dot"},
        {"FileNameWithBackslash", With(">a.dfw<", ">fw\\a.dfw<"),
         "3: <FileName> is \"fw\\a.dfw\", but must be 1 to 128 printable ASCII characters without "
         "slash, backslash or \"..\", and not begin with a dot"},
        {"FileNameWithTwoDots", With(">a.dfw<", ">a..dfw<"),
         "3: <FileName> is \"a..dfw\", but must be 1 to 128 printable ASCII characters without "
         "slash, backslash or \"..\", and not begin with a dot"},
        {"FileNameParentFolder", With(">a.dfw<", ">..<"),
         "3: <FileName> is \"..\", but must be 1 to 128 printable ASCII characters without slash, "
         "backslash or \"..\", and not begin with a dot"},
        {"FileNameHidden", With(">a.dfw<", ">.a.dfw<"),
         "3: <FileName> is \".a.dfw\", but must be 1 to 128 printable ASCII characters without "
         "slash, backslash or \"..\", and not begin with a dot"},
        {"FileNameWithSlashAsReference", With(">a.dfw<", ">fw&#47;a.dfw<"),
         "3: <FileName> is \"fw/a.dfw\", but must be 1 to 128 printable ASCII characters without "
         "slash, backslash or \"..\", and not begin with a dot"},
        {"FileNameNotAscii", With(">a.dfw<", ">\xc3\xa4.dfw<"),
         "3: <FileName> is \"ä.dfw\", but must be 1 to 128 printable ASCII characters without "
         "slash, backslash or \"..\", and not begin with a dot"},
        {"FileNameTooLong", With(">a.dfw<", ">" + std::string(129, 'a') + "<"),
         "3: <FileName> is \"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa...\", "
         "but must be 1 to 128 printable ASCII characters without slash, backslash or \"..\", and "
         "not begin with a dot"},
        {"FileNameWithElement", With(">a.dfw<", "><b>a.dfw</b><"), "3: Element 'FileName'"},
        {"FileNameWithAttribute", With("<FileName>", "<FileName x=\"1\">"),
         "3: Element 'FileName', attribute 'x'"},
        {"DeviceFileNameEmpty", With("</FileName>", "</FileName><DeviceFileName/>"),
         "3: <DeviceFileName> is \"\", but must be 1 to 128 printable ASCII characters"},
        {"DeviceFileNameTwice",
         With("</FileName>",
              "</FileName><DeviceFileName>a</DeviceFileName><DeviceFileName>a</DeviceFileName>"),
         "3: <DeviceFileName> is not expected here: <FileUpload> holds <FileName>, and optionally "
         "<DeviceFileName> and <Description>"},
        {"DescriptionTwice",
         With("<DeviceReset/>", "<DeviceReset><Description/><Description/></DeviceReset>"),
         "6: <Description> is not expected here: <DeviceReset> holds at most a <Description>"},
        {"DescriptionTooLong",
         With("<DeviceReset/>", "<DeviceReset><Description>" + std::string(1025, 'd') +
                                    "</Description></DeviceReset>"),
         "6: <Description> is \"dddddddddddddddddddddddddddddddddddddddddddddddddddddddddddd...\", "
         "but must be at most 1024 characters, no control characters"},
        {"DescriptionInProcedure", With("<DeviceReset/>", "<Description>d</Description>"),
         "6: <Description> is not expected here: <Procedure> holds 1 to 256 steps: <FileUpload>, "
         "<FeatureAssert>, <FeatureWrite>, <FeatureExecute>, <DeviceReset>"},
        {"DeviceResetWithText", With("<DeviceReset/>", "<DeviceReset>now</DeviceReset>"),
         "6: text is not allowed in <DeviceReset>"},
        {"DeviceResetWithAttribute", With("<DeviceReset/>", "<DeviceReset Delay=\"1\"/>"),
         "6: Element 'DeviceReset', attribute 'Delay'"},
        {"FeatureNameMissing", With("<FeatureWrite><FeatureName>F</FeatureName>", "<FeatureWrite>"),
         "5: <FeatureWrite> is incomplete: it holds <FeatureName>, <Value>, and optionally "
         "<Description>"},
        {"FeatureNameOfAnotherStep",
         With("<DeviceReset/>", "<DeviceReset><FeatureName>F</FeatureName></DeviceReset>"),
         "6: <FeatureName> is not expected here: <DeviceReset> holds at most a <Description>"},
        {"FeatureNameWithDot",
         With("<FeatureWrite><FeatureName>F<", "<FeatureWrite><FeatureName>F.G<"),
         "5: <FeatureName> is \"F.G\", but must be 1 to 128 letters, digits and underscores, and "
         "not begin with a digit"},
        {"FeatureNameWithLeadingDigit",
         With("<FeatureWrite><FeatureName>F<", "<FeatureWrite><FeatureName>1F<"),
         "5: <FeatureName> is \"1F\", but must be 1 to 128 letters, digits and underscores, and "
         "not begin with a digit"},
        {"FeatureNameTooLong",
         With("<FeatureWrite><FeatureName>F<",
              "<FeatureWrite><FeatureName>" + std::string(129, 'F') + "<"),
         "5: <FeatureName> is \"FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF...\", "
         "but must be 1 to 128 letters, digits and underscores, and not begin with a digit"},
        {"ValueMissing", With("<Value>v</Value>", ""),
         "5: <FeatureWrite> is incomplete: it holds <FeatureName>, <Value>, and optionally "
         "<Description>"},
        {"ValueWithLineFeed", With(">v<", ">v\n<"),
         "5: <Value> is \"v?\", but must be at most 1024 characters, no control characters or line "
         "ends"},
        {"ValueTooLong", With(">v<", ">" + std::string(1025, 'v') + "<"),
         "5: <Value> is \"vvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvv...\", but "
         "must be at most 1024 characters, no control characters or line ends"},
        {"FeatureExecuteEmpty", With("<DeviceReset/>", "<FeatureExecute/>"),
         "6: <FeatureExecute> is incomplete: it holds <FeatureName>, and optionally <Description>"},
        {"FeatureExecuteWithValue",
         With("<DeviceReset/>",
              "<FeatureExecute><FeatureName>F</FeatureName><Value>1</Value></FeatureExecute>"),
         "6: <Value> is not expected here: <FeatureExecute> holds <FeatureName>, and optionally "
         "<Description>"},
        {"AssertWithoutPattern", With("<AssertPattern>x</AssertPattern>", ""),
         "4: <FeatureAssert> is incomplete: it holds <FeatureName>, <AssertPattern>, <Message>, "
         "and optionally <Description>"},
        {"AssertWithoutMessage", With("<Message>m</Message>", ""),
         "4: <FeatureAssert> is incomplete: it holds <FeatureName>, <AssertPattern>, <Message>, "
         "and optionally <Description>"},
        {"MessageEmpty", With(">m<", "> <"),
         "4: <Message> is \" \", but must be 1 to 1024 characters, no control characters"},
        {"MessageTooLong", With(">m<", ">" + std::string(1025, 'm') + "<"),
         "4: <Message> is \"mmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmm...\", but "
         "must be 1 to 1024 characters, no control characters"},
        {"MessageWithTerminalControl",
         With(">m<",
              ">m\xc2\x9b"
              "2J<"),
         "4: <Message> is \"m?2J\", but must be 1 to 1024 characters, no control characters"},
        {"PatternTooLong", With(">x<", ">" + std::string(513, 'x') + "<"),
         "4: <AssertPattern> is "
         "\"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...\", but must be 1 to "
         "512 characters, no control characters"},
        {"PatternOfSpaces", With(">x<", ">   <"),
         "4: <AssertPattern> is \"   \", but must be 1 to 512 characters, no control characters"},
        {"UpdateOfNoProcedure", With("ProcedureId=\"p\"", "ProcedureId=\"q\""),
         "8: unknown procedure id \"q\""},
        {"UpdateWithoutProcedureId", With(" ProcedureId=\"p\"", ""), "8: Element 'Update'"},
        {"UpdateWithoutCondition",
         With("<Condition Feature=\"DeviceModelName\">X</Condition>\n", ""),
         "8: <Update> is incomplete: it holds up to 32 <Info>, then 1 to 32 <Condition>"},
        {"UpdateWithText", With("<Info Name", "Version 1 <Info Name"),
         "9: text is not allowed in <Update>"},
        {"InfoAfterCondition", With("</Update>", "<Info Name=\"Description\">d</Info></Update>"),
         "11: <Info> is not expected here: <Update> holds up to 32 <Info>, then 1 to 32 "
         "<Condition>"},
        {"InfoWithoutName", With(" Name=\"Version\"", ""), "9: Element 'Info'"},
        {"InfoNameWithSpace", With("Name=\"Version\"", "Name=\"Release date\""),
         "9: \"Name\" of <Info> is \"Release date\", but must be 1 to 64 letters, digits, \"_\", "
         "\".\" and \"-\", and begin with a letter"},
        {"InfoTwice", With("<Condition", "<Info Name=\"Version\">2</Info>\n<Condition"),
         "10: duplicate info \"Version\" (first defined on line 9)"},
        {"InfoWithElement", With(">1.0<", "><b/><"), "9: Element 'Info'"},
        {"ConditionWithoutFeature", With(" Feature=\"DeviceModelName\"", ""),
         "10: Element 'Condition'"},
        {"ConditionFeatureEmpty", With("Feature=\"DeviceModelName\"", "Feature=\" \""),
         "10: \"Feature\" of <Condition> is \" \", but must be 1 to 128 letters, digits and "
         "underscores, and not begin with a digit"},
        {"ConditionEmpty", With(">X<", "><"),
         "10: <Condition> is \"\", but must be 1 to 512 characters, no control characters"},
        {"ConditionWithElement", With(">X<", ">X<or/>Y<"), "10: Element 'Condition'"},
    };
}
