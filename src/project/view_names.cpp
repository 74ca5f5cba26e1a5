#include "project/view_names.hpp"

#include <optional>
#include <utility>
#include <vector>

#include "containers/names.hpp"
#include "containers/pc_name.hpp"
#include "containers/short_name.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/catalog_name.hpp"

namespace vellmark {

namespace {

// A file in one of these codings has its HFS name from its header or from the disk.
bool BringsItsHfsName(const ProjectRecord& record) {
    return record.macBinary() || record.binHex() || record.coding() == ForkCoding::NamedStreams;
}

/// A name that may be too long: in the form of its field, and as a person reads it.
struct LongName {
    std::string whole;
    std::string shown;
    TruncatedName kind;
    std::size_t limit;
};

std::string Shown(const std::string& name, TruncatedName kind) {
    return kind == TruncatedName::Hfs ? ShownHfsName(name) : NarrowToUtf8(name);
}

// The name within the limit; nothing when the person refused.
std::optional<std::string> Shorten(const LongName& name, bool& automatic, Messages& messages) {
    std::string proposal = CutName(name.whole, name.limit);
    if (name.whole.size() <= name.limit || automatic)
        return proposal;
    const TruncationAnswer answer =
        messages.askTruncation(name.kind, name.shown, Shown(proposal, name.kind));
    automatic = answer.automatic;
    if (!answer.accepted)
        return std::nullopt;
    if (answer.name.empty())
        return proposal;
    return CutName(name.kind == TruncatedName::Hfs ? PcToMacName(Utf8ToWide(answer.name)).bytes
                                                   : Utf8ToNarrow(answer.name),
                   name.limit);
}

void MakeIsoName(ProjectRecord& record, SiblingNames& siblings, bool& automatic,
                 Messages& messages) {
    const std::string name(record.sourceName());
    if (!record.isIn(ProjectView::Iso)) {
        record.setIsoName(CutName(name, kIsoNameLimit));
        return;
    }
    const auto shortened =
        Shorten({name, NarrowToUtf8(name), TruncatedName::Iso, kIsoNameLimit}, automatic, messages);
    if (shortened) {
        record.setIsoName(siblings.takeIso(*shortened, name));
        return;
    }
    record.setIsoName(kRefusedName);
    record.setIsoInclusion(0);
}

void MakeHfsName(ProjectRecord& record, std::u16string_view pcName, SiblingNames& siblings,
                 bool& automatic, Messages& messages) {
    const std::string name = WholeHfsName(pcName, record.sourceName(), false);
    if (!record.isIn(ProjectView::Hfs)) {
        // In the form of the project, so that the item can be taken into the view later.
        record.setHfsName(CutName(name, kHfsNameLimit));
        return;
    }
    const auto shortened =
        Shorten({name, WideToUtf8(pcName), TruncatedName::Hfs, kHfsNameLimit}, automatic, messages);
    if (shortened) {
        record.setHfsName(siblings.takeHfs(*shortened, record.sourceName(), pcName));
        return;
    }
    record.setHfsName(kRefusedName);
    record.setHfsInclusion(0);
}

// The field of an HFS+ project holds 62 bytes of Windows-1252, and the catalog 255 units of any
// alphabet. Where the field is too small, the name on the disk counts.
void MakeHfsPlusName(ProjectRecord& record, std::u16string_view pcName, SiblingNames& siblings) {
    const std::string whole = WholeHfsName(pcName, record.sourceName(), true);
    std::string name = CutName(whole, kHfsPlusNameLimit);
    if (record.isIn(ProjectView::Hfs))
        name = siblings.takeHfs(name, record.sourceName(), pcName);
    record.setUnicodeOnDisk(name != whole || record.shortNameFlag());
    record.setHfsName(name);
}

// Gives each record the name that `make(record)` gives, no name twice in a folder.
template <typename Make>
void RedoRuns(ProjectFile& project, bool isHfsPlus, Make make) {
    project.changeRuns([&](std::span<ProjectRecord> run) {
        SiblingNames names({}, isHfsPlus);
        for (const ProjectRecord& record : run)
            if (record.isIn(ProjectView::Hfs))
                names.reserve(NarrowToWide(record.sourceName()), record.sourceName());
        for (ProjectRecord& record : run) {
            const std::string name = make(record);
            record.setHfsName(
                record.isIn(ProjectView::Hfs)
                    ? names.takeHfs(name, record.sourceName(), NarrowToWide(record.sourceName()))
                    : name);
        }
    });
}

// What an HFS name is in an HFS+ project, and whether the field holds it.
std::string HfsPlusFormOf(ProjectRecord& record) {
    const bool isLocked = record.hfsNameLocked();
    const bool fromSource =
        !record.sourceName().empty() && !isLocked && !HasNameInContainer(record);
    if (!fromSource) {
        const NarrowName name = MacNameInHfsPlusProject(record.hfsName());
        record.setUnicodeOnDisk(!isLocked && !name.isExact);
        return CutName(name.bytes, kHfsPlusNameLimit);
    }
    const std::string whole =
        WholeHfsName(NarrowToWide(record.sourceName()), record.sourceName(), true);
    record.setUnicodeOnDisk(record.coding() == ForkCoding::NamedStreams ||
                            whole.size() > kHfsPlusNameLimit);
    return CutName(whole, kHfsPlusNameLimit);
}

// What an HFS+ name is in an HFS project. A container is asked for its name where the field did not
// hold it.
std::string HfsFormOf(ProjectRecord& record) {
    const bool isCopy = record.unicodeOnDisk() && !record.hfsNameLocked();
    record.setUnicodeOnDisk(isCopy && HasNameInContainer(record));
    const bool fromSource = isCopy && !record.sourceName().empty() && !HasNameInContainer(record);
    const std::u16string name = NarrowToWide(fromSource ? record.sourceName() : record.hfsName());
    return CutName(PcToMacName(name).bytes, kHfsNameLimit);
}

}  // namespace

bool HasNameInContainer(const ProjectRecord& record) {
    return record.macBinary() || record.binHex();
}

bool IsNamedByDisk(const ProjectRecord& record, bool isHfsPlus) {
    if (record.hfsNameLocked())
        return false;
    if (record.unicodeOnDisk() || record.coding() == ForkCoding::NamedStreams)
        return true;
    // A project that was made when an 8.3 name was all that the record could hold.
    return record.shortNameFlag() && !HasNameInContainer(record) &&
           (isHfsPlus || record.hfsName() == record.sourceName());
}

NarrowName MacNameInHfsPlusProject(std::string_view macName) {
    std::u16string wide = MacNameToWide(macName);
    const bool isExact = IsNarrow(wide);
    for (char16_t& unit : wide)
        unit = IsNarrow({&unit, 1}) ? unit : u'_';
    return {WideToNarrow(wide), isExact};
}

void ViewNames(ProjectRecord& record, std::u16string_view pcName, const ProjectFile& project,
               SiblingNames& siblings, TruncationAnswers& answers, Messages& messages) {
    MakeIsoName(record, siblings, answers.iso, messages);
    if (project.mode() != ProjectMode::Hybrid)
        return;
    if (BringsItsHfsName(record)) {
        if (record.isIn(ProjectView::Hfs))
            record.setHfsName(siblings.takeHfs(record.hfsName(), record.sourceName(), pcName));
    } else if (project.header().isHfsPlus()) {
        MakeHfsPlusName(record, pcName, siblings);
    } else {
        MakeHfsName(record, pcName, siblings, answers.hfs, messages);
    }
}

bool IsRefusedName(const ProjectRecord& record, std::string_view name) {
    return name == kRefusedName && record.sourceName() != kRefusedName;
}

bool EnterView(ProjectRecord& record, ProjectView view, const ProjectFile& project,
               SiblingNames& siblings, TruncationAnswers& answers, Messages& messages) {
    const std::string source(record.sourceName());
    if (view == ProjectView::Iso) {
        const std::string known(record.isoName());
        record.setIsoInclusion(1);
        if (known.empty() || IsRefusedName(record, known) ||
            known == CutName(source, kIsoNameLimit))
            MakeIsoName(record, siblings, answers.iso, messages);
        else
            record.setIsoName(siblings.takeIso(known, source));
        return record.isoInclusion() != 0;
    }
    const std::string known(record.hfsName());
    const bool isHfsPlus = project.header().isHfsPlus();
    const std::u16string wide = NarrowToWide(source);
    const std::string own = CutName(WholeHfsName(wide, source, isHfsPlus),
                                    isHfsPlus ? kHfsPlusNameLimit : kHfsNameLimit);
    const bool isMade = known.empty() || IsRefusedName(record, known) ||
                        (known == own && !record.hfsNameLocked() && !BringsItsHfsName(record));
    record.setHfsInclusion(1);
    if (!isMade)
        record.setHfsName(siblings.takeHfs(known, source, wide));
    else if (isHfsPlus)
        MakeHfsPlusName(record, wide, siblings);
    else
        MakeHfsName(record, wide, siblings, answers.hfs, messages);
    return record.hfsInclusion() != 0;
}

void TellChangedNames(const ProjectRecord& record, std::u16string_view pcName,
                      std::string_view brought, std::string_view path, const ProjectFile& project,
                      Messages& messages) {
    const bool isHfsPlus = project.header().isHfsPlus();
    std::vector<Reason> told;
    // What the field of the record does not hold comes from the disk.
    if (record.isIn(ProjectView::Iso) && record.isoName() != record.sourceName())
        told.push_back(NameInTree("Joliet", NarrowToUtf8(record.isoName())));
    if (project.mode() == ProjectMode::Hybrid && record.isIn(ProjectView::Hfs) &&
        !record.hfsNameLocked() && !record.unicodeOnDisk()) {
        const MacName own = PcToMacName(pcName);
        const std::string whole = !brought.empty() ? std::string(brought)
                                  : isHfsPlus      ? WholeHfsName(pcName, record.sourceName(), true)
                                                   : own.bytes;
        const bool isChanged =
            record.hfsName() != whole || (brought.empty() && !isHfsPlus && !own.isExact);
        if (isChanged)
            told.push_back(isHfsPlus ? NameInTree("HFS+", NarrowToUtf8(record.hfsName()))
                                     : NameInTree("HFS", ShownHfsName(record.hfsName())));
    }
    TellNames(path, std::move(told), messages);
}

Reason NameInTree(std::string_view tree, const std::string& name) {
    return Reason(Sentence::kNameInTree, tree, Printable(name));
}

void TellNames(std::string_view item, std::vector<Reason> names, Messages& messages) {
    if (!names.empty())
        messages.nameChanged(item, messages.words(Reason::Joined(std::move(names), ", ")));
}

void RedoNamesForHfsPlus(ProjectFile& project) {
    RedoRuns(project, true, HfsPlusFormOf);
    ProjectHeader& header = project.header();
    header.setHfsLabel(MacNameInHfsPlusProject(header.hfsLabel()).bytes);
}

bool HasNamesHfsPlusLoses(const ProjectFile& project) {
    bool loses = !MacNameInHfsPlusProject(project.header().hfsLabel()).isExact;
    project.forEachRecord([&loses](const ProjectRecord& record) {
        loses = loses || (record.isIn(ProjectView::Hfs) && record.hfsNameLocked() &&
                          !MacNameInHfsPlusProject(record.hfsName()).isExact);
    });
    return loses;
}

void RedoNamesForHfs(ProjectFile& project) {
    RedoRuns(project, false, HfsFormOf);
    ProjectHeader& header = project.header();
    header.setHfsLabel(CutName(PcToMacName(NarrowToWide(header.hfsLabel())).bytes, kHfsLabelLimit));
}

void TurnToHfsPlus(ProjectFile& project, Messages& messages, const Reason& reason) {
    project.header().setHfsPlus(true);
    RedoNamesForHfsPlus(project);
    messages.showTimedMessage(Reason(Sentence::kTurnedToHfsPlus, reason));
}

void TurnToHfsPlusIfTooMany(ProjectFile& project, const ProjectTotals& totals, Messages& messages) {
    if (project.mode() != ProjectMode::Hybrid || project.header().isHfsPlus() ||
        totals.hfsRecords <= kMostHfsRecords)
        return;
    TurnToHfsPlus(project, messages,
                  Reason(Sentence::kTooManyForHfs, kMostHfsRecords, totals.hfsRecords));
}

}  // namespace vellmark
