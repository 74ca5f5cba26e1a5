#include "containers/container_kind.hpp"

#include "containers/apple_single.hpp"
#include "containers/bin_hex.hpp"
#include "containers/mac_binary.hpp"
#include "containers/named_streams.hpp"
#include "support/encoding.hpp"

namespace vellmark {

ContainerKind ContainerOf(ByteSource& file) {
    MacBinaryHeader header;
    if (file.readRecord(0, header) && IsMacBinary(header, 0))
        return ContainerKind::MacBinary;
    if (IsBinHexFile(file))
        return ContainerKind::BinHex;
    return IsAppleSingleFile(file) ? ContainerKind::AppleSingle : ContainerKind::Plain;
}

ContainerKind ContainerBeside(const std::string& path) {
    if (IsAppleDoublePair(path))
        return ContainerKind::AppleDouble;
    return HasNamedStreams(path) ? ContainerKind::NamedStreams : ContainerKind::Plain;
}

ContainerKind FontByName(const std::string& path) {
    const std::string name = AsciiUpper(path.substr(path.rfind('/') + 1));
    if (name.ends_with(".PFB"))
        return ContainerKind::PostScriptFont;
    return name.ends_with(".TTF") ? ContainerKind::TrueTypeFont : ContainerKind::Plain;
}

}  // namespace vellmark
