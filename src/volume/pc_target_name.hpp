// The name that a file of a volume gets on the PC: the catalog's name, with an extension that tells
// the PC what the file's type and creator tell a Macintosh.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "containers/signatures.hpp"

namespace vellmark {

/// Values as settings keep them.
enum class NamingPolicy : int {
    OwnExtension =
        0,        ///< the name; without an extension of its own, that of its signature is added
    Ask = 2,      ///< a person names each file
    Catalog = 4,  ///< the name as it stands
    Append = 6,   ///< the name with the extension of its signature, whatever it has
};

/// The policy in the low three bits of the word of options; values without a meaning, 1 among them,
/// give `OwnExtension`.
[[nodiscard]] NamingPolicy NamingPolicyOf(std::uint32_t options);

struct PcNaming {
    NamingPolicy policy = NamingPolicy::Catalog;
    /// UTF-8, what files of the table's generic row get.
    std::string genericExtension = "TXT";
    /// Files whose signature is not in the table get that too.
    bool extendsUnknown = false;
};

/// `shownName` is UTF-8. The result is a name that stays inside its folder. For `Ask` it is the
/// proposal. Extensions of the table are Windows-1252; an entry that has none adds none.
[[nodiscard]] std::string PcTargetName(std::string_view shownName,
                                       const std::array<char, 8>& signature, const PcNaming& naming,
                                       const SignatureTable& table);

}  // namespace vellmark
