#include "session/file_types.hpp"

#include <fcntl.h>
#include <fmt/core.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "support/pc_file.hpp"
#include "support/sentences.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

struct FileType {
    std::string_view mime;
    std::string_view pattern;
    Sentence name;
};
constexpr FileType kTypes[kFileTypes] = {
    {"application/x-vellmark-project", "*.vlpr", Sentence::kTypeProject},
    {"application/x-vellmark-partition", "*.hfs", Sentence::kTypePartition},
    {"application/x-vellmark-isoplus", "*.vlso", Sentence::kTypeIsoPlus},
};

// Below the user's folder for data. The entry is one of its own, which no menu shows: that of an
// installed program stays as it is.
constexpr std::string_view kApplications = "/applications";
constexpr std::string_view kEntry = "/applications/vellmark-file-types.desktop";
constexpr std::string_view kMime = "/mime";
constexpr std::string_view kPackage = "/mime/packages/vellmark.xml";
constexpr std::string_view kPicture = "/icons/hicolor/scalable/apps/vellmark.svg";
constexpr std::string_view kPictures = "/icons/hicolor/scalable/mimetypes";

std::string PicturePath(const FileType& type) {
    std::string name(type.mime);
    std::replace(name.begin(), name.end(), '/', '-');
    return std::string(kPictures) + "/" + name + ".svg";
}

// An argument of a desktop entry: quoted once for the command line in it, and its backslashes once
// more for the entry; a per cent sign begins a field.
std::string QuotedForEntry(std::string_view path) {
    std::string quoted = "\"";
    for (const char c : path) {
        if (c == '"' || c == '`' || c == '$')
            quoted += "\\\\";
        else if (c == '\\')
            quoted += "\\\\\\";
        else if (c == '%')
            quoted += '%';
        quoted += c;
    }
    return quoted + '"';
}

std::string_view English(Sentence sentence) {
    return SentenceText(sentence, Language::English);
}
std::string_view French(Sentence sentence) {
    return SentenceText(sentence, Language::French);
}

std::string Entry(const FileTypeSet& types, const std::string& program) {
    std::string mimes;
    for (std::size_t i = 0; i < kFileTypes; ++i)
        if (types[i])
            mimes.append(kTypes[i].mime).append(";");
    return fmt::format(
        "[Desktop Entry]\nType=Application\nName=Vellmark\nComment={}\nComment[fr]={}\n"
        "Exec={} %f\nIcon=vellmark\nTerminal=false\nNoDisplay=true\nMimeType={}\n",
        English(Sentence::kProgramComment), French(Sentence::kProgramComment),
        QuotedForEntry(program), mimes);
}

std::string Package(const FileTypeSet& types) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<mime-info xmlns=\"http://www.freedesktop.org/standards/shared-mime-info\">\n";
    for (std::size_t i = 0; i < kFileTypes; ++i)
        if (types[i])
            text += fmt::format(
                "  <mime-type type=\"{}\">\n    <comment>{}</comment>\n"
                "    <comment xml:lang=\"fr\">{}</comment>\n    <glob pattern=\"{}\"/>\n"
                "  </mime-type>\n",
                kTypes[i].mime, English(kTypes[i].name), French(kTypes[i].name), kTypes[i].pattern);
    return text + "</mime-info>\n";
}

Reason Write(const std::string& path, std::string_view bytes) {
    std::error_code error;
    std::filesystem::create_directories(FolderOf(path), error);
    const int failed =
        WriteWholeFile(path, {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    return failed == 0 ? Reason() : Reason(Sentence::kCannotBeWritten, path, SystemError{failed});
}

Reason Remove(const std::string& path) {
    return ::unlink(path.c_str()) == 0 || errno == ENOENT
               ? Reason()
               : Reason(Sentence::kCannotBeWritten, path, SystemError{errno});
}

Reason WriteOrRemove(bool isWanted, const std::string& path, std::string_view bytes) {
    return isWanted ? Write(path, bytes) : Remove(path);
}

std::string TextOf(const std::string& path) {
    PcFile file(path, PcFile::Mode::Read);
    constexpr std::uint64_t kMostBytes = 1 << 16;  // many times what is written here
    std::string text(
        static_cast<std::size_t>(std::min(file.isOpen() ? file.size() : 0, kMostBytes)), '\0');
    text.resize(file.isOpen()
                    ? file.readAt(0, {reinterpret_cast<std::uint8_t*>(text.data()), text.size()})
                    : 0);
    return text;
}

}  // namespace

FileTypeSet KnownFileTypes(const std::string& dataHome) {
    FileTypeSet known{};
    const std::string entry = TextOf(dataHome + std::string(kEntry));
    const std::string package = TextOf(dataHome + std::string(kPackage));
    for (std::size_t i = 0; i < kFileTypes; ++i)
        known[i] = !dataHome.empty() &&
                   entry.find(std::string(kTypes[i].mime) + ";") != std::string::npos &&
                   package.find("\"" + std::string(kTypes[i].mime) + "\"") != std::string::npos;
    return known;
}

Reason MakeFileTypesKnown(const FileTypeSet& types, const FileTypePlan& plan) {
    if (plan.dataHome.empty())
        return Sentence::kTypesNoFolder;
    const bool isAny = std::ranges::find(types, true) != types.end();
    const auto at = [&plan](std::string_view path) { return plan.dataHome + std::string(path); };
    // What is named stands before it is named, and goes after that.
    Reason problem = isAny ? Write(at(kPicture), plan.picture) : Reason();
    for (std::size_t i = 0; i < kFileTypes && !problem; ++i)
        if (types[i])
            problem = Write(at(PicturePath(kTypes[i])), plan.pictures[i]);
    if (!problem)
        problem = WriteOrRemove(isAny, at(kPackage), Package(types));
    if (!problem)
        problem = WriteOrRemove(isAny, at(kEntry), Entry(types, plan.program));
    for (std::size_t i = 0; i < kFileTypes && !problem; ++i)
        if (!types[i])
            problem = Remove(at(PicturePath(kTypes[i])));
    if (!problem && !isAny)
        problem = Remove(at(kPicture));
    // The desktop's own tables are made anew even of what was done in part.
    for (const auto& [tool, folder] : {std::pair{"update-mime-database", kMime},
                                       std::pair{"update-desktop-database", kApplications}}) {
        std::error_code error;
        if (std::filesystem::is_directory(at(folder), error) && !plan.runTool({tool, at(folder)}) &&
            !problem)
            problem = Reason(Sentence::kToolFailed, tool);
    }
    return problem;
}

bool RunDesktopTool(const std::vector<std::string>& arguments) {
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (const std::string& each : arguments)
        words.push_back(const_cast<char*>(each.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t files;
    ::posix_spawn_file_actions_init(&files);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::posix_spawn_file_actions_addopen(&files, descriptor, "/dev/null", O_RDWR, 0);
    pid_t process = 0;
    const int error = ::posix_spawnp(&process, words[0], &files, nullptr, words.data(), environ);
    ::posix_spawn_file_actions_destroy(&files);
    // Without such a tool the desktop looks into the files itself.
    if (error != 0)
        return error == ENOENT;
    int status = 0;
    while (::waitpid(process, &status, 0) < 0)
        if (errno != EINTR)
            return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace vellmark
