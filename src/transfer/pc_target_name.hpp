// The name that a file of a volume gets on the PC: the catalog's name, with an extension that
// stands for the file's type and creator on a PC.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "containers/signatures.hpp"
#include "support/messages.hpp"

namespace vellmark {

/// Bytes that the systems' file systems let a name have.
inline constexpr std::size_t kMostPcNameBytes = 255;

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

/// A name in UTF-8 as one that a file of the PC can have (`SafePcName`). One of more than
/// `mostBytes` bytes is cut at a character and ends in `-` and the four digits of the checksum of
/// the whole name (`NameCrcDigits`), in front of an extension of up to five bytes with its dot.
[[nodiscard]] std::string PcFileName(std::string name, std::size_t mostBytes = kMostPcNameBytes);

/// The same, with a message when the name was cut. `path` is that of the item in its tree.
[[nodiscard]] std::string PcFileName(std::string_view name, std::size_t mostBytes,
                                     std::string_view path, Messages& messages);

/// The same, but a person may give another name than the one that was cut, or none: then nothing.
/// `path` is that of the item in its tree.
[[nodiscard]] std::optional<std::string> AskPcFileName(std::string_view name, std::size_t mostBytes,
                                                       std::string_view path, Messages& messages);

/// `shownName` is UTF-8. The result is a name that stays inside its folder. For `Ask` it is the
/// proposal. Extensions of the table are Windows-1252; an entry that has none adds none.
[[nodiscard]] std::string PcTargetName(std::string_view shownName,
                                       const std::array<char, 8>& signature, const PcNaming& naming,
                                       const SignatureTable& table);

}  // namespace vellmark
