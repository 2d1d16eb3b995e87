// IRI parsing and normal form: what parses keeps every rule of the IRI layer (the one list of
// the IRI tests checks the same rules), as IRI text, as URI text from the network, and as a
// reference resolved from a few bases; normalizeURL never throws and changes no IRI's meaning.
// Nothing but InvalidIRIException leaves the layer.

#include "Fuzz.hpp"
#include "IRIRules.hpp"

namespace {

using namespace vexa::testing::iri;

void checkRules(const AbsoluteIRI& iri) {
    vexa::fuzz::require(brokenRule(iri));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = vexa::fuzz::bytesOf(data, size);
    const fl::ustring text = vexa::fuzz::text(bytes);
    try {
        checkRules(AbsoluteIRI(text));
    } catch (const InvalidIRIException&) {
    }
    if (auto fromNetwork = IRI::parseUri(std::string(bytes)))
        checkRules(AbsoluteIRI(*fromNetwork));

    fl::ustring normalised = text;
    foundation::storage::utility::normalizeURL(normalised);
    vexa::fuzz::require(normalizedKeepsMeaning(text));

    static const AbsoluteIRI bases[] = {AbsoluteIRI(u"http://a/b/c/d;p?q"),
                                        AbsoluteIRI(u"xy:/.//a/b"), AbsoluteIRI(u"file:///")};
    for (const AbsoluteIRI& base : bases) {
        try {
            checkRules(base.resolve(text));
        } catch (const InvalidIRIException&) {
        }
    }
    return 0;
}
