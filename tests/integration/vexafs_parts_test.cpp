// vexafs parts as a user and a script see it.

#include "Vexafs.hpp"

namespace {

using ::testing::HasSubstr;
using ::testing::Ne;
using vexa::testing::refused;

TEST(VexafsParts, FilePathsUrlsAndRefusals) {
    const vexa::testing::VexafsRun runs[] = {
        {{"parts", "/data/r\xC3\xA9sultats.tar.gz"},
         0,
         "/data/r\xC3\xA9sultats.tar.gz\n  parent:    /data\n  name:      r\xC3\xA9sultats.tar.gz\n"
         "  extension: .gz\n  host:      \n  port:      -1\n  query:     \n  fragment:  \n"},
        {{"parts", "--rules", "windows", "--json", "C:\\dir/sub"},
         0,
         "[\n {\"input\": \"C:\\\\dir/sub\", \"parent\": \"C:\", \"name\": \"dir/sub\", "
         "\"extension\": \"\", \"host\": \"\", \"port\": -1, \"query\": \"\", \"fragment\": \"\"}\n"
         "]\n"},
        // The same text under Unix rules: the backslash is an ordinary character.
        {{"parts", "--json", "C:\\dir/sub"},
         0,
         HasSubstr("\"parent\": \"C:\\\\dir\", \"name\": \"sub\"")},
        {{"parts", "--url-kind", "2", "--json", "http://host/a?b#c",
          "https://h:81/d/r\xC3\xA9sum\xC3\xA9.pdf"},
         0,
         "[\n"
         " {\"input\": \"http://host/a?b#c\", \"parent\": \"http://host/a\", \"name\": \"\", "
         "\"extension\": \"\", \"host\": \"host\", \"port\": -1, \"query\": \"b\", "
         "\"fragment\": \"c\"},\n"
         " {\"input\": \"https://h:81/d/r\xC3\xA9sum\xC3\xA9.pdf\", \"parent\": "
         "\"https://h:81/d/\", \"name\": \"r\xC3\xA9sum\xC3\xA9.pdf\", \"extension\": "
         "\".pdf\", \"host\": \"h\", \"port\": 81, \"query\": \"\", \"fragment\": \"\"}\n"
         "]\n"},
        refused({"parts", "--url-kind", "3", "not a url"},
                "Error: 'not a url' is not a valid path or URL.\n"
                "Identifier: VEXA:virtualfileio:path:invalidIRI\n"),
        {{"parts", "--url-kind", "1", "http://h/"}, Ne(0), "", testing::_},
        {{"parts", "--url-kind", "2", "--rules", "unix", "http://h/"}, Ne(0), "", testing::_},
        {{"parts"}, Ne(0), "", testing::_},
    };
    vexa::testing::expectRuns(runs);
}

} // namespace
