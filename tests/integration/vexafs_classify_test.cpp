// vexafs classify as a user and a script see it.

#include "Vexafs.hpp"

namespace {

using ::testing::_;
using ::testing::HasSubstr;
using ::testing::Ne;
using vexa::testing::refused;

TEST(VexafsClassify, ReportsAndRefusals) {
    const vexa::testing::VexafsRun runs[] = {
        {{}, 0, HasSubstr("classify"), _}, // no arguments: the help
        {{"classify", "/data/r\xC3\xA9sultats.csv", "notes"},
         0,
         "/data/r\xC3\xA9sultats.csv\n"
         "  absolute:    yes\n  unc:         no\n  long path:   no\n  http prefix: no\n"
         "  extension:   .csv\n  path type:   Unix\n"
         "notes\n"
         "  absolute:    no\n  unc:         no\n  long path:   no\n  http prefix: no\n"
         "  extension:   \n  path type:   Unix\n"},
        {{"classify", "--rules", "windows", "--json", "\\\\?\\C:\\a \"b\".txt", "c:x"},
         0,
         "[\n"
         " {\"input\": \"\\\\\\\\?\\\\C:\\\\a \\\"b\\\".txt\", \"absolute\": true, \"unc\": true, "
         "\"long path\": true, \"http prefix\": false, \"extension\": \".txt\", "
         "\"path type\": \"Windows\"},\n"
         " {\"input\": \"c:x\", \"absolute\": true, \"unc\": false, \"long path\": false, "
         "\"http prefix\": false, \"extension\": \"\", \"path type\": \"Windows\"}\n"
         "]\n"},
        // A name that is not UTF-8 keeps its bytes: the JSON names the escaped byte.
        {{"classify", "--json", "/tmp/caf\xE9.txt"},
         0,
         HasSubstr("\"input\": \"/tmp/caf\\udce9.txt\"")},
        {{"classify", "--url", "--json", "HTTPS://Host/a.txt"},
         0,
         HasSubstr("\"path type\": \"https\"")},
        refused({"classify", "--url", "not a url"}, HasSubstr("not%20a%20url/")),
        {{"classify", "--rules", "vms", "/x"}, Ne(0), "", HasSubstr("vms")},
    };
    vexa::testing::expectRuns(runs);
}

} // namespace
