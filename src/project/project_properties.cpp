#include "project/project_properties.hpp"

#include <algorithm>
#include <string_view>

#include "project/view_names.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/catalog_name.hpp"

namespace vellmark {

namespace {

constexpr int kTextTooManyForHfs = 1472;

void Count(ItemCounts& counts, const ProjectRecord& record) {
    ++(record.isFolder() ? counts.folders : counts.files);
}

/// One text: its field in the header, and the number of its caption.
template <std::size_t N>
struct DescriptorRow {
    std::string DescriptorTexts::*text;
    char (ProjectHeader::*field)[N];
    int caption;
};

/// Calls `use(row)` for every text.
template <typename Use>
void ForEachDescriptorRow(Use use) {
    using Texts = DescriptorTexts;
    using Header = ProjectHeader;
    use(DescriptorRow<32>{&Texts::system, &Header::system, 1460});
    use(DescriptorRow<128>{&Texts::volumeSet, &Header::volumeSet, 1462});
    use(DescriptorRow<128>{&Texts::publisher, &Header::publisher, 1463});
    use(DescriptorRow<128>{&Texts::dataPreparer, &Header::dataPreparer, 1464});
    use(DescriptorRow<128>{&Texts::application, &Header::application, 1465});
    use(DescriptorRow<12>{&Texts::copyrightFile, &Header::copyrightFile, 1466});
    use(DescriptorRow<12>{&Texts::abstractFile, &Header::abstractFile, 1467});
    use(DescriptorRow<12>{&Texts::bibliographicFile, &Header::bibliographicFile, 1468});
}

bool HasControl(std::u16string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](char16_t unit) { return unit < 0x20 || unit == 0x7F; });
}

}  // namespace

ProjectCounts CountItems(const ProjectFile& project) {
    ProjectCounts counts;
    project.forEachRecord([&counts](const ProjectRecord& record) {
        Count(counts.all, record);
        if (record.isIn(ProjectView::Iso))
            Count(counts.iso, record);
        if (record.isIn(ProjectView::Hfs))
            Count(counts.hfs, record);
    });
    return counts;
}

FolderContents ContentsOf(const ProjectFile& project, std::int32_t folder, ProjectView view) {
    FolderContents contents;
    for (const ProjectRecord& record : project.childrenOf(folder)) {
        if (!record.isIn(view))
            continue;
        Count(contents.items, record);
        if (!record.isFolder())
            contents.bytes += std::uint64_t{record.dataSize} + record.resourceSize;
    }
    return contents;
}

std::string LabelOf(const ProjectFile& project, LabelSide side) {
    const ProjectHeader& header = project.header();
    if (side != LabelSide::Hfs)
        return NarrowToUtf8(header.isoLabel());
    return header.isHfsPlus() ? NarrowToUtf8(header.hfsLabel()) : ShownHfsName(header.hfsLabel());
}

ProjectProperties PropertiesOf(const ProjectFile& project) {
    const ProjectHeader& header = project.header();
    ProjectProperties properties;
    properties.isHfsPlus = header.isHfsPlus();
    properties.opensRoot = header.openRoot();
    properties.rebuildsBeforeCompile = header.rebuildBeforeCompile();
    properties.hasVolumeIcon = header.customIcon();
    properties.isoLabel = LabelOf(project, LabelSide::Iso);
    properties.hfsLabel = LabelOf(project, LabelSide::Hfs);
    properties.counts = CountItems(project);
    properties.sectors = project.totals().sectors;
    return properties;
}

Reason ChangeProject(ProjectFile& project, const ProjectChanges& changes) {
    ProjectHeader& header = project.header();
    const bool isHfsPlus = changes.isHfsPlus.value_or(header.isHfsPlus());
    if (isHfsPlus && project.mode() == ProjectMode::IsoPlus)
        return Sentence::kIsoPlusHasNoVolume;
    if (!isHfsPlus && header.isHfsPlus() && project.totals().hfsRecords > kMostHfsRecords)
        return ToldText{kTextTooManyForHfs};
    header.setOpenRoot(changes.opensRoot.value_or(header.openRoot()));
    header.setRebuildBeforeCompile(
        changes.rebuildsBeforeCompile.value_or(header.rebuildBeforeCompile()));
    if (isHfsPlus == header.isHfsPlus())
        return {};
    header.setHfsPlus(isHfsPlus);
    if (isHfsPlus)
        RedoNamesForHfsPlus(project);
    else
        RedoNamesForHfs(project);
    return {};
}

DescriptorTexts DescriptorTextsOf(const ProjectHeader& header) {
    DescriptorTexts texts;
    ForEachDescriptorRow(
        [&](const auto& row) { texts.*row.text = NarrowToUtf8(FieldText(header.*row.field)); });
    return texts;
}

Reason SetDescriptorTexts(ProjectHeader& header, const DescriptorTexts& texts) {
    ProjectHeader changed = header;
    Reason refusal;
    ForEachDescriptorRow([&](const auto& row) {
        const std::u16string wide = ComposeName(Utf8ToWide(texts.*row.text));
        constexpr std::size_t kLimit = sizeof(changed.*row.field);
        const ToldText caption{row.caption};
        if (refusal)
            return;
        if (!IsNarrow(wide) || HasControl(wide))
            refusal = Reason(Sentence::kDescriptorTextForeign, caption);
        else if (wide.size() > kLimit)
            refusal = Reason(Sentence::kDescriptorTextTooLong, caption, wide.size(), kLimit);
        else
            SetFieldText(changed.*row.field, WideToNarrow(wide), 0);
    });
    if (!refusal)
        header = changed;
    return refusal;
}

}  // namespace vellmark
