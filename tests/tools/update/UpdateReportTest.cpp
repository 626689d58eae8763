// mirsko-update --json and --log, read by someone who knows only the documented schema.
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>

#include "CameraGroup.h"
#include "JsonSchema.h"

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

class UpdateReportTest : public CameraGroup {
  protected:
    /// The objects printed; a test failure for each that the schema does not allow.
    std::vector<json> Objects(const ProcessResult& result) {
        std::vector<json> objects;
        std::istringstream lines(result.out);
        for (std::string line; std::getline(lines, line);) {
            objects.push_back(json::parse(line, nullptr, false));
            EXPECT_EQ(SchemaProblem(mSchema, objects.back()), "") << line;
        }
        return objects;
    }

    const json mSchema =
        json::parse(ReadFile(MIRSKO_SOURCE_FOLDER "/docs/schemas/mirsko-update.schema.json"));
};

TEST_F(UpdateReportTest, PrintsAnObjectPerCameraAndASummaryThatKeepToTheSchema) {
    Add({"--no-tftp"});
    Add({"--profile", "loader", "--fail-flash"});
    Add({"--no-tftp", "--firmware-version", "2.1", "--vendor", "Ma\"ker"});
    const std::string file = Payload("not UTF-8 \xff.dfw");
    for (const bool isDry : {true, false}) {
        const ProcessResult result =
            Update(isDry ? std::vector<std::string>{"--json", "--all", "--dry-run", file}
                         : std::vector<std::string>{"--json", "--all", file});
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.exitStatus, isDry ? 0 : 1);
        std::vector<json> objects = Objects(result);
        ASSERT_EQ(objects.size(), 4U) << result.out;
        const json summary = objects.back();
        EXPECT_EQ(summary["type"], "summary");
        EXPECT_EQ(summary["status"], result.exitStatus);
        EXPECT_EQ(summary["dryRun"], isDry);
        EXPECT_EQ(summary["outcomes"], isDry
                                           ? json({{"needed", 2}, {"current", 1}})
                                           : json({{"updated", 1}, {"failed", 1}, {"current", 1}}));
        objects.pop_back();
        std::sort(objects.begin(), objects.end(),
                  [](const json& a, const json& b) { return a["serial"] < b["serial"]; });
        EXPECT_EQ(objects[0]["versionAfter"], isDry ? "1.0" : "2.1");
        EXPECT_EQ(objects[1]["transport"], "TFTP");
        EXPECT_EQ(objects[1]["outcome"], isDry ? "needed" : "failed");
        EXPECT_EQ(objects[2]["reason"], "runs 2.1 already");
    }
}

TEST_F(UpdateReportTest, PrintsNothingButJsonWhereNothingIsDone) {
    const ProcessResult result = Update({"--json", "--all", Payload("fw.dfw")});
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("no camera found"));
    EXPECT_EQ(result.exitStatus, 3);
}

TEST_F(UpdateReportTest, AppendsEveryLineToALogWithTheTime) {
    Add({"--no-tftp"});
    const std::string log = mFolder.Write("log", "earlier\n");
    const std::string file = Payload("fw.dfw");
    EXPECT_EQ(Update({"--all", "--log", log, file}).exitStatus, 0);
    EXPECT_EQ(Update({"--all", "--json", "--log", log, file}).exitStatus, 2);
    std::vector<std::string> said;
    std::istringstream lines(ReadFile(log));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t blank = line.find(' ');
        EXPECT_TRUE(said.empty() || line.find('T') == std::string("2000-01-01").size()) << line;
        said.push_back(line.substr(blank + 1));
    }
    const std::string name = NameOf(1) + ": ";
    EXPECT_THAT(
        said,
        ElementsAre("earlier", name + "asking", name + "writing 2.1 by GenICam file access",
                    name + "validating", name + "resetting", name + "waiting until it is back",
                    HasSubstr("updated from 1.0 to 2.1"), "1 updated", name + "asking",
                    name + "nothing to do: runs 2.1 already", "1 current"));
}

TEST_F(UpdateReportTest, DoesNothingWithoutTheLogThatItWasAskedFor) {
    Add({"--no-tftp"});
    const ProcessResult result =
        Update({"--all", "--log", mFolder.Path() / "no folder" / "log", Payload("fw.dfw")});
    EXPECT_THAT(result.err, HasSubstr("Cannot write to "));
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_TRUE(IsUntouched(1));
}

TEST_F(UpdateReportTest, GoesOnWhenNobodyReadsIt) {
    Add({"--no-tftp"});
    const ProcessResult result = Process::Run(
        {"sh", "-c", Program("mirsko-update") + " --all " + Payload("fw.dfw") + " | true"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(WaitUntil([this] { return IsUpdated(1); }));
}

TEST(JsonSchemaTest, FindsWhatAValueBreaks) {
    const json schema = json::parse(R"({"oneOf": [
        {"type": "object", "required": ["a"], "properties": {"a": {"enum": [1, 2]}},
         "additionalProperties": {"type": "string"}},
        {"type": "integer", "minimum": 3}]})");
    for (const char* const good : {R"({"a": 1})", R"({"a": 2, "b": "c"})", "3"}) {
        EXPECT_EQ(SchemaProblem(schema, json::parse(good)), "") << good;
    }
    for (const char* const bad : {R"({})", R"({"a": 3})", R"({"a": 2, "b": 1})", "2", "3.5"}) {
        EXPECT_NE(SchemaProblem(schema, json::parse(bad)), "") << bad;
    }
    EXPECT_NE(SchemaProblem(json{{"pattern", "a"}}, "a"), "");
}
