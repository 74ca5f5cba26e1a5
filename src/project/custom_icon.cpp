#include "project/custom_icon.hpp"

#include <algorithm>
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

bool IsIconFile(const ProjectRecord& record) {
    return IsPlacedIcon(record) ||
           (!record.isFolder() && record.macBinary() && record.signature() == kIconSignature &&
            record.hfsName().starts_with(kIconName));
}

void RenewIconMark(ProjectFile& project, std::int32_t folder) {
    const ProjectFile::Run& run = project.childrenOf(folder);
    const bool has = std::any_of(run.begin(), run.end(), [](const ProjectRecord& record) {
        return record.isIn(ProjectView::Hfs) && IsPlacedIcon(record);
    });
    if (folder == kRootFolder)
        project.header().setCustomIcon(has);
    else if (ProjectRecord* record = project.findByNumber(folder))
        record->setCustomIcon(has);
}

void BecomeFolderIcon(ProjectRecord& record) {
    record.setHfsName(kIconName);
    record.setHfsNameLocked(false);
}

void ForgetCustomIcon(ProjectFile& project, const ProjectRecord& record) {
    if (record.parent == kRootFolder)
        project.header().setCustomIcon(false);
    else if (ProjectRecord* folder = project.findByNumber(record.parent))
        folder->setCustomIcon(false);
}

}  // namespace vellmark
