// vexafs content-type: the content type the storage records for each item.

#include "arguments.hpp"
#include "commands.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <memory>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

void addContentTypeCommand(CLI::App& app) {
    auto arguments = std::make_shared<PathArguments>();
    CLI::App* command = app.add_subcommand(
        "content-type", "Print the content type recorded for each item (for a local file, its "
                        "user.http.contentType extended attribute); empty when none is known");
    addPathArguments(*command, *arguments, "Paths or IRIs");
    command->callback([arguments] {
        reportEachPath(*arguments, [](const fl::ustring& path) {
            Record record{path, {}};
            // A relative path is the user's shorthand: the core takes IRIs and absolute paths.
            record.add("content type", core::getContentTypeCaller(locationOf(path).toString()));
            return record;
        });
    });
}

} // namespace vexafs
