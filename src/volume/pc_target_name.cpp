#include "volume/pc_target_name.hpp"

#include "support/encoding.hpp"
#include "support/pc_targets.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kPolicyBits = 7;

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
