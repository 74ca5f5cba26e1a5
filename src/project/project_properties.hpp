// What is known of a project as a whole, and what of it a person may change.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "project/labels.hpp"
#include "project/project_file.hpp"
#include "support/reason.hpp"

namespace vellmark {

struct ItemCounts {
    std::int64_t folders = 0;
    std::int64_t files = 0;
};

/// Items on all levels, root not counted.
struct ProjectCounts {
    ItemCounts all;
    ItemCounts iso;
    ItemCounts hfs;
};
[[nodiscard]] ProjectCounts CountItems(const ProjectFile& project);

/// What a view shows of one folder.
struct FolderContents {
    ItemCounts items;
    std::uint64_t bytes = 0;  ///< both forks of the files directly in it
};
[[nodiscard]] FolderContents ContentsOf(const ProjectFile& project, std::int32_t folder,
                                        ProjectView view);

struct ProjectProperties {
    bool isHfsPlus = false;
    bool opensRoot = false;  ///< the window of root opens when the volume is mounted
    bool rebuildsBeforeCompile = false;
    bool hasVolumeIcon = false;
    std::string isoLabel;  ///< UTF-8
    std::string hfsLabel;
    ProjectCounts counts;
    std::uint64_t sectors = 0;  ///< of 2048 bytes: `ProjectTotals`
};
[[nodiscard]] ProjectProperties PropertiesOf(const ProjectFile& project);
/// One label alone, without the counts that need a look at all items; UTF-8.
[[nodiscard]] std::string LabelOf(const ProjectFile& project, LabelSide side);

/// What is to change: only what is given.
struct ProjectChanges {
    std::optional<bool> isHfsPlus = {};
    std::optional<bool> opensRoot = {};
    std::optional<bool> rebuildsBeforeCompile = {};
};

/// Changes the project; all HFS names and the label of the Macintosh side are made anew when its
/// format changes. Nothing when it was done; else nothing has changed: an ISO+ project has no
/// Macintosh volume, and HFS holds no more than `kMostHfsRecords` files and folders.
[[nodiscard]] Reason ChangeProject(ProjectFile& project, const ProjectChanges& changes);

/// The texts of the ISO descriptor (ECMA-119, 8.4), UTF-8. None of the others is used as long as
/// `system` is empty.
struct DescriptorTexts {
    std::string system;
    std::string volumeSet;
    std::string publisher;
    std::string dataPreparer;
    std::string application;
    std::string copyrightFile;
    std::string abstractFile;
    std::string bibliographicFile;

    bool operator==(const DescriptorTexts&) const = default;
};
[[nodiscard]] DescriptorTexts DescriptorTextsOf(const ProjectHeader& header);

/// Sets all texts: the system identifier of at most 32 characters, the four long texts of 128, the
/// names of files of 12. Nothing when it was done; else nothing has changed: a text is too long or
/// has a character outside Windows-1252 or a control.
[[nodiscard]] Reason SetDescriptorTexts(ProjectHeader& header, const DescriptorTexts& texts);

}  // namespace vellmark
