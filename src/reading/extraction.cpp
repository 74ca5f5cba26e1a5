#include "reading/extraction.hpp"

#include "containers/fork_pair.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "support/watched_source.hpp"
#include "volume/open_fork.hpp"

namespace vellmark {

namespace {

constexpr int kTextReplace = 1161;

std::string NameOf(const ViewEntry& entry) {
    return entry.path.empty() ? "/" : Printable(entry.path);
}

}  // namespace

Extraction Extractor::take(TreeView& tree, const ViewEntry& entry, const std::string& target) {
    source_ = &tree;
    if (!targets_.claim(target))
        return skip(entry, Reason(Sentence::kJustWritten, Printable(target)));
    if (!entry.isFolder)
        return takeFile(entry, target);
    if (const Reason problem = targets_.enter(target))
        return skip(entry, problem);
    if (!walk(tree, entry)) {
        targets_.abandonFolders();
        return Extraction::Stopped;
    }
    const Reason problem = targets_.leave(entry.modified);
    return problem ? skip(entry, problem) : Extraction::Done;
}

Extraction Extractor::takeTo(TreeView& tree, const ViewEntry& file, ByteSink& sink) {
    const auto source = tree.open(file);
    if (!source)
        return skip(file, source.error());
    WatchedSource watched(**source, progress_);
    const ContainerFault fault = CopyFork(watched, sink, 0);
    if (watched.stopped() || fault == ContainerFault::TargetFailed)
        return Extraction::Stopped;
    return fault == ContainerFault::None ? Extraction::Done
                                         : skip(file, Sentence::kContentsCutShort);
}

TreeWalker::Next Extractor::visit(const ViewEntry& entry, std::size_t) {
    const std::string name = PcFileName(entry.name, kMostPcNameBytes, entry.path, messages_);
    if (!targets_.claimName(name)) {
        skip(entry, Sentence::kSameNameOnPc);
        return Next::Pass;
    }
    if (entry.isFolder)
        return Next::GoOn;
    return takeFile(entry, targets_.folder() + "/" + name) == Extraction::Stopped ? Next::Stop
                                                                                  : Next::Pass;
}

bool Extractor::enter(const ViewEntry& folder) {
    const Reason problem = targets_.enter(targets_.folder() + "/" + PcFileName(folder.name));
    if (problem)
        skip(folder, problem);
    return problem.isNone();
}

void Extractor::leave(const ViewEntry& folder) {
    if (const Reason problem = targets_.leave(folder.modified))
        skip(folder, problem);
}

void Extractor::problem(const Reason& reason) {
    foundDamage_ = true;
    messages_.showMessage(reason);
}

// False after a message, or when the person wants to keep what is there.
bool Extractor::mayWrite(const ViewEntry& file, const std::string& target) {
    Reason refusal = targets_.refusalOf(target);
    const bool isTaken = existing_ != ExistingFiles::Replace && PcTargets::exists(target);
    if (!refusal && isTaken && existing_ == ExistingFiles::Ask) {
        const bool mayGo = replaceAnswer_.ask(
            messages_, FormatText(kTextReplace, messages_.language(), Printable(target)));
        itemsLeftOut_ += mayGo ? 0 : 1;
        return mayGo;
    }
    if (!refusal && isTaken)
        refusal = Reason(Sentence::kExistsAlready, Printable(target), keptHint_);
    if (refusal)
        skip(file, refusal);
    return !refusal;
}

Extraction Extractor::takeFile(const ViewEntry& file, const std::string& target) {
    if (!mayWrite(file, target))
        return progress_.mayGoOn() ? Extraction::Skipped : Extraction::Stopped;
    // What was not to be replaced was refused, and what comes in between stays.
    const bool replaces = PcTargets::exists(target);
    const auto source = source_->open(file);
    if (!source)
        return skip(file, source.error());
    progress_.text(NameOf(file));
    WatchedSource watched(**source, progress_);
    const PcWriting writing =
        targets_.write({target, {}, replaces, file.modified}, [&](PcFile& out, PcFile*) {
            return CopyFork(watched, out, 0) == ContainerFault::None
                       ? Reason()
                       : Reason(Sentence::kContentsCutShort);
        });
    if (watched.stopped())
        return Extraction::Stopped;
    return writing.problem ? skip(file, writing.problem) : Extraction::Done;
}

Extraction Extractor::skip(const ViewEntry& entry, const Reason& reason) {
    ++itemsLeftOut_;
    messages_.itemSkipped(NameOf(entry), reason);
    return Extraction::Skipped;
}

}  // namespace vellmark
