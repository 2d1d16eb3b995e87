// vexafs absolute as a user and a script see it.

#include "CurrentFolder.hpp"
#include "TempDir.hpp"
#include "Vexafs.hpp"

namespace {

using vexa::testing::CurrentFolder;
using vexa::testing::TempDir;

// Each --links value from the current folder, as text and as JSON with a non-UTF-8 name.
TEST(VexafsAbsolute, LinkTreatments) {
    TempDir dir;
    dir.make({"real/", "caf\xE9 -> real"});
    const std::string root = dir.real();
    CurrentFolder inside(dir.path());
    const std::string rest = "missing/../x\n  absolute: " + root + "/missing/../x\n";
    const vexa::testing::VexafsRun runs[] = {
        {{"absolute", "./caf\xE9", "missing/../x"},
         0,
         "./caf\xE9\n  absolute: " + root + "/real\n" + rest},
        {{"absolute", "./caf\xE9", "missing/../x", "--links", "KEEP"},
         0,
         "./caf\xE9\n  absolute: " + root + "/caf\xE9\n" + rest},
        {{"absolute", "./caf\xE9", "missing/../x", "--links", "literal"},
         0,
         "./caf\xE9\n  absolute: " + root + "/./caf\xE9\n" + rest},
        {{"absolute", "--json", "--links", "keep", "caf\xE9"},
         0,
         "[\n {\"input\": \"caf\\udce9\", \"absolute\": \"" + root + "/caf\\udce9\"}\n]\n"},
    };
    vexa::testing::expectRuns(runs);
}

} // namespace
