#include "volume/catalog_protection.hpp"

#include <string_view>

#include "volume/catalog_access.hpp"

namespace vellmark {

namespace {

// Record flags of later systems.
constexpr std::uint16_t kHasAttributes = 0x0004;
constexpr std::uint16_t kHasLinkChain = 0x0020;

// Type and creator of a link to a file. A link to a folder is known by its flag alone: its type and
// creator are those of any alias of a folder.
constexpr std::string_view kLinkSignature = "hlnkhfs+";

std::uint16_t RecordFlags(VolumeContext& volume) {
    const ByteSpan data = CurrentData(volume);
    return RecordTypeOf(volume, data) == CatalogRecordType::Folder
               ? RecordIn<HfsPlusFolderRecord>(data).flags
               : RecordIn<HfsPlusFileRecord>(data).flags;
}

}  // namespace

EditResult RefuseChange(VolumeContext& volume) {
    if (!volume.isHfsPlus)
        return EditResult::Done;
    const ByteSpan data = CurrentData(volume);
    bool isProtected = (RecordFlags(volume) & kHasLinkChain) != 0;
    if (RecordTypeOf(volume, data) == CatalogRecordType::File) {
        const auto& record = RecordIn<HfsPlusFileRecord>(data);
        const std::string_view signature(record.finderInfo.signature.data(), 8);
        isProtected = isProtected || (record.permissions.ownerFlags & kOwnerCompressed) != 0 ||
                      signature == kLinkSignature;
    }
    return isProtected ? EditResult::Protected : EditResult::Done;
}

EditResult RefuseDeletion(VolumeContext& volume) {
    const EditResult result = RefuseChange(volume);
    if (result != EditResult::Done || !volume.isHfsPlus)
        return result;
    return (RecordFlags(volume) & kHasAttributes) != 0 ? EditResult::Attributes : EditResult::Done;
}

}  // namespace vellmark
