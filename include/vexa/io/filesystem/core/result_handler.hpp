#pragma once

// Where a recorded Status leaves the core: as up to three host outputs (success flag,
// message text, message identifier), or as a host error when no output was asked for.

#include <vexa/io/filesystem/core/file_manipulator.hpp>

#include <host/HostArray.hpp>

#include <boost/exception_ptr.hpp>

#include <string>

namespace vexa::io::filesystem::core {

class ResultHandler {
public:
    // Fills outputs[0..min(nargout, 3)) with new arrays the caller owns. With nargout 0 a
    // status other than success is raised as a host error.
    static void HandleStatus(Status status, int nargout, HostArray** outputs);
};

namespace detail {
// The message text, and the identifier, of a recorded user error; empty for anything else.
std::u16string GetUnicodeMessageTxt(boost::exception_ptr error);
std::string GetID(boost::exception_ptr error);
} // namespace detail

} // namespace vexa::io::filesystem::core
