#pragma once

// A fresh folder under the system's temporary folder, removed with everything in it
// when the test ends.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <map>
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

    // Real items inside the folder, made in the order given: "name/" is a folder,
    // "name -> target" a link holding the target as written, any other name a file. A
    // failure ends the test with its reason.
    void make(std::initializer_list<std::string> items) const {
        for (const std::string& item : items)
            if (const auto arrow = item.find(" -> "); arrow != std::string::npos)
                std::filesystem::create_symlink(item.substr(arrow + 4),
                                                path_ / item.substr(0, arrow));
            else if (item.ends_with('/'))
                std::filesystem::create_directory(path_ / item);
            else if (!(std::ofstream(path_ / item) << "x"))
                throw std::runtime_error("cannot write " + item);
    }

    // One item of each kind the storage layer tells apart: "file", "folder", "fifo", links
    // to the first two ("linkFile", "linkFolder"), a link to nothing ("dangling") and a loop
    // of two links ("loopA", "loopB").
    void makeItemsOfEveryKind() const {
        make({"file", "folder/", "linkFile -> file", "linkFolder -> folder", "dangling -> missing",
              "loopA -> loopB", "loopB -> loopA"});
        if (::mkfifo((path_ / "fifo").c_str(), 0644) != 0)
            throw std::runtime_error("cannot make a fifo");
    }

private:
    std::filesystem::path path_;
};

// The bytes of the file at `path`, or "<nothing>" where no file is.
inline std::string contentOf(const std::string& path) {
    if (!std::filesystem::is_regular_file(path))
        return "<nothing>";
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// The files below `folder`, links to folders entered, each by its path from there, with
// its bytes: two trees compare equal when they hold the same files.
inline std::map<std::string, std::string> contentsUnder(const std::string& folder) {
    std::map<std::string, std::string> files;
    for (const auto& item : std::filesystem::recursive_directory_iterator(
             folder, std::filesystem::directory_options::follow_directory_symlink))
        if (!item.is_directory())
            files[item.path().lexically_relative(folder)] = contentOf(item.path());
    return files;
}

} // namespace vexa::testing
