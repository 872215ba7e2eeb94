#include "QuivenctlRunner.h"

#include <gtest/gtest.h>

namespace {

// The quirks themselves are covered at the library level; here the contract is
// one JSON array per input line, in order, including a last line without newline.
TEST(QuivenctlTokenize, OneArrayPerInputLine)
{
    const QuivenctlRun run =
        runQuivenctl({"tokenize"}, "allow path \"/a b/c\" \"any\" r\n\n\"x \" \"y\"\nümlaut \"ø ß\"");
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, QByteArray("[\"allow\",\"path\",\"/a b/c\",\"any\",\"r\"]\n[]\n[\"\",\"x y\"]\n"
                                  "[\"ümlaut\",\"ø ß\"]\n"));

    const QuivenctlRun empty = runQuivenctl({"tokenize"});
    EXPECT_EQ(empty.exitCode, 0);
    EXPECT_TRUE(empty.out.isEmpty());
    EXPECT_EQ(runQuivenctl({"tokenize", "file.rc"}).exitCode, 2);
}

} // namespace
