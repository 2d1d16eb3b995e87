#include <Quarrow/PathManagement/PathManager.hpp>
#include <Quarrow/current_working_folder/CurrentWorkingFolder.hpp>
#include <host/EngineDispatcher.hpp>
#include <host/HostArray.hpp>

#include <foundation/core/except/Exception.hpp>

#include "CurrentFolder.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

namespace cwf = Quarrow::current_working_folder;
using foundation::core::except::Exception;
using foundation::core::except::IInternalException;

TEST(CurrentFolder, Absolutize) {
    const vexa::testing::CurrentFolder inside("/tmp");
    const auto& folder = cwf::GetCurrentWorkingFolder();
    struct Case {
        fl::ustring text;
        fl::ustring iri;
    };
    const Case cases[] = {
        {u"/data/x.csv", u"file:///data/x.csv"},
        {u"x.csv", u"file:///tmp/x.csv"},
        {u"C:x", u"file:///tmp/C:x"},           // a drive letter is no scheme
        {u"notes:v2", u"file:///tmp/notes:v2"}, // nor a colon without "//"
        {u"https://example.com/a", u"https://example.com/a"},
        {u"c://x", u"file:///tmp/c://x"}, // one letter is a drive, not a scheme
        {u"Svn+SSH.2-x://h/a", u"svn+ssh.2-x://h/a"},
        {u"9p://x", u"file:///tmp/9p://x"}, // a scheme starts with a letter
        {u"", u"file:///tmp"},              // the folder part of a bare name
    };
    for (const auto& c : cases)
        EXPECT_EQ(folder.absolutize(c.text).toString(), c.iri) << fl::i18n::to_string(c.text);
    EXPECT_THROW(folder.absolutize(u"http://h:99999/x"), cwf::FailedToAbsolutizeException);
    EXPECT_EQ(folder.getPath(), u"/tmp");
    EXPECT_EQ(folder.get().getLocation().toString(), u"file:///tmp");
}

TEST(HostArrays, ValuesAndReferences) {
    HostArray* flag = createLogicalScalar(true);
    EXPECT_EQ(flag->kind(), HostArray::Kind::Logical);
    EXPECT_TRUE(flag->logicalValue());
    EXPECT_THROW(flag->text(), Exception<IInternalException>);
    matrix::destroyArray(flag);

    matrix::ArrayRef narrow = matrix::create(std::string("caf\xC3\xA9 \xFF"));
    EXPECT_EQ(narrow->text(), u"caf\u00e9 \xDCFF");
    EXPECT_EQ(narrow->numberOfElements(), 6u);
    EXPECT_THROW(narrow->logicalValue(), Exception<IInternalException>);

    matrix::ArrayRef shared = narrow;
    EXPECT_EQ(shared->references(), 2);
    HostArray* raw = to_vexa(std::move(shared));
    EXPECT_FALSE(shared);
    EXPECT_EQ(raw->references(), 2);
    matrix::destroyArray(raw);
    EXPECT_EQ(narrow->references(), 1);
}

} // namespace
