#pragma once

#include <string>

namespace fl {

// The C library's text for an errno value, as strerror gives it in the "C" locale: "No
// such file or directory", and "Unknown error 4095" for a number without a name. Never
// empty; the same on every thread and whatever locale the process has set.
std::string errnoText(int error);

} // namespace fl
