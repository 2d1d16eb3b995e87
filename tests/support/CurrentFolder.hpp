#pragma once

// Makes a folder the process's current folder for one test and goes back afterwards, even
// when the folder left behind has been renamed or the test fails half way.

#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace vexa::testing {

class CurrentFolder {
public:
    explicit CurrentFolder(const std::string& folder)
        : previous_(::open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        if (previous_ < 0)
            throw std::runtime_error("cannot open the current folder");
        if (::chdir(folder.c_str()) != 0) {
            ::close(previous_);
            throw std::runtime_error("cannot enter " + folder);
        }
    }
    ~CurrentFolder() {
        if (::fchdir(previous_) != 0) {
            // Nowhere to go back to; later tests use absolute paths.
        }
        ::close(previous_);
    }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
    int previous_;
};

} // namespace vexa::testing
