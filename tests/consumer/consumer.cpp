// Uses the installed package the way a host program would.
#include <vexa/io/filesystem/core.hpp>

#include <iostream>

int main() {
    namespace core = vexa::io::filesystem::core;
    const fl::ustring path = u"/data/r\u00e9sultats.csv";
    if (!core::getIsAbsolute(path, false, core::FileSystemType::Unix) ||
        core::getExtension(path) != u".csv")
        return 1;
    try {
        throw foundation::core::except::Exception<VEXA::virtualfilesystem::ioError>(
            VEXA::virtualfilesystem::ioError(path));
    } catch (const foundation::core::except::IUserException& error) {
        if (error.GetID() != "VEXA:virtualfilesystem:ioError")
            return 2;
        std::cout << fl::i18n::to_string(error.GetUnicodeMessageTxt()) << "\n";
    }
    return 0;
}
