#include "project/custom_icon.hpp"

#include <string_view>

#include "support/encoding.hpp"

namespace vellmark {

namespace {

/// The icon of a volume, in its root.
constexpr std::string_view kVolumeIconName = ".VolumeIcon.icns";
constexpr std::string_view kIconSignature = "ICNSMACS";
constexpr std::string_view kIconName = "Icon\r";

bool IsVolumeIcon(const ProjectRecord& record) {
    return record.parent == kRootFolder && record.hfsNameLocked() &&
           record.hfsName() == kVolumeIconName;
}

}  // namespace

void PlaceCustomIcon(ProjectFile& project, ProjectRecord& record, SiblingNames& names) {
    if (record.parent != kRootFolder) {
        if (ProjectRecord* folder = project.findByNumber(record.parent))
            folder->setCustomIcon(true);
        return;
    }
    if (project.mode() != ProjectMode::Hybrid || project.header().customIcon() ||
        names.takeHfs(kVolumeIconName, record.sourceName(), NarrowToWide(record.sourceName())) !=
            kVolumeIconName)
        return;
    record.setIsoInclusion(0);
    record.setHfsInclusion(1);
    record.setHfsName(kVolumeIconName);
    record.setHfsNameLocked(true);
    project.header().setCustomIcon(true);
}

bool IsPlacedIcon(const ProjectRecord& record) {
    if (record.isFolder() || record.signature() != kIconSignature)
        return false;
    return record.parent == kRootFolder ? IsVolumeIcon(record)
                                        : record.hfsName().starts_with(kIconName);
}

void ForgetCustomIcon(ProjectFile& project, const ProjectRecord& record) {
    if (record.parent == kRootFolder)
        project.header().setCustomIcon(false);
    else if (ProjectRecord* folder = project.findByNumber(record.parent))
        folder->setCustomIcon(false);
}

}  // namespace vellmark
