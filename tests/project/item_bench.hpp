// What the tests of item operations share: a project as lines of text, and what holds of every
// project after every operation.
#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "containers/names.hpp"
#include "project/ansi_fold.hpp"
#include "project/item_names.hpp"
#include "project/project_bench.hpp"
#include "support/encoding.hpp"

namespace vellmark::test {

inline std::string InclusionLetter(int inclusion, const char* present, const char* missing) {
    return inclusion > 0 ? present : inclusion < 0 ? missing : "";
}

/// Number to a line: folder, source, ISO and HFS name (one where they are the same), views (small
/// letters: missing), locks (`l` ISO, `L` HFS), `u` for a name on the disk, `k` for an icon mark,
/// counters of a folder. Number 1 is the header: format, icon mark, counters.
inline std::map<std::int32_t, std::string> Lines(const ProjectFile& project) {
    std::map<std::int32_t, std::string> lines;
    const ProjectHeader& header = project.header();
    lines[1] = fmt::format("{}{} {}/{}", header.isHfsPlus() ? "HFS+" : "HFS",
                           header.customIcon() ? " k" : "", std::uint32_t{header.rootFolders},
                           std::uint32_t{header.rootFiles});
    project.forEachRecord([&](const ProjectRecord& record) {
        const std::string iso = NarrowToUtf8(record.isoName());
        const std::string hfs = ShownItemName(project, record, ProjectView::Hfs);
        std::string names = NarrowToUtf8(record.sourceName());
        if (iso != names || hfs != names)
            names += "|" + iso + "|" + hfs;
        std::string& line = lines[record.number];
        line = fmt::format("{} {} {}{}{}{}{}{}", std::int32_t{record.parent}, names,
                           InclusionLetter(record.isoInclusion(), "I", "i"),
                           InclusionLetter(record.hfsInclusion(), "H", "h"),
                           record.isoNameLocked() ? "l" : "", record.hfsNameLocked() ? "L" : "",
                           record.unicodeOnDisk() ? "u" : "", record.customIcon() ? "k" : "");
        if (record.isFolder())
            line += fmt::format(" {}/{}", std::uint32_t{record.dataSize},
                                std::uint32_t{record.resourceSize});
    });
    return lines;
}

/// The lines that differ, `NUMBER LINE` each; `NUMBER -` for one that is gone.
inline std::vector<std::string> Changes(const std::map<std::int32_t, std::string>& before,
                                        const std::map<std::int32_t, std::string>& after) {
    std::vector<std::string> changes;
    for (const auto& [number, line] : before)
        if (const auto now = after.find(number); now == after.end())
            changes.push_back(fmt::format("{} -", number));
        else if (now->second != line)
            changes.push_back(fmt::format("{} {}", number, now->second));
    for (const auto& [number, line] : after)
        if (!before.contains(number))
            changes.push_back(fmt::format("{} {}", number, line));
    return changes;
}

inline bool IsIcon(const ProjectRecord& record) {
    return record.signature() == "ICNSMACS" && record.hfsInclusion() != 0 &&
           (record.parent == kRootFolder ? record.hfsName() == ".VolumeIcon.icns"
                                         : record.hfsName().starts_with("Icon\r"));
}

/// What every operation keeps: order, counters, names that are told apart in each view, items whose
/// folders are in their views, marks of icons, and numbers by which each item is found.
inline void ExpectSound(const ProjectFile& project) {
    std::set<std::int32_t> folders = {kRootFolder};
    project.forEachRecord([&](const ProjectRecord& record) {
        if (record.isFolder())
            folders.insert(record.number);
    });
    std::size_t reached = 0;
    for (std::int32_t folder : folders) {
        const ProjectFile::Run& run = project.childrenOf(folder);
        const ProjectRecord* own = project.findByNumber(folder);
        reached += run.size();
        std::uint32_t below = 0;
        bool hasIcon = false;
        std::set<std::string> iso;
        std::set<std::string> hfs;
        for (const ProjectRecord& record : run) {
            const std::string name(record.sourceName());
            below += record.isFolder();
            hasIcon = hasIcon || IsIcon(record);
            EXPECT_EQ(project.findByNumber(record.number), &record) << name;
            EXPECT_TRUE(record.isIn(ProjectView::Hybrid)) << name;
            if (record.isIn(ProjectView::Iso)) {
                EXPECT_TRUE(!own || own->isIn(ProjectView::Iso)) << name;
                EXPECT_TRUE(iso.insert(std::string(record.isoName())).second) << name;
            }
            if (record.isIn(ProjectView::Hfs)) {
                EXPECT_TRUE(!own || own->isIn(ProjectView::Hfs)) << name;
                EXPECT_TRUE(hfs.insert(project.header().isHfsPlus()
                                           ? FoldAnsi(record.hfsName())
                                           : FoldMacRomanLower(record.hfsName()))
                                .second)
                    << name;
            }
        }
        EXPECT_TRUE(std::is_sorted(run.begin(), run.end(), [](const auto& a, const auto& b) {
            return a.isoName() < b.isoName();
        })) << folder;
        const auto files = static_cast<std::uint32_t>(run.size()) - below;
        EXPECT_EQ(own ? own->dataSize : project.header().rootFolders, below) << folder;
        EXPECT_EQ(own ? own->resourceSize : project.header().rootFiles, files) << folder;
        EXPECT_EQ(own ? own->customIcon() : project.header().customIcon(), hasIcon) << folder;
    }
    EXPECT_EQ(reached, project.countRecords()) << "items without a folder";
}

/// Adds an item with its counters, as an inclusion would leave it.
inline void Put(ProjectFile& project, std::int32_t parent, std::int32_t number,
                std::string_view name, std::string_view views, std::string_view path = "/pc/") {
    ProjectRecord record =
        Item(parent, number, name, views.find('I') != views.npos, views.find('H') != views.npos);
    record.setAccessPath(path);
    record.setShortName(name);
    project.insert(record);
    project.addCounters(parent, number > 0, number < 0);
    if (number > 0)
        project.header().lastFolder = std::max<std::int32_t>(project.header().lastFolder, number);
    else
        project.header().lastFile = std::max<std::int32_t>(project.header().lastFile, -number);
}

}  // namespace vellmark::test
