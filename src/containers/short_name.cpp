#include "containers/short_name.hpp"

#include <fmt/core.h>

#include <algorithm>

#include "support/canonical_form.hpp"

namespace vellmark {

namespace {

/// An extension that is kept, its point included.
constexpr std::size_t kLongestExtension = 5;

template <typename View>
View ExtensionOf(View name) {
    const std::size_t dot = name.rfind(typename View::value_type{'.'});
    return dot == View::npos || dot == 0 || name.size() - dot > kLongestExtension
               ? View{}
               : name.substr(dot);
}

void CutBase(std::string& base, std::size_t most) {
    base.resize(std::min(base.size(), most));
}
void CutBase(std::u16string& base, std::size_t most) {
    CutAtLetter(base, most);
}

template <typename Name, typename View>
Name Shortened(View name, View tail, std::size_t most) {
    const View extension = ExtensionOf(name);
    Name base(name.substr(0, name.size() - extension.size()));
    const std::size_t kept = tail.size() + extension.size();
    CutBase(base, most - std::min(most, kept));
    return base.append(tail).append(extension);
}

template <typename Name, typename View>
Name Cut(View name, std::size_t most) {
    if (name.size() <= most)
        return Name(name);
    Name result = Shortened<Name>(name, View{}, most);
    // A name may consist of blanks alone.
    while (result.size() > 1 && result.back() == ' ')
        result.pop_back();
    return result;
}

}  // namespace

std::string CutName(std::string_view name, std::size_t most) {
    return Cut<std::string>(name, most);
}

std::u16string CutName(std::u16string_view name, std::size_t most) {
    return Cut<std::u16string>(name, most);
}

std::string WithTail(std::string_view name, std::string_view tail, std::size_t most) {
    return Shortened<std::string>(name, tail, most);
}

std::u16string WithTail(std::u16string_view name, std::string_view tail, std::size_t most) {
    const std::u16string wide(tail.begin(), tail.end());
    return Shortened<std::u16string>(name, std::u16string_view(wide), most);
}

std::string DigitsTail(std::uint16_t crc, unsigned round) {
    std::string tail = "-";
    for (int shift = 0; shift < 16; shift += 4)
        tail += "0123456789ABCDEF"[(crc >> shift) & 0xF];
    return round == 0 ? tail : tail + fmt::format("{:X}", round);
}

}  // namespace vellmark
