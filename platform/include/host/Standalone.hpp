#pragma once

// Whether the host runs as a deployed stand-alone application, and the host's look-up of a
// name in the current folder and along its search path.

#include <fl/ustring.hpp>

// False until a host program says otherwise. Safe from any thread.
bool svIsStandaloneMode();
void svSetStandaloneMode(bool on);

// The first item called `name` that exists (a link counts when what it leads to exists),
// in the current folder and then in each folder of the current path manager's search path,
// in order: `out` gets its absolute native path, the folder and the name joined as written.
// `out` is left empty when no folder has one, and for an empty or absolute name, which
// names no entry of a folder. A folder that cannot be looked into has no such entry. The
// flag is accepted and not read. Throws the host's internal exception when the host has no
// path manager and the current folder has no such item.
void svFindFirstFileNameW(const fl::ustring& name, bool, fl::ustring& out);
