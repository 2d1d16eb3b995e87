#include <vexa/io/filesystem/core/log.hpp>

#include "HostState.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace {

namespace log = vexa::io::filesystem::core::log;
using foundation::log::RecordCapture;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using vexa::testing::ScopedLogLevels;

void inner(bool fail) {
    const log::TraceScope trace("void inner(bool)", "inner.cpp", 7);
    if (fail)
        throw std::runtime_error("inner failed");
}

void outer() {
    const log::TraceScope trace("void outer()", "outer.cpp", 11);
    try {
        inner(true);
    } catch (const std::runtime_error&) {
    }
    inner(false);
}

std::vector<std::string> messages(const RecordCapture& capture) {
    std::vector<std::string> texts;
    for (const auto& record : capture.records()) {
        EXPECT_EQ(record.channel, "vexa::io::filesystem");
        EXPECT_EQ(record.level, log::traceLevel);
        texts.push_back(record.message);
    }
    return texts;
}

TEST(TraceScope, ExitByExceptionIsMarkedOnlyWhereTheExceptionPasses) {
    RecordCapture capture("vexa::io::filesystem");
    const ScopedLogLevels levels(log::traceLevel);
    outer();
    const auto texts = messages(capture);
    ASSERT_EQ(texts.size(), 6u);
    EXPECT_THAT(texts[0], HasSubstr("void outer()"));
    EXPECT_THAT(texts[0], HasSubstr("outer.cpp:11"));
    EXPECT_THAT(texts[1], HasSubstr("void inner(bool)"));
    EXPECT_THAT(texts[2], EndsWith("void inner(bool) [throw]"));
    EXPECT_THAT(texts[4], EndsWith("void inner(bool)"));
    EXPECT_THAT(texts[5], EndsWith("void outer()"));
    // Nested records are indented one step deeper than their caller's.
    EXPECT_EQ(texts[1].find('>'), texts[0].find('>') + 2);
    EXPECT_EQ(log::traceDepth(), 0);
}

TEST(TraceScope, ExitRecordOnlyWhenEntryWasWritten) {
    RecordCapture capture("vexa::io::filesystem");
    {
        const ScopedLogLevels off(0);
        const log::TraceScope trace("void f()", "f.cpp", 1);
        log::getLogger().setEnabledLevels(log::traceLevel); // switched on inside the scope
    }
    EXPECT_TRUE(capture.records().empty());
    EXPECT_EQ(log::traceDepth(), 0);
}

TEST(TraceScope, ThrowInsideAnUnwindingDestructorIsStillMarked) {
    // Unwinding already in progress at entry does not count as leaving by exception; an
    // exception that leaves the scope while it runs still does.
    struct Guard {
        ~Guard() {
            try {
                inner(true);
            } catch (const std::runtime_error&) {
            }
            inner(false);
        }
    };
    RecordCapture capture("vexa::io::filesystem");
    const ScopedLogLevels levels(log::traceLevel);
    try {
        Guard guard;
        throw std::runtime_error("x");
    } catch (const std::runtime_error&) {
    }
    const auto texts = messages(capture);
    ASSERT_EQ(texts.size(), 4u);
    EXPECT_THAT(texts[1], EndsWith("void inner(bool) [throw]"));
    EXPECT_THAT(texts[3], EndsWith("void inner(bool)"));
}

} // namespace
