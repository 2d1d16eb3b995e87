// Uses the installed package the way a host program would: one exported function of each
// family, through the one umbrella header.
#include <vexa/io/filesystem/core.hpp>

#include <foundation/storage/provider/RemoteProviders.hpp>

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

namespace {

namespace core = vexa::io::filesystem::core;
namespace vfs = foundation::storage::vfs;

class Probe : public core::FileManipulator {
public:
    void SetInputs(std::vector<std::u16string>) override {}
    bool ValidateInputs() override { return true; }
    void Execute() override {}
};

int check(bool ok, const char* what) {
    if (!ok)
        std::cerr << "failed: " << what << "\n";
    return ok ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const fl::ustring path = u"/data/r\u00e9sultats.csv";
    const std::string scratch = argc > 1 ? argv[1] : "/tmp";
    int failures = 0;
    failures += check(core::getIsAbsolute(path, false, core::FileSystemType::Unix) &&
                          core::getExtension(path) == u".csv",
                      "path predicates");
    failures += check(core::getPathComponents(path, false, core::FileSystemType::Unix).name ==
                          u"r\u00e9sultats.csv",
                      "path components");
    try {
        core::getPathType(u"no scheme", true, core::FileSystemType::UrlAsUnix);
        failures += check(false, "getPathType refuses text that is no IRI");
    } catch (const vfs::InvalidIRIException&) {
    }
    const foundation::network::IRI iri(vfs::AbsoluteIRI(u"http://h/a?q#f").toIRI());
    failures +=
        check(core::getURLWithoutQueryAndFragmentComponents(iri) == u"http://h/a", "URL helpers");
    fl::ustring value = u"over";
    failures += check(core::validateReplacementRule(value), "replacement rules");

    Probe operation;
    operation.SetVFSErrorStatus(vfs::Exception(vfs::IOError, path), path);
    failures += check(core::detail::GetID(operation.GetStatus().exception) ==
                          "VEXA:virtualfilesystem:ioError",
                      "status and result handler");
    failures += check(&core::log::getLogger() == &core::log::getLogger(), "logger");
    failures += check(core::version() == VEXA_EXPECTED_VERSION, "version");

    // The host's storage starts with the file and http(s) providers.
    fl::ustring url = u"https://host/a/../b";
    failures += check(
        vfs::hasIRIPrefix(u"https://h/x") &&
            core::setupPathForURLConstruction(url, core::ResolveSymbolicLinks::KeepLink, false) &&
            url == u"https://host/b",
        "http(s) served from the start");
    // A host program may still choose its storage system and its providers' options.
    auto system = std::make_shared<vfs::StorageSystem>();
    system->addProvider(std::make_shared<foundation::storage::provider::LocalFileProvider>());
    system->addProvider(foundation::storage::provider::makeHttpProvider());
    Quarrow::VexaStorageSystem::SetStorageSystemReference(vfs::StorageSystemReference(system));
    failures += check(vfs::hasIRIPrefix(u"https://h/x"), "the http(s) provider registered");
    const fl::ustring folder = fl::i18n::to_ustring(scratch);
    const vfs::AbsoluteIRI item(folder + u"/consumer/a/b.txt");
    const auto storage = Quarrow::VexaStorageSystem::GetStorageSystemReference();
    core::createParentIfNeeded(item, storage);
    failures += check(core::isFolder(core::getExtendedExistenceType(item.getParent(), false)),
                      "parent creation and existence");
    failures += check(core::getContentTypeCaller(folder + u"/consumer/none").empty() &&
                          !virtualfileio::ExceptionContextHandler::PendingContext(),
                      "content type");
    core::FileListCreator creator;
    creator.AddFiles(folder + u"/consumer/*", boost::none, true, true, false);
    failures += check(creator.GetNameList() == std::vector<fl::ustring>{folder + u"/consumer/a"} &&
                          creator.GetIRIList().size() == 1,
                      "file list creator");
    failures +=
        check(!core::GetClaimingPackage(vfs::Folder(item.getParent(), storage)), "packages");
    try {
        core::createSymbolicLink(folder + u"/consumer/missing", folder + u"/consumer/link");
        failures += check(false, "a link to a missing target is refused");
    } catch (const foundation::core::except::IUserException& error) {
        failures +=
            check(error.GetID() == "VEXA:io:filesystem:symlink:TargetNotFound", "symbolic links");
        std::cout << fl::i18n::to_string(error.GetUnicodeMessageTxt()) << "\n";
    }
    return failures;
}
