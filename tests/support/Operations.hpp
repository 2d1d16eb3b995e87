#pragma once

// The smallest file operations: they run nothing and expose the status, so that tests can
// drive the error members of FileManipulator directly.

#include <vexa/io/filesystem/core/file_manipulator.hpp>

#include <string>
#include <utility>
#include <vector>

namespace vexa::testing {

class NoOperation : public vexa::io::filesystem::core::FileManipulator {
public:
    void SetInputs(std::vector<std::u16string>) override {}
    bool ValidateInputs() override { return true; }
    void Execute() override {}
};

// An operation with identifiers of its own ("VEXA:MKDIR:...").
class PrefixedOperation : public NoOperation {
public:
    std::string GetErrorMsgIdPrefix() override { return "MKDIR"; }
};

} // namespace vexa::testing
