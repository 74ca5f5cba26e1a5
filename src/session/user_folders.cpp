#include "session/user_folders.hpp"

#include <sys/stat.h>
#include <unistd.h>

namespace vellmark {

bool IsPrivateFolder(const std::string& path) {
    struct stat facts {};
    return ::lstat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode) &&
           facts.st_uid == ::geteuid() && (facts.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

std::string RuntimeFolder(const std::string& given, const std::string& temporary) {
    if (given.starts_with('/') && IsPrivateFolder(given) && ::access(given.c_str(), W_OK) == 0)
        return given;
    return temporary + "/vellmark-" + std::to_string(::geteuid());
}

std::string SettingsPath(const std::string& given, const std::string& home) {
    constexpr const char* kFile = "/vellmark/settings";
    if (given.starts_with('/'))
        return given + kFile;
    return home.starts_with('/') ? home + "/.config" + kFile : "";
}

std::string DataFolder(const std::string& given, const std::string& home) {
    constexpr const char* kFolder = "/vellmark";
    if (given.starts_with('/'))
        return given + kFolder;
    return home.starts_with('/') ? home + "/.local/share" + kFolder : "";
}

std::string LogFolder(const std::string& given, const std::string& home) {
    constexpr const char* kFolder = "/vellmark/redo";
    if (given.starts_with('/'))
        return given + kFolder;
    return home.starts_with('/') ? home + "/.local/state" + kFolder : "";
}

}  // namespace vellmark
