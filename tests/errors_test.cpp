#include <vexa/io/filesystem/core/errors.hpp>

#include <resource_core/MessageCatalog.hpp>

#include <gtest/gtest.h>

#include <boost/exception_ptr.hpp>

#include <functional>
#include <memory>
#include <typeinfo>

namespace {

using foundation::core::except::Exception;
using foundation::core::except::IException;
using foundation::core::except::IInternalException;
using foundation::core::except::IMsgIDException;
using foundation::core::except::IUserException;

template <class Tag, class... Args> std::unique_ptr<IMsgIDException> make(Args... args) {
    return std::make_unique<Exception<Tag>>(Tag(args...));
}

struct CatalogEntry {
    const char* identifier;
    std::function<std::unique_ptr<IMsgIDException>()> build;
    std::vector<fl::ustring> shownArguments;
};

const fl::ustring pathArg = u"/donn\u00E9es/\u65E5\u672C.txt";

std::vector<CatalogEntry> allErrors() {
    namespace vfs = VEXA::virtualfilesystem;
    namespace sym = VEXA::io::filesystem::symlink;
    namespace common = VEXA::io::filesystem::common;
    const auto p = pathArg;
    return {
        {"VEXA:virtualfilesystem:folderNotEmpty",
         [p] { return make<vfs::folderNotEmpty>(p); },
         {p}},
        {"VEXA:virtualfilesystem:resourceNotFound",
         [p] { return make<vfs::resourceNotFound>(p); },
         {p}},
        {"VEXA:virtualfilesystem:permissionDenied",
         [p] { return make<vfs::permissionDenied>(p); },
         {p}},
        {"VEXA:virtualfilesystem:resourceAlreadyExists",
         [p] { return make<vfs::resourceAlreadyExists>(p); },
         {p}},
        {"VEXA:virtualfilesystem:readOnlyProvider",
         [p] { return make<vfs::readOnlyProvider>(p); },
         {p}},
        {"VEXA:virtualfilesystem:fileTooLarge", [p] { return make<vfs::fileTooLarge>(p); }, {p}},
        {"VEXA:virtualfilesystem:resourceInUse", [p] { return make<vfs::resourceInUse>(p); }, {p}},
        {"VEXA:virtualfilesystem:noSpaceLeft", [p] { return make<vfs::noSpaceLeft>(p); }, {p}},
        {"VEXA:virtualfilesystem:ioError", [p] { return make<vfs::ioError>(p); }, {p}},
        {"VEXA:virtualfilesystem:internalError", [p] { return make<vfs::internalError>(p); }, {p}},
        {"VEXA:virtualfilesystem:unsupportedOperation",
         [p] { return make<vfs::unsupportedOperation>(p); },
         {p}},
        {"VEXA:virtualfilesystem:unknownError", [p] { return make<vfs::unknownError>(p); }, {p}},
        {"VEXA:FILE:PATHMAX", [] { return make<VEXA::FILE::PATHMAX>(); }, {}},
        {"VEXA:FileManip:OSError",
         [] { return make<VEXA::FileManip::OSError>(std::string("Disk quota exceeded")); },
         {u"Disk quota exceeded"}},
        {"VEXA:FileManip:UnknownError", [] { return make<VEXA::FileManip::UnknownError>(); }, {}},
        {"VEXA:io:filesystem:symlink:FileExists", [p] { return make<sym::FileExists>(p); }, {p}},
        {"VEXA:io:filesystem:symlink:FilenameTooLarge",
         [p] { return make<sym::FilenameTooLarge>(p); },
         {p}},
        {"VEXA:io:filesystem:symlink:AccessDenied",
         [p] { return make<sym::AccessDenied>(p); },
         {p}},
        {"VEXA:io:filesystem:symlink:TargetNotFound",
         [p] { return make<sym::TargetNotFound>(p); },
         {p}},
        {"VEXA:io:filesystem:symlink:UnknownError",
         [p] { return make<sym::UnknownError>(p); },
         {p}},
        {"VEXA:io:filesystem:common:NameNotSupported",
         [] { return make<common::NameNotSupported>(fl::ustring(u"replace_rule")); },
         {u"replace_rule"}},
        {"VEXA:io:filesystem:common:IncorrectFileSystemType",
         [] {
             return make<common::IncorrectFileSystemType>(fl::ustring(u"http"),
                                                          fl::ustring(u"Unix"));
         },
         {u"http", u"Unix"}},
        {"VEXA:io:filesystem:common:IncorrectValueForReplacementRule",
         [] { return make<common::IncorrectValueForReplacementRule>(); },
         {}},
        {"VEXA:virtualfileio:path:invalidIRI",
         [] { return make<VEXA::virtualfileio::path::invalidIRI>(fl::ustring(u"ht tp:/x")); },
         {u"ht tp:/x"}},
    };
}

// Each error has its exact identifier, exactly its arguments in order, a catalog text of
// its own, and that text shows every argument.
TEST(ErrorCatalog, EveryErrorHasItsIdentifierArgumentsAndText) {
    const auto errors = allErrors();
    ASSERT_EQ(errors.size(), 24u);
    for (const auto& entry : errors) {
        const auto error = entry.build();
        SCOPED_TRACE(entry.identifier);
        EXPECT_EQ(error->GetID(), entry.identifier);
        const auto& args = error->GetBaseMsgIDObj().arguments();
        ASSERT_EQ(args.size(), entry.shownArguments.size());
        for (std::size_t i = 0; i < args.size(); ++i)
            EXPECT_EQ(resource_core::toMessageText(args[i]), entry.shownArguments[i]);

        ASSERT_TRUE(resource_core::MessageCatalog::instance().find(entry.identifier))
            << "no catalog text";
        const fl::ustring text = error->GetUnicodeMessageTxt();
        EXPECT_EQ(text.find(u'{'), fl::ustring::npos) << "unfilled placeholder";
        for (const auto& shown : entry.shownArguments)
            EXPECT_NE(text.find(shown), fl::ustring::npos) << "argument missing from the text";
        EXPECT_EQ(fl::i18n::to_ustring(error->what()), text);
    }
}

TEST(ErrorCatalog, TwoArgumentsKeepConstructorOrder) {
    const VEXA::io::filesystem::common::IncorrectFileSystemType tag(u"https", u"Windows");
    ASSERT_EQ(tag.arguments().size(), 2u);
    EXPECT_EQ(std::get<std::u16string>(tag.arguments()[0]), u"https");
    EXPECT_EQ(std::get<std::u16string>(tag.arguments()[1]), u"Windows");
    EXPECT_EQ(tag.component(), "VEXA:io:filesystem:common");
    EXPECT_EQ(tag.name(), "IncorrectFileSystemType");
}

TEST(ErrorCatalog, NullComponentIsALogicError) {
    try {
        resource_core::BaseMsgID bad(nullptr, "name");
        FAIL();
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(error.what(), "basic_string: construction from null is not valid");
    }
}

std::unique_ptr<const boost::exception_detail::clone_base> cloneOf(const IException& error) {
    return std::unique_ptr<const boost::exception_detail::clone_base>(error.clone());
}

TEST(ErrorException, CloneIsIndependentOfItsSource) {
    std::unique_ptr<const boost::exception_detail::clone_base> clone;
    {
        Exception<VEXA::virtualfilesystem::ioError> source(
            VEXA::virtualfilesystem::ioError(u"/mnt/disk/f"));
        clone = cloneOf(source);
    }
    auto* user = dynamic_cast<const IUserException*>(clone.get());
    ASSERT_NE(user, nullptr);
    EXPECT_EQ(user->GetID(), "VEXA:virtualfilesystem:ioError");
    EXPECT_NE(user->GetUnicodeMessageTxt().find(u"/mnt/disk/f"), fl::ustring::npos);
}

TEST(ErrorException, RethrowThrowsTheMostDerivedType) {
    using Error = Exception<VEXA::io::filesystem::symlink::TargetNotFound>;
    const auto stored = cloneOf(Error(VEXA::io::filesystem::symlink::TargetNotFound(u"t")));
    EXPECT_THROW(stored->rethrow(), Error);
    // A std::exception handler sees the same message text.
    try {
        stored->rethrow();
    } catch (const std::exception& error) {
        EXPECT_NE(std::string(error.what()).find("'t'"), std::string::npos);
    }
}

TEST(ErrorException, TravelsThroughABoostExceptionPointer) {
    const Exception<VEXA::FILE::PATHMAX> error{VEXA::FILE::PATHMAX()};
    const boost::exception_ptr pointer = boost::copy_exception(error);
    try {
        boost::rethrow_exception(pointer);
    } catch (const IUserException& caught) {
        EXPECT_EQ(caught.GetID(), "VEXA:FILE:PATHMAX");
        EXPECT_EQ(caught.ToUstringImpl(), caught.GetUnicodeMessageTxt());
    }
}

TEST(ErrorException, InternalErrorCarriesItsTextAndNoIdentifier) {
    using Internal = Exception<IInternalException>;
    const Internal error("IRI arguments are inconsistent: caf\xC3\xA9");
    EXPECT_STREQ(error.what(), "IRI arguments are inconsistent: caf\xC3\xA9");
    EXPECT_EQ(error.ToUstringImpl(), u"IRI arguments are inconsistent: caf\u00E9");
    EXPECT_FALSE((std::is_base_of_v<IUserException, Internal>));
    EXPECT_THROW(cloneOf(error)->rethrow(), Internal);
}

} // namespace
