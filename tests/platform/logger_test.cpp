#include <foundation/log/basic_diagnostic_logger.hpp>

#include <gtest/gtest.h>

namespace {

using foundation::log::basic_diagnostic_logger;
using foundation::log::RecordCapture;

TEST(DiagnosticLogger, WritesOnlyEnabledLevelsOnItsChannel) {
    basic_diagnostic_logger logger("test::a", 16);
    basic_diagnostic_logger other("test::b", 16 | 32);
    RecordCapture capture("test::a");
    logger.write(16, "kept");
    logger.write(32, "trace, not enabled");
    other.write(16, "other channel");
    logger.setEnabledLevels(16 | 32);
    EXPECT_TRUE(logger.isEnabled(32));
    EXPECT_FALSE(logger.isEnabled(64));
    logger.write(32, "trace");

    const auto records = capture.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].message, "kept");
    EXPECT_EQ(records[0].level, 16u);
    EXPECT_EQ(records[1].message, "trace");
    EXPECT_EQ(records[1].channel, "test::a");
}

} // namespace
