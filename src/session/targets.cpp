#include "session/targets.hpp"

#include <fmt/core.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

// Empty when a file can be made there.
std::string RefusalOf(const std::string& path, bool replace) {
    const std::string name = Printable(path);
    if (path.empty())
        return "The file to make needs a name.";
    const PcFacts facts = PcFactsOf(path);
    if (facts.kind == PcKind::Folder || path.ends_with('/'))
        return fmt::format("{} names a folder, not a file.", name);
    if (facts.kind == PcKind::Special)
        return fmt::format("{} is a pipe, a socket or a device, which is never replaced.", name);
    if (!replace && (facts.kind == PcKind::File || facts.isLink))
        return fmt::format("{} exists already; --force replaces it.", name);
    const std::string folder = FolderOf(path);
    const PcKind folderKind = PcFactsOf(folder).kind;
    if (folderKind != PcKind::Folder)
        return fmt::format(
            "{} cannot be made: {}.", name,
            folderKind == PcKind::Missing
                ? fmt::format("there is no folder {}, or it cannot be entered", Printable(folder))
                : fmt::format("{} is no folder", Printable(folder)));
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        return fmt::format("{} cannot be made, as nothing can be written into the folder {}: {}.",
                           name, Printable(folder), SystemErrorText(errno));
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
    const std::string refusal = RefusalOf(path, replace);
    if (!refusal.empty())
        messages.showMessage(refusal);
    return refusal.empty();
}

}  // namespace vellmark
