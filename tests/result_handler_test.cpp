#include <vexa/io/filesystem/core/result_handler.hpp>

#include <host/HostError.hpp>

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <stdexcept>

namespace {

namespace core = vexa::io::filesystem::core;

core::Status success() {
    return {};
}

core::Status failure() {
    const foundation::core::except::Exception<VEXA::virtualfilesystem::ioError> error(
        VEXA::virtualfilesystem::ioError(u"/data/x.csv"));
    return {core::Status::error, 0, boost::copy_exception(error)};
}

// The host's output slots; whatever the handler fills is given back when the test ends.
struct Outputs {
    std::array<HostArray*, 6> slots{};
    ~Outputs() {
        for (HostArray* array : slots)
            matrix::destroyArray(array);
    }
    std::size_t filled() const {
        std::size_t n = 0;
        while (n < slots.size() && slots[n])
            ++n;
        return n;
    }
};

struct Expected {
    std::size_t filled;
    std::optional<bool> flag;
    std::u16string text;
    std::string id;
};

TEST(ResultHandler, OutputsByNargoutOnSuccessAndFailure) {
    const std::u16string failureText =
        u"An input/output error occurred while accessing '/data/x.csv'.";
    const std::string failureId = "VEXA:virtualfilesystem:ioError";
    struct Case {
        bool succeeded;
        int nargout;
        Expected expected;
    };
    const Case cases[] = {
        {true, 0, {0, {}, u"", ""}},
        {true, 1, {1, true, u"", ""}},
        {true, 3, {3, true, u"", ""}},
        {true, 5, {3, true, u"", ""}},
        {false, 1, {1, false, u"", ""}},
        {false, 2, {2, false, failureText, ""}},
        {false, 3, {3, false, failureText, failureId}},
        {false, 5, {3, false, failureText, failureId}},
        {false, -1, {0, {}, u"", ""}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << (c.succeeded ? "success" : "failure") << ", nargout " << c.nargout);
        Outputs outputs;
        core::ResultHandler::HandleStatus(c.succeeded ? success() : failure(), c.nargout,
                                          outputs.slots.data());
        ASSERT_EQ(outputs.filled(), c.expected.filled);
        if (c.expected.flag) {
            ASSERT_EQ(outputs.slots[0]->kind(), HostArray::Kind::Logical);
            EXPECT_EQ(outputs.slots[0]->logicalValue(), *c.expected.flag);
        }
        if (c.expected.filled >= 2) {
            EXPECT_EQ(outputs.slots[1]->text(), c.expected.text);
        }
        if (c.expected.filled >= 3) {
            EXPECT_EQ(outputs.slots[2]->text(),
                      std::u16string(c.expected.id.begin(), c.expected.id.end()));
        }
    }
}

TEST(ResultHandler, NoOutputsRaisesAnyCodeButSuccessAsHostError) {
    Outputs outputs;
    try {
        core::ResultHandler::HandleStatus(failure(), 0, outputs.slots.data());
        FAIL() << "a failure with no outputs must be raised";
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.GetID(), "VEXA:virtualfilesystem:ioError");
        EXPECT_EQ(error.GetUnicodeMessageTxt(),
                  u"An input/output error occurred while accessing '/data/x.csv'.");
    }
    // A record that was never set to success fails too, even with nothing recorded.
    try {
        core::ResultHandler::HandleStatus(core::Status{0, 0, {}}, 0, outputs.slots.data());
        FAIL() << "code 0 with no outputs must be raised";
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.GetID(), "VEXA:FileManip:UnknownError");
    }
    EXPECT_EQ(outputs.filled(), 0u);
}

// Only user errors have a text and an identifier to show; anything else leaves them empty
// but is still a failure.
TEST(ResultHandler, ErrorsWithoutIdentifierGiveEmptyTexts) {
    using Internal =
        foundation::core::except::Exception<foundation::core::except::IInternalException>;
    const boost::exception_ptr errors[] = {boost::copy_exception(std::runtime_error("plain")),
                                           boost::copy_exception(Internal("internal"))};
    for (const auto& error : errors) {
        EXPECT_EQ(core::detail::GetID(error), "");
        EXPECT_EQ(core::detail::GetUnicodeMessageTxt(error), u"");
        Outputs outputs;
        core::ResultHandler::HandleStatus({core::Status::error, 0, error}, 3, outputs.slots.data());
        ASSERT_EQ(outputs.filled(), 3u);
        EXPECT_FALSE(outputs.slots[0]->logicalValue());
        EXPECT_EQ(outputs.slots[1]->text(), u"");
        EXPECT_EQ(outputs.slots[2]->text(), u"");
    }
}

} // namespace
