#pragma once

// A fresh folder under the system's temporary folder, removed with everything in it
// when the test ends.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <stdexcept>
#include <string>

#include <sys/stat.h>

namespace vexa::testing {

class TempDir {
public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vexa-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("mkdtemp failed");
        path_ = pattern;
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    // A path inside the folder, as UTF-8 text.
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }
    // The folder with every link on the way resolved: the temporary folder may itself sit
    // behind one (/tmp on some systems).
    std::string real() const { return std::filesystem::canonical(path_).string(); }

    // Real items inside the folder; a failure ends the test with its reason.
    void makeFile(const std::string& name) const {
        if (!(std::ofstream(path_ / name) << "x"))
            throw std::runtime_error("cannot write " + name);
    }
    void makeFolders(std::initializer_list<std::string> names) const {
        for (const auto& name : names)
            std::filesystem::create_directory(path_ / name);
    }
    void makeLink(const std::string& target, const std::string& name) const {
        std::filesystem::create_symlink(target, path_ / name);
    }

    // One item of each kind the storage layer tells apart: "file", "folder", "fifo", links
    // to the first two ("linkFile", "linkFolder"), a link to nothing ("dangling") and a loop
    // of two links ("loopA", "loopB").
    void makeItemsOfEveryKind() const {
        makeFile("file");
        makeFolders({"folder"});
        if (::mkfifo((path_ / "fifo").c_str(), 0644) != 0)
            throw std::runtime_error("cannot make a fifo");
        makeLink("file", "linkFile");
        makeLink("folder", "linkFolder");
        makeLink("missing", "dangling");
        makeLink("loopB", "loopA");
        makeLink("loopA", "loopB");
    }

private:
    std::filesystem::path path_;
};

} // namespace vexa::testing
