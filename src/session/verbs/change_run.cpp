#include "session/verbs/change_run.hpp"

#include <fmt/core.h>

#include <algorithm>

#include "containers/names.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "volume/allocation.hpp"

namespace vellmark {

bool ChangeRun::open(const PartitionOptions& options) {
    partition_ = Partition::Open(options, context_, terminal, Access::Change);
    if (!partition_)
        return false;
    if (LoadAllocationState(volume()) == TreeResult::Done)
        return true;
    terminal.messages.showMessage(
        fmt::format("{}: the maps of free blocks and nodes cannot be read, or are damaged.",
                    Printable(options.image)));
    return false;
}

std::optional<CatalogItem> ChangeRun::find(const std::string& path) {
    std::optional<CatalogItem> item;
    const TreeResult result = FindPath(volume(), path, clock(), item);
    if (result != TreeResult::Done)
        problem(CatalogProblem(result, "on the way to " + Printable(path)));
    else if (!item)
        judge(EditResult::Missing, path);
    return item;
}

std::optional<CatalogItem> ChangeRun::findFolder(const std::string& path) {
    std::optional<CatalogItem> item = find(path);
    if (!item || item->isFolder)
        return item;
    problem(fmt::format("{} is no folder.", Printable(path)));
    return std::nullopt;
}

void ChangeRun::problem(std::string_view sentence) {
    failed = true;
    terminal.messages.showMessage(sentence);
}

bool ChangeRun::judge(EditResult result, const std::string& path) {
    const std::string sentence = EditSentence(result, Printable(path), context_.language);
    if (!sentence.empty())
        problem(sentence);
    return result == EditResult::Done;
}

int ChangeRun::finish() {
    isWritten = partition_->close(terminal.messages);
    failed = failed || !isWritten;
    if (failed)
        return kExitFailed;
    return terminal.messages.skipped() > 0 ? kExitSkipped : kExitDone;
}

SplitPath SplitVolumePath(std::string_view path) {
    while (path.ends_with('/'))
        path.remove_suffix(1);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos)
        return {"", std::string(path)};
    return {std::string(path.substr(0, slash)), std::string(path.substr(slash + 1))};
}

std::optional<std::array<char, 4>> FourLetterCode(const std::string& typed) {
    const std::optional<std::string> mac = WideToMacRomanExact(Utf8ToWide(typed));
    std::array<char, 4> code;
    code.fill(' ');
    if (!mac || mac->empty() || mac->size() > code.size())
        return std::nullopt;
    std::copy(mac->begin(), mac->end(), code.begin());
    return code;
}

}  // namespace vellmark
