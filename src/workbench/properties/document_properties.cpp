#include "workbench/properties/document_properties.hpp"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>

#include "containers/finder_info.hpp"
#include "containers/names.hpp"
#include "project/project_properties.hpp"
#include "support/encoding.hpp"
#include "support/mac_dates.hpp"
#include "volume/mount.hpp"
#include "volume/path_changes.hpp"
#include "workbench/commands/volume_changes.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextClose = 1000;
constexpr int kTextWrite = 1212;
constexpr int kTextVolume = 1223;
constexpr int kTextVolumeSize = 1224;
constexpr int kTextFreeSpace = 1225;
constexpr int kTextFiles = 1226;
constexpr int kTextFolders = 1227;
constexpr int kTextNextId = 1228;
constexpr int kTextOffset = 1229;
constexpr int kTextClusterSize = 1231;
constexpr int kTextFileSystem = 1237;
constexpr int kTextPartitionLabel = 1238;
constexpr int kTextModified = 1239;
constexpr int kTextDriver = 1240;
constexpr int kTextCustomIcon = 1382;
constexpr int kTextIsoLabel = 1288;
constexpr int kTextMacLabel = 1289;
constexpr int kTextOpensRoot = 1273;
constexpr int kTextIncludedFolders = 1318;
constexpr int kTextIncludedFiles = 1319;
constexpr int kTextFutureCd = 1322;
constexpr int kTextSize = 1323;
constexpr int kTextRebuild = 1341;
constexpr int kTextHfsPlus = 1383;
constexpr int kTextPropertiesTitle = 1018;

constexpr int kWrite = 2;
constexpr int kMostHfsName = 27;
constexpr int kMostHfsPlusName = 255;

QString Views(std::int64_t all, std::int64_t iso, std::int64_t hfs, bool isHybrid) {
    return isHybrid ? QStringLiteral("%1 (ISO %2, HFS %3)").arg(all).arg(iso).arg(hfs)
                    : QString::number(all);
}

// When the volume was changed last, in local time; 0 for none.
UnixSeconds ChangedAt(const VolumeContext& volume, const Clock& clock) {
    const MacSeconds seconds =
        volume.isHfsPlus ? volume.vhb.modificationDate : volume.mdb.modificationDate;
    if (seconds == 0)
        return 0;
    const UnixSeconds at = FromMacGmt(seconds);
    return volume.isHfsPlus ? at + clock.zoneOffset(at) : at;
}

QString FourLetters(std::uint32_t code) {
    std::string letters;
    for (int shift = 24; shift >= 0; shift -= 8)
        letters += static_cast<char>(code >> shift);
    return ToQString(Printable(WideToUtf8(MacNameToWide(letters))));
}

AttributeChange IconChange(bool on) {
    AttributeChange change;
    (on ? change.setFlags : change.clearFlags) = kFinderCustomIcon;
    return change;
}

void AddVolumeFacts(FormDialog& dialog, const VolumeContext& volume, const Clock& clock) {
    const bool isFrench = dialog.language() == Language::French;
    if (!volume.partitionName.empty())
        dialog.addFact(kTextPartitionLabel, ToQString(Printable(volume.partitionName)));
    dialog.addFact(kTextFileSystem,
                   volume.isHfsPlus ? QStringLiteral("HFS+") : QStringLiteral("HFS"));
    const std::uint32_t block = volume.blockSize;
    dialog.addFact(kTextVolumeSize,
                   SizeWords(std::uint64_t{volume.totalBlocks()} * block, isFrench));
    dialog.addFact(kTextFreeSpace, SizeWords(std::uint64_t{volume.freeBlocks()} * block, isFrench));
    dialog.addFact(kTextClusterSize, QString::number(block));
    dialog.addFact(kTextFiles,
                   QString::number(volume.isHfsPlus ? volume.vhb.fileCount : volume.mdb.fileCount));
    dialog.addFact(kTextFolders, QString::number(volume.isHfsPlus ? volume.vhb.folderCount
                                                                  : volume.mdb.folderCount));
    dialog.addFact(kTextNextId, QString::number(volume.isHfsPlus ? volume.vhb.nextCatalogId
                                                                 : volume.mdb.nextCatalogId));
    dialog.addFact(kTextOffset, QString::number(volume.partitionStart.number()));
    dialog.addFact(kTextModified, DateWords(ChangedAt(volume, clock)));
    if (volume.isHfsPlus)
        dialog.addFact(kTextDriver, FourLetters(volume.vhb.lastMountedVersion));
}

}  // namespace

bool ShowProjectProperties(TVellmark& window) {
    ProjectFile& project = *window.documents().projectOfMode()->file;
    const ProjectProperties now = PropertiesOf(project);
    const bool isHybrid = project.mode() == ProjectMode::Hybrid;
    FormDialog dialog("document", window.text(kTextFutureCd), window.language(), &window);
    dialog.addFact(kTextIsoLabel, ToQString(Printable(now.isoLabel)));
    if (isHybrid)
        dialog.addFact(kTextMacLabel, ToQString(Printable(now.hfsLabel)));
    const ProjectCounts& counts = now.counts;
    dialog.addFact(kTextIncludedFolders,
                   Views(counts.all.folders, counts.iso.folders, counts.hfs.folders, isHybrid));
    dialog.addFact(kTextIncludedFiles,
                   Views(counts.all.files, counts.iso.files, counts.hfs.files, isHybrid));
    dialog.addMegabytes(kTextSize, now.sectors);
    if (!isHybrid) {
        // What an ISO+ project is made into has nothing to choose.
        dialog.addButton("MessFermer", window.text(kTextClose), QDialog::Rejected);
        (void)dialog.exec();
        return false;
    }
    const QCheckBox* const hfsPlus = dialog.addBox("HFSPlus", kTextHfsPlus, now.isHfsPlus);
    const QCheckBox* const openRoot = dialog.addBox("Racine", kTextOpensRoot, now.opensRoot);
    const QCheckBox* const rebuild =
        dialog.addBox("Rebuild", kTextRebuild, now.rebuildsBeforeCompile);
    dialog.addButton("Ecrire", window.text(kTextWrite), kWrite)->setDefault(true);
    dialog.addButton("MessFermer", window.text(kTextClose), QDialog::Rejected);
    while (dialog.exec() == kWrite) {
        ProjectChanges changes{.opensRoot = openRoot->isChecked(),
                               .rebuildsBeforeCompile = rebuild->isChecked()};
        if (hfsPlus->isChecked() != now.isHfsPlus)
            changes.isHfsPlus = hfsPlus->isChecked();
        const Reason refusal = ChangeProject(project, changes);
        if (!refusal)
            return true;
        window.messages().showMessage(refusal);
    }
    return false;
}

bool ShowVolumeProperties(TVellmark& window) {
    PartitionDocument& document = *window.documents().partition;
    const VolumeContext& volume = document.volume();
    const QString name = ToQString(Printable(VolumeName(document.volume())));
    FormDialog dialog("document", window.text(kTextPropertiesTitle), window.language(), &window);
    QLineEdit* const field = dialog.addField("Nom", kTextVolume, name,
                                             volume.isHfsPlus ? kMostHfsPlusName : kMostHfsName);
    AddVolumeFacts(dialog, volume, window.context().clock);
    const std::optional<CatalogItem> root = VolumeFolder(window, kRootFolderId);
    const bool hasIcon = root && (root->finderFlags & kFinderCustomIcon) != 0;
    QCheckBox* const icon = dialog.addBox("Icone", kTextCustomIcon, hasIcon);
    icon->setEnabled(!document.isReadOnly());
    if (document.isReadOnly())
        dialog.addNote(Words(document.readOnlyReason(), window.language()));
    auto* const write = dialog.addButton("Ecrire", window.text(kTextWrite), kWrite);
    write->setDefault(true);
    write->setEnabled(!document.isReadOnly());
    field->setReadOnly(document.isReadOnly());
    dialog.addButton("MessFermer", window.text(kTextClose), QDialog::Rejected);
    // What is done is kept, also when the rest is refused.
    QString keptName = name;
    while (dialog.exec() == kWrite) {
        WritableVolume* const writable = document.writable();
        PathChange change;
        if (!writable)
            change = {EditResult::Failed, document.readOnlyReason()};
        else if (field->text() != keptName)
            change = Relabel(*writable, field->text().toStdString(), window.messages());
        if (change.isDone())
            keptName = field->text();
        if (change.isDone() && icon->isChecked() != hasIcon)
            change = ChangeAttributesAt(*writable, "", IconChange(icon->isChecked()),
                                        window.context().clock);
        if (change.isDone())
            return true;
        if (change.problem)
            window.messages().showMessage(change.problem);
    }
    return keptName != name;
}

}  // namespace vellmark
