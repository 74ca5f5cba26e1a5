// Binary property lists, in which newer systems keep what a folder looks like.
//
//   0     "bplist00", then objects: a byte of kind and count, and the value
//   -32   5 zeros, a version, the sizes of an offset and of a reference, then as 64 bits each the
//         number of objects, the first of them and where the table of their offsets lies
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace vellmark {

struct PlistValue {
    using Bytes = std::vector<std::uint8_t>;
    using List = std::vector<PlistValue>;
    using Entries = std::map<std::string, PlistValue>;
    /// Texts are UTF-8; nothing for null and for what has no value here, such as dates.
    std::variant<std::monostate, bool, std::int64_t, double, std::string, Bytes, List, Entries>
        value;

    /// The entry of that name, null when there is none.
    [[nodiscard]] const PlistValue* entry(const std::string& name) const;
    /// A number of either kind.
    [[nodiscard]] std::optional<double> number() const;
    /// Null when it is no text.
    [[nodiscard]] const std::string* text() const { return std::get_if<std::string>(&value); }
    [[nodiscard]] const Bytes* bytes() const { return std::get_if<Bytes>(&value); }
};

/// Nothing for bytes that are no such list, lead out of themselves, or hold more than a list of
/// this kind ever does.
[[nodiscard]] std::optional<PlistValue> ReadBinaryPlist(std::span<const std::uint8_t> bytes);

/// On one line, as a person reads it; of bytes their number.
[[nodiscard]] std::string PlistText(const PlistValue& value);

}  // namespace vellmark
