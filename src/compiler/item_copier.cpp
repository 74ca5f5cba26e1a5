#include "compiler/item_copier.hpp"

#include <algorithm>

#include "compiler/compile_journal.hpp"
#include "compiler/item_forks.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "transfer/import_source.hpp"

namespace vellmark {

ItemCopier::ItemCopier(CompileContext& context, const DiscPlan& plan, PcFile& image,
                       const FileArea& area)
    : context_(context), plan_(plan), writer_(image, context.progress), area_(area) {}

CopyResult ItemCopier::run() {
    context_.progress.begin(plan_.sourceBytes);
    for (const DiscFolder& folder : plan_.folders) {
        JournalStep(context_, CompileStep::EnterFolder);
        for (const DiscItem& item : folder.items)
            if (const CopyResult result = copy(item); result != CopyResult::Done) {
                if (result == CopyResult::PlaceTaken)
                    problem_ = Reason(Sentence::kPlaceTaken, Printable(pathOf(*item.record)));
                return result;
            }
    }
    return writer_.finish();
}

CopyResult ItemCopier::copy(const DiscItem& item) {
    const bool isEmpty = std::all_of(item.runs.begin(), item.runs.end(),
                                     [](const DiscRun& run) { return run.sizeBytes == 0; });
    if (item.isFolder() || isEmpty)
        return CopyResult::Done;
    const std::string path = pathOf(*item.record);
    context_.progress.journal(2, path);
    const bool hasFile = item.run(RunKind::File).sizeBytes > 0;
    const bool hasForks = item.run(RunKind::Data).sizeBytes > 0 ||
                          item.run(RunKind::Resource).sizeBytes > 0 ||
                          !IsFileOfPc(item.source, plan_.appleExtension);
    if (hasForks)
        return copyForks(item, path);
    return hasFile ? copyFile(item, path) : CopyResult::Done;
}

CopyResult ItemCopier::copyForks(const DiscItem& item, const std::string& path) {
    const std::shared_ptr<ImportSource> source =
        item.decoded ? item.decoded : std::make_shared<ImportSource>();
    ImportSource& forks = *source;
    if (!item.decoded && item.source == ImportClass::BinHex)
        context_.progress.text(context_.messages.text(kTextDecodingBinHex));
    const Reason problem =
        item.decoded ? Reason()
                     : forks.open(path, item.source, false, temporary_, context_.progress);
    if (forks.stopped())
        return CopyResult::Stopped;
    if (problem) {
        problem_ = Reason(Sentence::kNamedReason, Printable(path), problem);
        return CopyResult::SourceFailed;
    }
    for (const RunKind kind : RunOrder(plan_.appleExtension)) {
        const DiscRun& run = item.run(kind);
        if (run.sizeBytes == 0)
            continue;
        const bool isFile = kind == RunKind::File && IsFileOfPc(item.source, plan_.appleExtension);
        ByteSource& fork = kind == RunKind::Resource ? forks.resource() : forks.data();
        if (!isFile && fork.size() > run.sizeBytes)
            return tellChanged(path);
        const CopyResult result =
            isFile ? copyFile(item, path)
                   : writer_.copyFork(fork, path, area_.sectorOf(run).byte(), run.sizeBytes);
        if (result == CopyResult::SourceFailed && !problem_)
            problem_ = Reason(Sentence::kForkBecameShorter, Printable(path));
        if (result != CopyResult::Done)
            return result;
    }
    return forks.hasChanged() || forks.openedDate() != item.modified ? tellChanged(path)
                                                                     : CopyResult::Done;
}

CopyResult ItemCopier::copyFile(const DiscItem& item, const std::string& path) {
    const DiscRun& run = item.run(RunKind::File);
    PcFile source(path, PcFile::Mode::Read);
    if (source.isOpen() && (source.size() > run.sizeBytes || source.openedDate() != item.modified))
        return tellChanged(path);
    const CopyResult result =
        source.isOpen() ? writer_.copyFile(source, path, area_.sectorOf(run).byte(), run.sizeBytes)
                        : CopyResult::SourceFailed;
    if (result == CopyResult::SourceFailed)
        problem_ = source.error() != 0 ? Reason(Sentence::kSourceUnreadable, Printable(path),
                                                SystemError{source.error()})
                                       : Reason(Sentence::kFileBecameShorter, Printable(path));
    return result == CopyResult::Done && source.hasChanged() ? tellChanged(path) : result;
}

// An image with the one half of a file from before a change and the other from after it is none.
CopyResult ItemCopier::tellChanged(const std::string& path) {
    problem_ = Reason(Sentence::kChangedWhileBuilt, Printable(path));
    return CopyResult::SourceFailed;
}

std::string ItemCopier::pathOf(const ProjectRecord& record) {
    const std::string_view name = record.sourceName();
    // A look at the disk is needed only where the system may know the name in another form.
    return record.shortNameFlag() || !IsAscii(name)
               ? resolver_.resolve(record.accessPath(), name)
               : resolver_.resolveFolder(record.accessPath()) + std::string(name);
}

}  // namespace vellmark
