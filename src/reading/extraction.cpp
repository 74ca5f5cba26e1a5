#include "reading/extraction.hpp"

#include <fmt/core.h>

#include "containers/fork_pair.hpp"
#include "support/encoding.hpp"
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
        return skip(entry, fmt::format("{} has just been written.", Printable(target)));
    if (!entry.isFolder)
        return takeFile(entry, target);
    if (const Reason problem = targets_.enter(target))
        return skip(entry, messages_.words(problem));
    if (!walk(tree, entry)) {
        targets_.abandonFolders();
        return Extraction::Stopped;
    }
    const Reason problem = targets_.leave(entry.modified);
    return problem ? skip(entry, messages_.words(problem)) : Extraction::Done;
}

Extraction Extractor::takeTo(TreeView& tree, const ViewEntry& file, ByteSink& sink) {
    std::string sentence;
    const std::unique_ptr<ByteSource> source = tree.open(file, sentence);
    if (!source)
        return skip(file, sentence);
    WatchedSource watched(*source, progress_);
    const ContainerFault fault = CopyFork(watched, sink, 0);
    if (watched.stopped() || fault == ContainerFault::TargetFailed)
        return Extraction::Stopped;
    return fault == ContainerFault::None ? Extraction::Done : skip(file, kContentsCutShort);
}

TreeWalker::Next Extractor::visit(const ViewEntry& entry, std::size_t) {
    const std::string name = PcFileName(entry.name, kMostPcNameBytes, entry.path, messages_);
    if (!targets_.claimName(name)) {
        skip(entry, "Another item of its folder has the same name on the PC.");
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
        skip(folder, messages_.words(problem));
    return problem.isNone();
}

void Extractor::leave(const ViewEntry& folder) {
    if (const Reason problem = targets_.leave(folder.modified))
        skip(folder, messages_.words(problem));
}

void Extractor::problem(const std::string& sentence) {
    foundDamage_ = true;
    messages_.showMessage(sentence);
}

// False after a message, or when the person wants to keep what is there.
bool Extractor::mayWrite(const ViewEntry& file, const std::string& target) {
    std::string refusal = messages_.words(targets_.refusalOf(target));
    const bool isTaken = existing_ != ExistingFiles::Replace && PcTargets::exists(target);
    if (refusal.empty() && isTaken && existing_ == ExistingFiles::Ask) {
        const bool mayGo = replaceAnswer_.ask(
            messages_, FormatText(kTextReplace, messages_.language(), Printable(target)));
        itemsLeftOut_ += mayGo ? 0 : 1;
        return mayGo;
    }
    if (refusal.empty() && isTaken)
        refusal = fmt::format("{} exists already{}.", Printable(target), keptHint_);
    if (!refusal.empty())
        skip(file, refusal);
    return refusal.empty();
}

Extraction Extractor::takeFile(const ViewEntry& file, const std::string& target) {
    if (!mayWrite(file, target))
        return progress_.chunk(0) ? Extraction::Skipped : Extraction::Stopped;
    // What was not to be replaced was refused, and what comes in between stays.
    const bool replaces = PcTargets::exists(target);
    std::string sentence;
    const std::unique_ptr<ByteSource> source = source_->open(file, sentence);
    if (!source)
        return skip(file, sentence);
    progress_.text(NameOf(file));
    WatchedSource watched(*source, progress_);
    const PcWriting writing =
        targets_.write({target, {}, replaces, file.modified}, [&](PcFile& out, PcFile*) {
            return CopyFork(watched, out, 0) == ContainerFault::None
                       ? Reason()
                       : Reason::Plain(std::string(kContentsCutShort));
        });
    if (watched.stopped())
        return Extraction::Stopped;
    return writing.problem ? skip(file, messages_.words(writing.problem)) : Extraction::Done;
}

Extraction Extractor::skip(const ViewEntry& entry, std::string_view reason) {
    ++itemsLeftOut_;
    messages_.itemSkipped(NameOf(entry), reason);
    return Extraction::Skipped;
}

}  // namespace vellmark
