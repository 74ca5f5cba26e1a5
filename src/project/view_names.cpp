#include "project/view_names.hpp"

#include <fmt/core.h>

#include <optional>

#include "containers/names.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

// A file in one of these codings has its HFS name from its header or from the disk.
bool BringsItsHfsName(const ProjectRecord& record) {
    return record.macBinary() || record.binHex() || record.coding() == ForkCoding::NamedStreams;
}

// The name within the limit; nothing when the person refused.
std::optional<std::string> Shorten(std::string_view name, std::size_t limit, TruncatedName kind,
                                   bool& automatic, Messages& messages) {
    std::string proposal = Truncate(name, limit);
    if (proposal.size() == name.size() || automatic)
        return proposal;
    const TruncationAnswer answer =
        messages.askTruncation(kind, NarrowToUtf8(name), NarrowToUtf8(proposal));
    automatic = answer.automatic;
    if (!answer.accepted)
        return std::nullopt;
    return answer.name.empty() ? proposal : Truncate(Utf8ToNarrow(answer.name), limit);
}

void MakeIsoName(ProjectRecord& record, std::string_view name, SiblingNames& siblings,
                 bool& automatic, Messages& messages) {
    if (!record.isIn(ProjectView::Iso)) {
        record.setIsoName(Truncate(name, kIsoNameLimit));
        return;
    }
    const auto shortened = Shorten(name, kIsoNameLimit, TruncatedName::Iso, automatic, messages);
    if (shortened) {
        record.setIsoName(siblings.takeIso(*shortened, name));
        return;
    }
    record.setIsoName(kRefusedName);
    record.setIsoInclusion(0);
}

void MakeHfsName(ProjectRecord& record, std::string_view name, bool isHfsPlus,
                 SiblingNames& siblings, TruncationAnswers& answers, Messages& messages) {
    const std::size_t limit = isHfsPlus ? kHfsPlusNameLimit : kHfsNameLimit;
    if (!record.isIn(ProjectView::Hfs)) {
        // In the form of the project, so that the item can be taken into the view later.
        record.setHfsName(ToHfsForm(Truncate(name, limit), isHfsPlus));
        return;
    }
    const auto shortened =
        Shorten(name, limit, isHfsPlus ? TruncatedName::HfsPlus : TruncatedName::Hfs,
                isHfsPlus ? answers.hfsPlus : answers.hfs, messages);
    if (shortened) {
        record.setHfsName(siblings.takeHfs(ToHfsForm(*shortened, isHfsPlus), name));
        return;
    }
    record.setHfsName(kRefusedName);
    record.setHfsInclusion(0);
}

// Gives each record the name that `make(record)` tells, no name twice in a folder.
template <typename Make>
void RedoRuns(ProjectFile& project, bool isHfsPlus, Make make) {
    project.changeRuns([&](std::span<ProjectRecord> run) {
        SiblingNames names({}, isHfsPlus);
        for (const ProjectRecord& record : run)
            if (record.isIn(ProjectView::Hfs))
                names.reserve(record.sourceName());
        for (ProjectRecord& record : run) {
            record.setUnicodeOnDisk(isHfsPlus && !record.hfsNameLocked() &&
                                    record.coding() == ForkCoding::NamedStreams);
            const std::string name = make(record);
            record.setHfsName(
                record.isIn(ProjectView::Hfs) ? names.takeHfs(name, record.sourceName()) : name);
        }
    });
}

}  // namespace

void ViewNames(ProjectRecord& record, std::string_view name, const ProjectFile& project,
               SiblingNames& siblings, TruncationAnswers& answers, Messages& messages) {
    MakeIsoName(record, name, siblings, answers.iso, messages);
    if (project.mode() != ProjectMode::Hybrid)
        return;
    if (!BringsItsHfsName(record))
        MakeHfsName(record, name, project.header().isHfsPlus(), siblings, answers, messages);
    else if (record.isIn(ProjectView::Hfs))
        record.setHfsName(siblings.takeHfs(record.hfsName(), record.sourceName()));
}

void RedoNamesForHfsPlus(ProjectFile& project) {
    RedoRuns(project, true, [](const ProjectRecord& record) {
        const bool fromSource = !record.sourceName().empty() && !record.hfsNameLocked() &&
                                (record.unicodeOnDisk() || !BringsItsHfsName(record));
        return fromSource ? ToHfsForm(Truncate(record.sourceName(), kHfsPlusNameLimit), true)
                          : Truncate(MacToAnsiName(record.hfsName()), kHfsPlusNameLimit);
    });
    ProjectHeader& header = project.header();
    header.setHfsLabel(MacToAnsiName(header.hfsLabel()));
}

void RedoNamesForHfs(ProjectFile& project) {
    RedoRuns(project, false, [](const ProjectRecord& record) {
        return ToHfsForm(Truncate(record.hfsName(), kHfsNameLimit), false);
    });
    ProjectHeader& header = project.header();
    header.setHfsLabel(AnsiToMacName(Truncate(header.hfsLabel(), kHfsLabelLimit)));
}

void TurnToHfsPlus(ProjectFile& project, Messages& messages, std::string_view reason) {
    project.header().setHfsPlus(true);
    RedoNamesForHfsPlus(project);
    messages.showTimedMessage(
        fmt::format("{}\nIt is now an HFS+ project, and its names were made anew.", reason));
}

void TurnToHfsPlusIfTooMany(ProjectFile& project, const ProjectTotals& totals, Messages& messages) {
    if (project.mode() != ProjectMode::Hybrid || project.header().isHfsPlus() ||
        totals.hfsRecords <= kMostHfsRecords)
        return;
    TurnToHfsPlus(project, messages,
                  fmt::format("HFS holds at most {} files and folders, and this project has {}.",
                              kMostHfsRecords, totals.hfsRecords));
}

}  // namespace vellmark
