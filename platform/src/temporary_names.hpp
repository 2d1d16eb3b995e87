#pragma once

// How a provider names the temporary item it writes beside the one it replaces at commit:
// hidden, marked as ours, and with a random part, so that writers of one item never meet.

#include <array>
#include <string>
#include <string_view>

#include <sys/random.h>
#include <unistd.h>

// ".LEAF.vexa-" and six random letters or digits; `leaf` as bytes (UTF-8 for an IRI's name).
inline std::string temporaryLeaf(std::string_view leaf) {
    std::array<unsigned char, 6> random{};
    if (::getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size()))
        random.fill(static_cast<unsigned char>(::getpid()));
    std::string name = ".";
    name.append(leaf).append(".vexa-");
    for (const unsigned char byte : random)
        name += "0123456789abcdefghijklmnopqrstuvwxyz"[byte % 36];
    return name;
}
