#include "transfer/pc_target_name.hpp"

#include <utility>

#include "containers/names.hpp"
#include "support/encoding.hpp"
#include "support/pc_targets.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kPolicyBits = 7;
/// With its dot, as everywhere that a name is cut.
constexpr std::size_t kExtensionBytes = 5;

bool HasExtension(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot != name.npos && dot + 1 < name.size();
}

std::string ExtensionOf(const std::array<char, 8>& signature, const PcNaming& naming,
                        const SignatureTable& table) {
    const SignatureRow* row =
        table.RowOfSignature({signature.data(), signature.size()}, naming.extendsUnknown);
    if (row == nullptr)
        return {};
    if (row == &table.rows().front())
        return naming.genericExtension;
    return row->extension == " " ? std::string{} : NarrowToUtf8(row->extension);
}

}  // namespace

NamingPolicy NamingPolicyOf(std::uint32_t options) {
    switch (const auto policy = static_cast<NamingPolicy>(options & kPolicyBits)) {
        case NamingPolicy::OwnExtension:
        case NamingPolicy::Ask:
        case NamingPolicy::Catalog:
        case NamingPolicy::Append:
            return policy;
    }
    return NamingPolicy::OwnExtension;
}

std::string PcFileName(std::string name, std::size_t mostBytes) {
    name = SafePcName(std::move(name));
    if (name.size() <= mostBytes)
        return name;
    const std::size_t dot = name.rfind('.');
    const bool hasExtension = dot != name.npos && dot > 0 && name.size() - dot <= kExtensionBytes;
    const std::string tail =
        "-" + NameCrcDigits(name) + (hasExtension ? name.substr(dot) : std::string{});
    std::size_t end = mostBytes - tail.size();
    while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80)
        --end;
    return name.substr(0, end) + tail;
}

std::string PcFileName(std::string_view name, std::size_t mostBytes, std::string_view path,
                       Messages& messages) {
    std::string shortName = PcFileName(std::string(name), mostBytes);
    if (SafePcName(std::string(name)).size() > shortName.size())
        messages.showTimedMessage(
            Reason(Sentence::kNameCutOnPc, Printable(path), mostBytes, Printable(shortName)));
    return shortName;
}

std::optional<std::string> AskPcFileName(std::string_view name, std::size_t mostBytes,
                                         std::string_view path, Messages& messages) {
    std::string shortName = PcFileName(std::string(name), mostBytes);
    if (SafePcName(std::string(name)).size() <= shortName.size())
        return shortName;
    std::optional<std::string> given = messages.askShorterName(path, shortName, mostBytes);
    if (given)
        given = PcFileName(std::move(*given), mostBytes);
    return given;
}

std::string PcTargetName(std::string_view shownName, const std::array<char, 8>& signature,
                         const PcNaming& naming, const SignatureTable& table) {
    std::string name(shownName);
    const bool adds = naming.policy == NamingPolicy::Append ||
                      (naming.policy == NamingPolicy::OwnExtension && !HasExtension(name));
    const std::string extension = adds ? ExtensionOf(signature, naming, table) : std::string{};
    if (!extension.empty())
        name += (name.ends_with('.') ? "" : ".") + extension;
    return SafePcName(std::move(name));
}

}  // namespace vellmark
