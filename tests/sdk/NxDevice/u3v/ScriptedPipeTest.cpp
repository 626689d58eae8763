#include "ScriptedPipe.h"

#include <gtest/gtest-spi.h>

TEST(ScriptedPipeTest, AnAnswerLeftOverFailsTheTestAtItsLine) {
    testing::TestPartResultArray failures;
    int line = 0;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(&failures);
        ScriptedPipe::Log log;
        line = StepPlace::Current().Line() + 1;
        log.answers = {ScriptedPipe::WriteAck(4)};
    }
    ASSERT_EQ(failures.size(), 1);
    EXPECT_EQ(failures.GetTestPartResult(0).line_number(), line);
    EXPECT_STREQ(failures.GetTestPartResult(0).file_name(), __FILE__);
}
