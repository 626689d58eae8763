#include "ScriptedPipe.h"

#include <gtest/gtest-spi.h>

TEST(ScriptedPipeTest, AnAnswerLeftOverFailsTheTestAtItsLine) {
    testing::TestPartResultArray failures;
    unsigned int line = 0;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(&failures);
        ScriptedPipe::Log log;
        line = StepPlace::current().line() + 1;
        log.answers = {ScriptedPipe::WriteAck(4)};
    }
    ASSERT_EQ(failures.size(), 1);
    EXPECT_EQ(failures.GetTestPartResult(0).line_number(), static_cast<int>(line));
    EXPECT_STREQ(failures.GetTestPartResult(0).file_name(), __FILE__);
}
