#include "IO/redo_places.hpp"

#include <fmt/core.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "IO/redo_log.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kExtension = ".vellmark-redo";

// Wherever links lead.
std::string RealPathOf(const std::string& path) {
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    return error ? path : real.string();
}

// FNV-1a, 64 bits.
std::string HashOf(const std::string& text) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return fmt::format("{:016x}", hash);
}

}  // namespace

std::string RedoLogPath(const std::string& imagePath) {
    return RealPathOf(imagePath) + std::string(kExtension);
}

std::optional<std::uint64_t> InodeOf(const PcFile& image) {
    const PcFacts facts = PcFactsOf(image.descriptorPath());
    if (facts.kind != PcKind::File)
        return std::nullopt;
    return facts.inode;
}

std::string KeptLogPath(const PcFile& image, const std::string& imagePath, const FileGuard& guard) {
    return fmt::format("{}/{}-{:x}{}", guard.logFolder, HashOf(RealPathOf(imagePath)),
                       InodeOf(image).value_or(0), kExtension);
}

int FindKeptLogs(std::optional<std::uint64_t> inode, const std::string& imagePath,
                 const FileGuard& guard, std::vector<KeptLog>& logs) {
    if (guard.logFolder.empty())
        return 0;
    std::error_code error;
    std::filesystem::directory_iterator entries(guard.logFolder, error);
    const std::string byPath = HashOf(RealPathOf(imagePath)) + "-";
    const std::string byNumber =
        inode ? fmt::format("-{:x}{}", *inode, kExtension) : std::string(1, '/');
    for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
        const std::string name = entries->path().filename().string();
        if (name.ends_with(kExtension) && (name.starts_with(byPath) || name.ends_with(byNumber)))
            logs.push_back({entries->path().string(), name.starts_with(byPath)});
    }
    const int number = error.value();
    return number == ENOENT || number == ENOTDIR || number == EACCES ? 0 : number;
}

int MakePrivateFolder(const std::string& folder) {
    if (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST)
        return 0;
    if (errno != ENOENT || FolderOf(folder) == folder || FolderOf(folder) == ".")
        return errno;
    if (const int error = MakePrivateFolder(FolderOf(folder)); error != 0)
        return error;
    return ::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST ? 0 : errno;
}

}  // namespace vellmark
