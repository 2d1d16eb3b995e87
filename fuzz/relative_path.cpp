// relative_path: base and target are the input's two lines. Resolving the answer against the
// base read as a folder gives the target back; text that is no absolute IRI, and only that,
// raises InvalidIRIException.

#include "Fuzz.hpp"
#include "IRIRules.hpp"

#include <vexa/io/filesystem/core/absolute_paths.hpp>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vexa::testing::iri;
    const auto [baseText, targetText] = vexa::fuzz::twoTexts(vexa::fuzz::bytesOf(data, size));
    std::optional<AbsoluteIRI> base, target;
    try {
        base.emplace(baseText);
        target.emplace(targetText);
    } catch (const InvalidIRIException&) {
    }
    try {
        const fl::ustring relative =
            vexa::io::filesystem::core::relative_path(baseText, targetText);
        vexa::fuzz::require(base && target, "an answer for text that is no absolute IRI");
        vexa::fuzz::require(relativePathResolvesBack(*base, *target, relative));
    } catch (const InvalidIRIException&) {
        vexa::fuzz::require(!base || !target, "InvalidIRIException for two absolute IRIs");
    }
    return 0;
}
