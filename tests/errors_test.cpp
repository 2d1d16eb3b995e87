#include <vexa/io/filesystem/core/errors.hpp>

#include <resource_core/MessageCatalog.hpp>

#include <gtest/gtest.h>

#include <boost/exception_ptr.hpp>

#include <memory>

namespace {

using foundation::core::except::Exception;
using foundation::core::except::IException;
using foundation::core::except::IInternalException;
using foundation::core::except::IMsgIDException;
using foundation::core::except::IUserException;

template <class Tag, class... Args> std::shared_ptr<IMsgIDException> make(Args... args) {
    return std::make_shared<Exception<Tag>>(Tag(args...));
}

const fl::ustring p = u"/donn\u00E9es/\u65E5\u672C.txt";

struct CatalogEntry {
    const char* identifier;
    std::shared_ptr<IMsgIDException> error;
    std::vector<fl::ustring> shownArguments = {p};
};

std::vector<CatalogEntry> allErrors() {
    namespace vfs = VEXA::virtualfilesystem;
    namespace sym = VEXA::io::filesystem::symlink;
    namespace common = VEXA::io::filesystem::common;
    return {
        {"VEXA:virtualfilesystem:folderNotEmpty", make<vfs::folderNotEmpty>(p)},
        {"VEXA:virtualfilesystem:resourceNotFound", make<vfs::resourceNotFound>(p)},
        {"VEXA:virtualfilesystem:permissionDenied", make<vfs::permissionDenied>(p)},
        {"VEXA:virtualfilesystem:resourceAlreadyExists", make<vfs::resourceAlreadyExists>(p)},
        {"VEXA:virtualfilesystem:readOnlyProvider", make<vfs::readOnlyProvider>(p)},
        {"VEXA:virtualfilesystem:fileTooLarge", make<vfs::fileTooLarge>(p)},
        {"VEXA:virtualfilesystem:resourceInUse", make<vfs::resourceInUse>(p)},
        {"VEXA:virtualfilesystem:noSpaceLeft", make<vfs::noSpaceLeft>(p)},
        {"VEXA:virtualfilesystem:ioError", make<vfs::ioError>(p)},
        {"VEXA:virtualfilesystem:internalError", make<vfs::internalError>(p)},
        {"VEXA:virtualfilesystem:unsupportedOperation", make<vfs::unsupportedOperation>(p)},
        {"VEXA:virtualfilesystem:unknownError", make<vfs::unknownError>(p)},
        {"VEXA:FILE:PATHMAX", make<VEXA::FILE::PATHMAX>(), {}},
        {"VEXA:FileManip:OSError",
         make<VEXA::FileManip::OSError>(std::string("Disk quota exceeded")),
         {u"Disk quota exceeded"}},
        {"VEXA:FileManip:UnknownError", make<VEXA::FileManip::UnknownError>(), {}},
        {"VEXA:io:filesystem:symlink:FileExists", make<sym::FileExists>(p)},
        {"VEXA:io:filesystem:symlink:FilenameTooLarge", make<sym::FilenameTooLarge>(p)},
        {"VEXA:io:filesystem:symlink:AccessDenied", make<sym::AccessDenied>(p)},
        {"VEXA:io:filesystem:symlink:TargetNotFound", make<sym::TargetNotFound>(p)},
        {"VEXA:io:filesystem:symlink:UnknownError", make<sym::UnknownError>(p)},
        {"VEXA:io:filesystem:common:NameNotSupported",
         make<common::NameNotSupported>(fl::ustring(u"replace_rule")),
         {u"replace_rule"}},
        {"VEXA:io:filesystem:common:IncorrectFileSystemType",
         make<common::IncorrectFileSystemType>(fl::ustring(u"http"), fl::ustring(u"Unix")),
         {u"http", u"Unix"}},
        {"VEXA:io:filesystem:common:IncorrectValueForReplacementRule",
         make<common::IncorrectValueForReplacementRule>(),
         {}},
        {"VEXA:virtualfileio:path:invalidIRI",
         make<VEXA::virtualfileio::path::invalidIRI>(fl::ustring(u"ht tp:/x")),
         {u"ht tp:/x"}},
    };
}

// Each error has its exact identifier, exactly its arguments in order, a catalog text of
// its own, and that text shows every argument.
TEST(ErrorCatalog, EveryErrorHasItsIdentifierArgumentsAndText) {
    for (const auto& entry : allErrors()) {
        const auto& error = entry.error;
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

TEST(ErrorCatalog, NullComponentIsALogicError) {
    // The type is the promise; the text is the standard library's own.
    EXPECT_THROW(resource_core::BaseMsgID(nullptr, "name"), std::logic_error);
}

std::unique_ptr<const boost::exception_detail::clone_base> cloneOf(const IException& error) {
    return std::unique_ptr<const boost::exception_detail::clone_base>(error.clone());
}

// A clone outlives its source and rethrows the most derived type, with the same text for a
// std::exception handler; boost::copy_exception takes the same road.
TEST(ErrorException, CloneRethrowsTheMostDerivedTypeWithItsText) {
    using Error = Exception<VEXA::io::filesystem::symlink::TargetNotFound>;
    std::unique_ptr<const boost::exception_detail::clone_base> clone;
    {
        const Error source(VEXA::io::filesystem::symlink::TargetNotFound(u"/mnt/t"));
        clone = cloneOf(source);
    }
    EXPECT_THROW(clone->rethrow(), Error);
    try {
        clone->rethrow();
    } catch (const std::exception& error) {
        EXPECT_NE(std::string(error.what()).find("'/mnt/t'"), std::string::npos);
    }
    try {
        boost::rethrow_exception(
            boost::copy_exception(Error(VEXA::io::filesystem::symlink::TargetNotFound(u"/t"))));
    } catch (const IUserException& caught) {
        EXPECT_EQ(caught.GetID(), "VEXA:io:filesystem:symlink:TargetNotFound");
        EXPECT_EQ(caught.ToUstringImpl(), caught.GetUnicodeMessageTxt());
    }
    // An internal error carries its text and no identifier.
    using Internal = Exception<IInternalException>;
    const Internal error("IRI arguments are inconsistent: caf\xC3\xA9");
    EXPECT_STREQ(error.what(), "IRI arguments are inconsistent: caf\xC3\xA9");
    EXPECT_EQ(error.ToUstringImpl(), u"IRI arguments are inconsistent: caf\u00E9");
    EXPECT_THROW(cloneOf(error)->rethrow(), Internal);
}

} // namespace
