#include "DescriptionLocation.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

TEST(DescriptionLocationTest, TakesALocationApart) {
    DescriptionLocation location;
    ASSERT_TRUE(DescriptionLocation::Parse("Local:camera.zip;1C400;5A3c", location));
    EXPECT_EQ(location.fileName, "camera.zip");
    EXPECT_EQ(location.address, 0x1C400U);
    EXPECT_EQ(location.length, 0x5A3CU);
}

TEST(DescriptionLocationTest, AcceptsTheSpellingsOfRealDevices) {
    for (const std::string& url :
         {"local:a.xml;10;20"s, "LOCAL:a.xml;0x10;0X20"s, "Local:///a.xml;10;20"s,
          "Local:a.xml;10;20?SchemaVersion=1.1.0"s, "Local:a.xml;10;20\0rubbish;"s,
          "Local:a.xml;10;20 \r\n"s}) {
        DescriptionLocation location;
        ASSERT_TRUE(DescriptionLocation::Parse(url, location)) << url;
        EXPECT_EQ(location.fileName, "a.xml") << url;
        EXPECT_EQ(location.address, 0x10U) << url;
        EXPECT_EQ(location.length, 0x20U) << url;
    }
}

TEST(DescriptionLocationTest, RefusesWhatIsNoLocalFile) {
    for (const std::string& url :
         {""s, "Local"s, "Local:"s, "Local:a.xml"s, "Local:a.xml;10"s, "Local:a.xml;10;"s,
          "Local:a.xml;;20"s, "Local:a.xml;10;0"s, "Local:a.xml;10;20;30"s, "Local:a.xml;1G;20"s,
          "Local:a.xml;-1;20"s, "Local:a.xml;100000000;20"s, "Local:a.xml;10;7fffffff"s,
          "File:a.xml;10;20"s, "http://192.168.0.1/camera.xml"s, "\xFF\xFE"s}) {
        DescriptionLocation location{.fileName = "before"};
        EXPECT_FALSE(DescriptionLocation::Parse(url, location)) << url;
        EXPECT_EQ(location.fileName, "before") << url;
    }
}

}  // namespace
