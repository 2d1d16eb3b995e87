#include <vexa/io/filesystem/core/result_handler.hpp>

#include <host/HostError.hpp>

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>

namespace {

namespace core = vexa::io::filesystem::core;

template <class Error> core::Status failure(const Error& error) {
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

// Outputs are filled up to three, as nargout asks: the flag, the message text and the
// identifier. A failure with no outputs to carry it is raised as a host error, and so is a
// record that was never set to success. Only user errors have a text and an identifier to
// show; anything else leaves them empty but is still a failure, raised with its own text.
TEST(ResultHandler, OutputsByNargout) {
    using foundation::core::except::Exception;
    using Internal = Exception<foundation::core::except::IInternalException>;
    const core::Status success;
    const core::Status neverSet{0, 0, {}};
    const auto ioError = failure(Exception<VEXA::virtualfilesystem::ioError>(
        VEXA::virtualfilesystem::ioError(u"/data/x.csv")));
    const auto plain = failure(std::runtime_error("plain"));
    const auto internal = failure(Internal("internal"));
    const std::u16string ioText = u"An input/output error occurred while accessing '/data/x.csv'.";
    const std::string ioId = "VEXA:virtualfilesystem:ioError";
    struct Case {
        const core::Status& status;
        int nargout;
        std::size_t filled;
        bool flag;
        std::u16string text; // of the outputs, or of the error raised
        std::string id;
        bool raised = false;
    };
    const Case cases[] = {
        {success, 0, 0, true, u"", ""},
        {success, 1, 1, true, u"", ""},
        {success, 3, 3, true, u"", ""},
        {success, 5, 3, true, u"", ""},
        {ioError, 1, 1, false, u"", ""},
        {ioError, 2, 2, false, ioText, ""},
        {ioError, 3, 3, false, ioText, ioId},
        {ioError, 5, 3, false, ioText, ioId},
        {ioError, -1, 0, false, u"", ""},
        {ioError, 0, 0, false, ioText, ioId, true},
        {neverSet, 0, 0, false, u"The operation failed for an unknown reason.",
         "VEXA:FileManip:UnknownError", true},
        {plain, 3, 3, false, u"", ""},
        {internal, 3, 3, false, u"", ""},
        {plain, 0, 0, false, u"plain", "", true},
        {internal, 0, 0, false, u"internal", "", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "code " << c.status.code << ", nargout " << c.nargout);
        Outputs outputs;
        try {
            core::ResultHandler::HandleStatus(c.status, c.nargout, outputs.slots.data());
            EXPECT_FALSE(c.raised);
        } catch (const host::HostError& error) {
            EXPECT_TRUE(c.raised);
            EXPECT_EQ(error.GetID(), c.id);
            EXPECT_EQ(error.GetUnicodeMessageTxt(), c.text);
            EXPECT_EQ(error.what(), fl::i18n::to_string(c.text));
        }
        ASSERT_EQ(outputs.filled(), c.filled);
        if (c.filled >= 1) {
            ASSERT_EQ(outputs.slots[0]->kind(), HostArray::Kind::Logical);
            EXPECT_EQ(outputs.slots[0]->logicalValue(), c.flag);
        }
        if (c.filled >= 2) {
            EXPECT_EQ(outputs.slots[1]->text(), c.text);
        }
        if (c.filled >= 3) {
            EXPECT_EQ(outputs.slots[2]->text(), std::u16string(c.id.begin(), c.id.end()));
        }
    }
}

} // namespace
