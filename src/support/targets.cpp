#include "support/targets.hpp"

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

// Nothing when a file can be made there.
Reason RefusalOf(const std::string& path, bool replace) {
    const std::string name = Printable(path);
    if (path.empty())
        return Sentence::kTargetNeedsName;
    const PcFacts facts = PcFactsOf(path);
    if (facts.kind == PcKind::Folder || path.ends_with('/'))
        return Reason(Sentence::kTargetIsFolder, name);
    if (facts.kind == PcKind::Special)
        return Reason(Sentence::kTargetIsSpecial, name);
    if (!replace && (facts.kind == PcKind::File || facts.isLink))
        return Reason(Sentence::kTargetExists, name);
    const std::string folder = FolderOf(path);
    const PcKind folderKind = PcFactsOf(folder).kind;
    if (folderKind != PcKind::Folder)
        return Reason(folderKind == PcKind::Missing ? Sentence::kTargetLacksFolder
                                                    : Sentence::kTargetNotInFolder,
                      name, Printable(folder));
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        return Reason(Sentence::kTargetFolderClosed, name, Printable(folder), SystemError{errno});
    return {};
}

}  // namespace

std::string FollowLink(const std::string& path) {
    const PcFacts facts = PcFactsOf(path);
    if (!facts.isLink || facts.kind == PcKind::Missing)
        return path;
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    return error ? path : real.string();
}

bool MayMakeFile(const std::string& path, bool replace, Messages& messages) {
    const Reason refusal = RefusalOf(path, replace);
    if (refusal)
        messages.showMessage(refusal);
    return !refusal;
}

}  // namespace vellmark
