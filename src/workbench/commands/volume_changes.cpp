#include "workbench/commands/volume_changes.hpp"

#include <algorithm>

#include "session/project_options.hpp"
#include "session/signature_file.hpp"
#include "session/user_options.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "transfer/copy_all_in.hpp"
#include "volume/catalog_search.hpp"
#include "volume/path_changes.hpp"
#include "workbench/browser/pc_browser.hpp"
#include "workbench/browser/target_folder.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/jobs/main_thread.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kStatusPanel = 4;

PartitionDocument& DocumentOf(TVellmark& window) {
    return *window.documents().partition;
}

// The volume to be changed; null after a message.
WritableVolume* ChangedVolumeOf(TVellmark& window) {
    WritableVolume* const volume = DocumentOf(window).writable();
    if (!volume)
        window.messages().showMessage(DocumentOf(window).readOnlyReason());
    return volume;
}

// A slash within a name is typed as a colon.
std::string AsTyped(std::string name) {
    std::replace(name.begin(), name.end(), '/', ':');
    return name;
}

bool Save(TVellmark& window) {
    return DocumentOf(window).save(window.context().clock, window.messages());
}

// Runs one change after the other until one is stopped; whatever was done is written.
template <typename Change>
void ChangeEach(TVellmark& window, const std::vector<std::string>& paths, Change change) {
    WritableVolume* const volume = ChangedVolumeOf(window);
    if (!volume)
        return;
    window.runJob(JobKind::Work, [&](Progress& progress) {
        for (const std::string& path : paths) {
            const PathChange done = change(*volume, path, progress);
            if (done.problem)
                window.messages().showMessage(done.problem);
            if (done.result == EditResult::Stopped)
                break;
        }
        (void)Save(window);
    });
}

}  // namespace

void KeepVolume(TVellmark& window) {
    window.runJob(JobKind::Work, [&](Progress&) { (void)Save(window); });
}

std::string VolumePathOf(TVellmark& window, const CatalogItem& item) {
    return item.id == kRootFolderId ? std::string()
                                    : PathOf(DocumentOf(window).volume(),
                                             {item.parentId, item.catalogName, item.isFolder});
}

std::optional<CatalogItem> VolumeFolder(TVellmark& window, std::int32_t folder) {
    VolumeContext& volume = DocumentOf(window).volume();
    const auto id = static_cast<std::uint32_t>(folder);
    std::optional<CatalogItem> item;
    if (id == kRootFolderId) {
        (void)FindPath(volume, "", window.context().clock, item);
        return item;
    }
    std::vector<CatalogItem> siblings;
    (void)ListFolder(volume, ParentOf(volume, id), window.context().clock, siblings);
    for (CatalogItem& each : siblings)
        if (each.isFolder && each.id == id)
            item = std::move(each);
    return item;
}

std::vector<CatalogItem> SelectedVolumeItems(TVellmark& window) {
    const Selection selected = window.selection();
    std::vector<CatalogItem> items;
    if (selected.isInList) {
        for (const std::size_t row : selected.rows)
            items.push_back(window.volumeItems()->item(row));
    } else if (std::optional<CatalogItem> folder = VolumeFolder(window, selected.folder)) {
        items.push_back(std::move(*folder));
    }
    return items;
}

std::vector<std::string> SelectedVolumePaths(TVellmark& window) {
    std::vector<std::string> paths;
    for (const CatalogItem& item : SelectedVolumeItems(window))
        paths.push_back(VolumePathOf(window, item));
    return paths;
}

std::vector<CatalogItem> VolumeItemsOf(TVellmark& window,
                                       const std::vector<std::int32_t>& numbers) {
    std::vector<CatalogItem> items;
    for (std::size_t row = 0; row < window.rowCount(); ++row) {
        const CatalogItem& item = window.volumeItems()->item(row);
        if (std::find(numbers.begin(), numbers.end(), static_cast<std::int32_t>(item.id)) !=
            numbers.end())
            items.push_back(item);
    }
    return items;
}

bool CopyItemsOut(TVellmark& window, const std::vector<CatalogItem>& items,
                  const std::string& folder, ExistingFiles existing) {
    bool isWhole = false;
    window.runJob(JobKind::Work, [&](Progress& progress) {
        CopyOutOptions options;
        options.mode = window.documents().copyMode;
        options.naming = OptionsOf(window.state().settings, window.language()).naming;
        KeptAnswers& kept = window.answers();
        options.fonts = kept.convertsFontsOut ? FontPolicy::Always : FontPolicy::Ask;
        options.existing = existing;
        options.imagePath = DocumentOf(window).path();
        CopyOut batch(DocumentOf(window).volume(), options,
                      SignaturesOf(window.context(), window.messages()), window.messages(),
                      progress, window.context().clock);
        batch.hidesNoFonts = kept.hidesNoFonts;
        for (const CatalogItem& item : items) {
            const std::string path = VolumePathOf(window, item);
            const std::optional<std::string> name = PcNameOf(batch, item, path);
            if (!name)
                continue;
            const CopyOutResult result = CopyItemOut(batch, item, path, folder + "/" + *name);
            // A yes to all is kept as long as the window, a no for this copy alone.
            kept.convertsFontsOut =
                kept.convertsFontsOut || batch.fontAnswer.kept == Remembered::YesToAll;
            kept.hidesNoFonts = batch.hidesNoFonts;
            if (result == CopyOutResult::Stopped || result == CopyOutResult::BatchEnds)
                return;
        }
        isWhole = batch.itemsLeftOut == 0 && !batch.foundDamage;
    });
    window.messages().tellSkipped();
    return isWhole;
}

void CopySelectedOut(TVellmark& window) {
    const std::vector<CatalogItem> items = SelectedVolumeItems(window);
    if (items.empty())
        return;
    const std::optional<std::string> folder = AskTargetFolder(window);
    if (folder)
        (void)CopyItemsOut(window, items, *folder, ExistingFiles::Ask);
}

void CopyIntoVolume(TVellmark& window, const std::vector<std::string>& paths) {
    WritableVolume* const volume = ChangedVolumeOf(window);
    if (!volume)
        return;
    Reason copied;
    window.runJob(JobKind::Work, [&](Progress& progress) {
        // The settings belong to the window's thread.
        CopyInOptions options = InMainThread([&] { return CopyInOptionsOf(window.context()); });
        options.mode = window.documents().copyMode;
        options.existing = ExistingFiles::Ask;
        KeptAnswers& kept = window.answers();
        options.fonts = kept.convertsFontsIn ? FontPolicy::Always : FontPolicy::Ask;
        options.truncation.automatic = options.truncation.automatic || kept.shortensImported;
        options.truncation.addsCrc = options.truncation.addsCrc || kept.addsCrc;
        options.imagePath = DocumentOf(window).path();
        options.journalPath = JournalOf(window.context());
        CopyIn batch(*volume, options, SignaturesOf(window.context(), window.messages()),
                     window.messages(), progress, window.context().clock);
        (void)CopyAllIn(batch, paths, window.documents().partitionFolder);
        kept.convertsFontsIn =
            kept.convertsFontsIn || batch.answers.font.kept == Remembered::YesToAll;
        InMainThread([&] { KeepFontIds(batch, window.context()); });
        (void)Save(window);
        kept.shortensImported = batch.options.truncation.automatic;
        kept.addsCrc = batch.options.truncation.addsCrc;
        copied = CopiedText(batch);
    });
    window.status().setPanel(kStatusPanel, Words(copied, window.language()));
    window.messages().tellSkipped();
}

void DeleteFromVolume(TVellmark& window, const std::vector<std::string>& paths) {
    RememberedAnswer answer;
    const bool confirms = !OptionsOf(window.state().settings, window.language()).deletesSilently;
    ChangeEach(window, paths,
               [&](WritableVolume& volume, const std::string& path, Progress& progress) {
                   DeleteContext deletion{window.messages(), progress, window.context().clock,
                                          answer, confirms};
                   return DeleteAt(volume, path, deletion);
               });
}

void MoveInVolume(TVellmark& window, const std::vector<std::string>& paths) {
    const std::uint32_t target = window.documents().partitionFolder;
    const std::optional<CatalogItem> folder =
        VolumeFolder(window, static_cast<std::int32_t>(target));
    if (!folder)
        return;
    // What lies there already stays.
    std::vector<std::string> moved = paths;
    const std::string there = VolumePathOf(window, *folder);
    std::erase_if(moved, [&](const std::string& path) {
        return path.substr(0, path.find_last_of('/') + 1) == (there.empty() ? "" : there + "/");
    });
    ChangeEach(window, moved, [&](WritableVolume& volume, const std::string& path, Progress&) {
        return MoveAt(volume, path, target, window.context().clock);
    });
}

void RenameInVolume(TVellmark& window, const CatalogItem& item, const QString& name) {
    ChangeEach(window, {VolumePathOf(window, item)},
               [&](WritableVolume& volume, const std::string& path, Progress&) {
                   return RenameAt(volume, path, name.toStdString(), window.messages(),
                                   window.context().clock);
               });
}

void MakeVolumeFolder(TVellmark& window, const std::string& name) {
    const std::optional<CatalogItem> parent =
        VolumeFolder(window, static_cast<std::int32_t>(window.documents().partitionFolder));
    if (!parent)
        return;
    const std::string path = VolumePathOf(window, *parent) + "/" + AsTyped(name);
    ChangeEach(window, {path}, [&](WritableVolume& volume, const std::string& folder, Progress&) {
        return MakeFolderAt(volume, folder, MissingFolders::Refuse, window.context().clock);
    });
}

void SwapSelectedForks(TVellmark& window) {
    ChangeEach(window, SelectedVolumePaths(window),
               [&](WritableVolume& volume, const std::string& path, Progress&) {
                   return SwapForksAt(volume, path, window.context().clock);
               });
}

void CopyFilesIn(TVellmark& window) {
    const std::vector<std::string> paths = AskFilesToCopy(window);
    if (!paths.empty())
        CopyIntoVolume(window, paths);
}

}  // namespace vellmark
