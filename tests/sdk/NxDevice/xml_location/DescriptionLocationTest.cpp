#include "xml_location/DescriptionLocation.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

TEST(DescriptionLocationTest, TakesALocationApart) {
    DescriptionLocation location;
    ASSERT_EQ(DescriptionLocation::Parse("Local:camera.zip;1C400;5A3c", location), "");
    EXPECT_EQ(location.fileName, "camera.zip");
    EXPECT_EQ(location.address, 0x1C400U);
    EXPECT_EQ(location.length, 0x5A3CU);
}

TEST(DescriptionLocationTest, AcceptsTheSpellingsOfRealDevices) {
    for (const std::string& url :
         {"local:a.xml;10;20"s, "LOCAL:a.xml;0x10;0X20"s, "Local:///a.xml;10;20"s,
          "Local:a.xml;10;20?SchemaVersion=1.1.0"s, "Local:a.xml;10;20\0rubbish;"s,
          "Local: a.xml; 00000010; 0020"s, " local : a.xml ;\t10 ; 20 ?SchemaVersion=1.1.0"s,
          "Local:a.xml;000000000010;0x0000000000020\r\n?x;y"s, "Local:a.xml;10;20 \r\n"s}) {
        DescriptionLocation location;
        ASSERT_EQ(DescriptionLocation::Parse(url, location), "") << url;
        EXPECT_EQ(location.fileName, "a.xml") << url;
        EXPECT_EQ(location.address, 0x10U) << url;
        EXPECT_EQ(location.length, 0x20U) << url;
    }
}

TEST(DescriptionLocationTest, AcceptsFoldersAndBlanksInTheName) {
    for (const std::string& name : {"folder/My Camera v1?.zip"s, "C:\\XML\\a b.xml"s, ""s}) {
        DescriptionLocation location;
        ASSERT_EQ(DescriptionLocation::Parse("Local:" + name + ";10;20", location), "") << name;
        EXPECT_EQ(location.fileName, name);
        EXPECT_EQ(location.length, 0x20U);
    }
}

TEST(DescriptionLocationTest, RefusesWhatIsNoLocalFile) {
    for (const std::string& url :
         {""s, "Local"s, "Local:"s, "Local:a.xml"s, "Local:a.xml;10"s, "Local:a.xml;10;"s,
          "Local:a.xml;;20"s, "Local:a.xml;10;0"s, "Local:a.xml;10;20;30"s, "Local:a.xml;1G;20"s,
          "Local:a.xml;-1;20"s, "Local:a.xml;100000000;20"s, "Local:a.xml;10;7fffffff"s,
          "File:a.xml;10;20"s, "http://192.168.0.1/camera.xml"s, "\xFF\xFE"s}) {
        DescriptionLocation location{.fileName = "before"};
        EXPECT_NE(DescriptionLocation::Parse(url, location), "") << url;
        EXPECT_EQ(location.fileName, "before") << url;
    }
}

TEST(DescriptionLocationTest, SaysWhatIsWrong) {
    const auto problem = [](const std::string& url) {
        DescriptionLocation location;
        return DescriptionLocation::Parse(url, location);
    };
    EXPECT_EQ(problem(""), "it is empty");
    EXPECT_EQ(problem("http://192.168.0.1/a.xml"), "it does not begin with \"Local:\"");
    EXPECT_EQ(problem("Local:a.xml"), "it has no address");
    EXPECT_EQ(problem("Local:a.xml;10"), "it has no length");
    EXPECT_EQ(problem("Local:a.xml;1G;20"), "its address is not a hexadecimal number");
    EXPECT_EQ(problem("Local:a.xml;100000000;20"), "its address does not fit into 32 bits");
    EXPECT_EQ(problem("Local:a.xml;10;0"), "its length is 0");
    EXPECT_EQ(problem("Local:a.xml;10;1000001"), "its length is more than 16 MiB");
}

}  // namespace
