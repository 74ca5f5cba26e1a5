// In which container a file of the PC keeps a Macintosh file.
#pragma once

#include <cstdint>
#include <string>

#include "support/byte_source.hpp"

namespace vellmark {

/// A file has one. Nothing but a person's wish makes a font more than a plain file.
enum class ContainerKind : std::uint8_t {
    Plain,
    MacBinary,
    BinHex,
    NamedStreams,
    AppleSingle,
    AppleDouble,     ///< the file has a companion `._NAME`
    PostScriptFont,  ///< a PFB, of which a printer font is made
    TrueTypeFont,    ///< a TTF, of which a suitcase is made
};

/// The container that the bytes of a file are by the marks that it begins with: `MacBinary`,
/// `BinHex`, `AppleSingle` or `Plain`. One file can have the marks of one of them only: MacBinary
/// and AppleSingle begin with a zero, in front of which BinHex has its text, and the magic of
/// AppleSingle leaves no name of MacBinary. Its reader finds out whether the rest is whole.
[[nodiscard]] ContainerKind ContainerOf(ByteSource& file);

/// What stands beside the bytes of the file at `path`: `AppleDouble`, `NamedStreams` or `Plain`.
/// What the bytes themselves are goes first, and a companion before streams.
[[nodiscard]] ContainerKind ContainerBeside(const std::string& path);

/// The font that a file is by its name, or `Plain`.
[[nodiscard]] ContainerKind FontByName(const std::string& path);

}  // namespace vellmark
