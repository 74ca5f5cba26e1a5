#include "transfer/copy_out.hpp"

#include "containers/apple_single.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "support/watched_source.hpp"
#include "transfer/export_batch.hpp"
#include "transfer/font_export.hpp"

namespace vellmark {

namespace {

constexpr int kTextCopyingFolder = 1118;
constexpr int kTextNoDataFork = 1119;
constexpr int kTextNoResourceFork = 1120;
constexpr int kTextCopyOf = 1123;

constexpr std::string_view kCompanionPrefix = "._";

void TellDamage(CopyOut& batch, const Reason& problem) {
    batch.foundDamage = true;
    batch.messages.showMessage(problem);
}

std::string CompanionOf(const CopyOut& batch, const std::string& target) {
    return batch.options.mode == CopyMode::AppleDouble ? CompanionPath(target) : std::string{};
}

// The text that says that the fork which the mode asks for is empty; 0 when there is something to
// copy. A file that is wholly empty becomes an empty file: it would be lost otherwise.
int EmptyForkText(const CopyOut& batch, const CatalogItem& file) {
    const bool hasData = file.data.sizeBytes != 0;
    const bool hasResource = file.resource.sizeBytes != 0;
    if (batch.options.mode == CopyMode::DataFork && !hasData && hasResource)
        return kTextNoDataFork;
    return batch.options.mode == CopyMode::ResourceFork && !hasResource ? kTextNoResourceFork : 0;
}

bool IsNothingToCopy(CopyOut& batch, const CatalogItem& file, const std::string& path) {
    const int text = file.linkReference == 0 ? EmptyForkText(batch, file) : 0;
    if (text == 0)
        return false;
    ++batch.itemsLeftOut;
    if (!batch.hidesEmptyForks)
        batch.hidesEmptyForks = batch.messages.showRememberable(
            batch.messages.words(Reason::Told(text, ShownPath(path))));
    return true;
}

// The bytes of one file: its forks, watched, and its facts.
class Form {
  public:
    Form(CopyOut& batch, const CatalogItem& file, const OpenForks& forks)
        : mode_(batch.options.mode),
          info_(MacFileInfoOf(batch.volume, file, mode_, batch.clock)),
          data_(*forks.data, batch.progress),
          resource_(*forks.resource, batch.progress) {}

    [[nodiscard]] ContainerFault write(ByteSink& target, ByteSink* companion) {
        return WriteForm(mode_, info_, data_, resource_, target, companion);
    }
    [[nodiscard]] bool stopped() const { return data_.stopped() || resource_.stopped(); }
    [[nodiscard]] std::uint64_t sizeBytes() const { return data_.size() + resource_.size(); }

  private:
    CopyMode mode_;
    MacFileInfo info_;
    WatchedSource data_;
    WatchedSource resource_;
};

void TellCompressed(CopyOut& batch, const CatalogItem& file, const std::string& path) {
    if (file.isCompressed)
        batch.messages.showMessage(Reason(Sentence::kStoredCompressed, ShownPath(path)));
}

CopyOutResult WriteFile(CopyOut& batch, const CatalogItem& file, const std::string& path,
                        const std::string& target, const OpenForks& forks) {
    Form form(batch, file, forks);
    if (!HasRoom(batch, target, form.sizeBytes()))
        return EndWithoutRoom(batch);
    batch.progress.text(
        batch.messages.words(Reason::Told(kTextCopyOf, ShownPath(path), Printable(target))));
    batch.progress.fileStart(ShownPath(path), form.sizeBytes(), 0);
    const std::string companion = CompanionOf(batch, target);
    // What is not to be replaced was refused before, and what came in between stays.
    const bool replaces = PcTargets::exists(target) || PcTargets::exists(companion);
    const PcTarget pcTarget{target, companion, replaces, GivenDate(file.modified)};
    const auto end = WriteOut(
        batch, path, pcTarget,
        [&](PcFile& out, PcFile* beside) { return FormProblem(form.write(out, beside)); },
        [&] { return form.stopped(); });
    if (end)
        return *end;
    TellCompressed(batch, file, path);
    return batch.progress.fileEnd(0) ? CopyOutResult::Done : CopyOutResult::Stopped;
}

class FolderCopier {
  public:
    FolderCopier(CopyOut& batch, std::uint32_t startId) : batch_(batch), guard_(startId) {}

    [[nodiscard]] CopyOutResult copyContents(const CatalogItem& folder, const std::string& path,
                                             std::size_t level);

  private:
    [[nodiscard]] CopyOutResult copyChild(const CatalogItem& item, const std::string& path,
                                          std::size_t level);
    [[nodiscard]] CopyOutResult copyFolder(const CatalogItem& folder, const std::string& path,
                                           const std::string& target, std::size_t level);

    CopyOut& batch_;
    WalkGuard guard_;
};

bool EndsWalk(CopyOutResult result) {
    return result == CopyOutResult::Stopped || result == CopyOutResult::BatchEnds;
}

CopyOutResult FolderCopier::copyContents(const CatalogItem& folder, const std::string& path,
                                         std::size_t level) {
    std::vector<CatalogItem> items;
    const TreeResult listed = ListFolder(batch_.volume, folder.id, batch_.clock, items);
    if (listed != TreeResult::Done)
        TellDamage(batch_,
                   CatalogProblem(listed, path.empty()
                                              ? Reason(Sentence::kPlaceInRootFolder)
                                              : Reason(Sentence::kPlaceInFolder, ShownPath(path))));
    for (CatalogItem& item : items) {
        if (const Reason end = guard_.refuseEntry()) {
            TellDamage(batch_, end);
            return CopyOutResult::BatchEnds;
        }
        const CatalogItem child = batch_.links.resolve(std::move(item));
        const CopyOutResult result =
            copyChild(child, path.empty() ? child.name : path + "/" + child.name, level);
        if (EndsWalk(result))
            return result;
    }
    return CopyOutResult::Done;
}

CopyOutResult FolderCopier::copyChild(const CatalogItem& item, const std::string& path,
                                      std::size_t level) {
    const std::optional<std::string> name = PcNameOf(batch_, item, path);
    if (!name)
        return CopyOutResult::BatchEnds;
    const bool hasCompanion = !item.isFolder && batch_.options.mode == CopyMode::AppleDouble;
    if (!batch_.targets.claimName(*name))
        return LeaveOut(batch_, path, Sentence::kSameNameOnPc);
    if (const std::string companion = std::string(kCompanionPrefix) + *name;
        hasCompanion && !batch_.targets.claimName(companion))
        return LeaveOut(batch_, path, Reason(Sentence::kSecondFileTaken, Printable(companion)));
    const std::string target = batch_.targets.folder() + "/" + *name;
    return item.isFolder ? copyFolder(item, path, target, level + 1)
                         : CopyFileOut(batch_, item, path, target);
}

CopyOutResult FolderCopier::copyFolder(const CatalogItem& folder, const std::string& path,
                                       const std::string& target, std::size_t level) {
    if (const Reason refusal = guard_.refuseFolder(folder.id, path, level)) {
        TellDamage(batch_, refusal);
        return CopyOutResult::LeftOut;
    }
    if (const Reason problem = batch_.targets.enter(target))
        return LeaveOut(batch_, path, problem);
    batch_.messages.log(2, batch_.messages.words(Reason::Told(kTextCopyingFolder, ShownPath(path),
                                                              Printable(target))));
    const CopyOutResult result = copyContents(folder, path, level);
    if (EndsWalk(result))
        return result;
    const Reason problem = batch_.targets.leave(GivenDate(folder.modified));
    return problem ? LeaveOut(batch_, path, problem) : CopyOutResult::Done;
}

}  // namespace

std::optional<std::string> PcNameOf(CopyOut& batch, const CatalogItem& item,
                                    const std::string& path) {
    if (item.isFolder)
        return AskPcFileName(item.name, kMostPcNameBytes, path, batch.messages);
    // The second file of a pair has a longer name.
    const std::size_t mostBytes =
        kMostPcNameBytes -
        (batch.options.mode == CopyMode::AppleDouble ? kCompanionPrefix.size() : 0);
    std::string name =
        PcTargetName(item.name, item.signature, batch.options.naming, batch.signatures);
    if (batch.options.naming.policy == NamingPolicy::Ask) {
        std::optional<std::string> given = batch.messages.askFileName(name);
        if (!given) {
            batch.messages.showMessage(Reason(Sentence::kNoNameGiven));
            return std::nullopt;
        }
        name = std::move(*given);
    }
    return AskPcFileName(name, mostBytes, path, batch.messages);
}

CopyOutResult CopyItemOut(CopyOut& batch, const CatalogItem& item, const std::string& path,
                          const std::string& target) {
    const std::string companion = item.isFolder ? std::string{} : CompanionOf(batch, target);
    for (const std::string& made : {target, companion})
        if (!made.empty() && !batch.targets.claim(made))
            return LeaveOut(batch, path, Reason(Sentence::kJustWritten, Printable(made)));
    return item.isFolder ? CopyFolderOut(batch, item, path, target)
                         : CopyFileOut(batch, batch.links.resolve(item), path, target);
}

CopyOutResult CopyFileOut(CopyOut& batch, const CatalogItem& item, const std::string& path,
                          const std::string& target) {
    if (!batch.progress.mayGoOn())
        return CopyOutResult::Stopped;
    if (const auto converted = CopyFontOut(batch, item, path, target))
        return *converted;
    if (IsNothingToCopy(batch, item, path)) {
        TellCompressed(batch, item, path);
        return CopyOutResult::LeftOut;
    }
    if (const auto refused = RefuseTargets(batch, path, target, CompanionOf(batch, target)))
        return *refused;
    const Result<OpenForks> forks = OpenFormForks(batch.volume, item, batch.options.mode);
    return forks ? WriteFile(batch, item, path, target, *forks)
                 : LeaveOut(batch, path, forks.error());
}

CopyOutResult CopyFolderOut(CopyOut& batch, const CatalogItem& folder, const std::string& path,
                            const std::string& target) {
    if (const Reason problem = batch.targets.enter(target))
        return LeaveOut(batch, path, problem);
    batch.messages.log(2, batch.messages.words(Reason::Told(kTextCopyingFolder, ShownPath(path),
                                                            Printable(target))));
    const CopyOutResult result = FolderCopier(batch, folder.id).copyContents(folder, path, 0);
    if (EndsWalk(result)) {
        batch.targets.abandonFolders();
        return result;
    }
    const Reason problem = batch.targets.leave(GivenDate(folder.modified));
    return problem ? LeaveOut(batch, path, problem) : CopyOutResult::Done;
}

CopyOutResult CopyFileToSink(CopyOut& batch, const CatalogItem& item, const std::string& path,
                             ByteSink& sink) {
    const CatalogItem file = batch.links.resolve(item);
    if (IsNothingToCopy(batch, file, path)) {
        TellCompressed(batch, file, path);
        return CopyOutResult::LeftOut;
    }
    const Result<OpenForks> forks = OpenFormForks(batch.volume, file, batch.options.mode);
    if (!forks)
        return LeaveOut(batch, path, forks.error());
    Form form(batch, file, *forks);
    const ContainerFault fault = form.write(sink, nullptr);
    if (form.stopped() || fault == ContainerFault::TargetFailed)
        return CopyOutResult::Stopped;
    if (fault != ContainerFault::None)
        return LeaveOut(batch, path, FormProblem(fault));
    TellCompressed(batch, file, path);
    return CopyOutResult::Done;
}

}  // namespace vellmark
