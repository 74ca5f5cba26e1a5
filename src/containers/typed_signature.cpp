#include "containers/typed_signature.hpp"

#include <algorithm>

#include "containers/names.hpp"
#include "support/encoding.hpp"

namespace vellmark {

std::optional<std::string> TypedMacLetters(std::string_view typed, std::size_t most) {
    std::optional<std::string> mac = WideToMacRomanExact(Utf8ToWide(typed));
    return mac && !mac->empty() && mac->size() <= most ? mac : std::nullopt;
}

std::optional<std::array<char, 4>> TypedCode(std::string_view typed) {
    std::array<char, 4> code;
    const std::optional<std::string> mac = TypedMacLetters(typed, code.size());
    if (!mac)
        return std::nullopt;
    code.fill(' ');
    std::copy(mac->begin(), mac->end(), code.begin());
    return code;
}

std::optional<std::array<char, 8>> TypedSignature(std::string_view typed) {
    std::array<char, 8> signature;
    const std::optional<std::string> mac = TypedMacLetters(typed, signature.size());
    if (!mac || mac->size() != signature.size())
        return std::nullopt;
    std::copy(mac->begin(), mac->end(), signature.begin());
    return signature;
}

}  // namespace vellmark
