#include "project/ansi_fold.hpp"

#include <cstdint>

namespace vellmark {

namespace {

std::uint8_t Lower(std::uint8_t byte) {
    if ((byte >= 'A' && byte <= 'Z') || (byte >= 0xC0 && byte <= 0xDE && byte != 0xD7))
        return static_cast<std::uint8_t>(byte + 0x20);
    switch (byte) {
        case 0x8A:  // S, Z with caron and the ligature OE
        case 0x8C:
        case 0x8E:
            return static_cast<std::uint8_t>(byte + 0x10);
        case 0x9F:  // Y with diaeresis
            return 0xFF;
        default:
            return byte;
    }
}

}  // namespace

std::string FoldAnsi(std::string_view name) {
    std::string folded(name);
    for (char& c : folded)
        c = static_cast<char>(Lower(static_cast<std::uint8_t>(c)));
    return folded;
}

}  // namespace vellmark
