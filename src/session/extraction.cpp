#include "session/extraction.hpp"

#include <fmt/format.h>

#include "containers/fork_pair.hpp"
#include "support/encoding.hpp"
#include "support/watched_source.hpp"
#include "volume/open_fork.hpp"

namespace vellmark {

namespace {

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
    if (const std::string sentence = targets_.enter(target); !sentence.empty())
        return skip(entry, sentence);
    if (!walk(tree, entry)) {
        targets_.abandonFolders();
        return Extraction::Stopped;
    }
    targets_.leave(entry.modified);
    return Extraction::Done;
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
    const std::string name = SafePcName(entry.name);
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
    const std::string sentence = targets_.enter(targets_.folder() + "/" + SafePcName(folder.name));
    if (!sentence.empty())
        skip(folder, sentence);
    return sentence.empty();
}

void Extractor::leave(const ViewEntry& folder) {
    targets_.leave(folder.modified);
}

void Extractor::problem(const std::string& sentence) {
    foundDamage_ = true;
    messages_.showMessage(sentence);
}

// Empty when a file can be written there.
std::string Extractor::refusalOf(const std::string& target) const {
    std::string refusal = targets_.refusalOf(target);
    if (refusal.empty() && !replace_ && PcTargets::exists(target))
        refusal = fmt::format("{} exists already{}.", Printable(target), kForceHint);
    return refusal;
}

Extraction Extractor::takeFile(const ViewEntry& file, const std::string& target) {
    if (const std::string refusal = refusalOf(target); !refusal.empty())
        return skip(file, refusal);
    std::string sentence;
    const std::unique_ptr<ByteSource> source = source_->open(file, sentence);
    if (!source)
        return skip(file, sentence);
    progress_.text(NameOf(file));
    WatchedSource watched(*source, progress_);
    const PcWriting writing =
        WritePcTarget({target, {}, replace_, file.modified}, [&](PcFile& out, PcFile*) {
            return CopyFork(watched, out, 0) == ContainerFault::None
                       ? std::string{}
                       : std::string(kContentsCutShort);
        });
    if (watched.stopped())
        return Extraction::Stopped;
    return writing.problem.empty() ? Extraction::Done : skip(file, writing.problem);
}

Extraction Extractor::skip(const ViewEntry& entry, std::string_view reason) {
    messages_.itemSkipped(NameOf(entry), reason);
    return Extraction::Skipped;
}

}  // namespace vellmark
