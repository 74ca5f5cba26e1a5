#include "support/pc_targets.hpp"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "support/encoding.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

// The date of the last change, also as that of the last access. Dates that cannot be set are no
// loss worth a word: some file systems have none.
void SetDate(const std::string& path, const std::optional<UnixSeconds>& modified) {
    if (!modified)
        return;
    const timespec at = {static_cast<time_t>(*modified), 0};
    const timespec times[2] = {at, at};
    (void)::utimensat(AT_FDCWD, path.c_str(), times, 0);
}

PcWriting Unwritable(const std::string& path, int error) {
    return {fmt::format("{} cannot be written: {}.", Printable(path), SystemErrorText(error)),
            error};
}

// A second name of a file that is about to be replaced, to give it back.
class KeptFile {
  public:
    explicit KeptFile(std::string path)
        : path_(std::move(path)),
          kept_(fmt::format("{}/.vellmark-{}-kept.tmp", FolderOf(path_), ::getpid())) {
        isKept_ = ::link(path_.c_str(), kept_.c_str()) == 0;
    }
    ~KeptFile() {
        if (isKept_)
            ::unlink(kept_.c_str());
    }
    KeptFile(const KeptFile&) = delete;
    KeptFile& operator=(const KeptFile&) = delete;

    /// What stands at the path goes; what stood there before comes back.
    void restore() {
        if (isKept_ && ::rename(kept_.c_str(), path_.c_str()) == 0)
            isKept_ = false;
        else
            ::unlink(path_.c_str());
    }

  private:
    std::string path_;
    std::string kept_;
    bool isKept_ = false;
};

PcWriting WriteSingle(const PcTarget& target, const FillTarget& fill) {
    TargetFile out(target.path);
    if (!out.file().isOpen())
        return Unwritable(target.path, out.file().error());
    std::string problem = fill(out.file(), nullptr);
    if (out.file().error() != 0)
        return Unwritable(target.path, out.file().error());
    if (!problem.empty())
        return {std::move(problem), 0};
    const int error = out.publish(target.replace, false);
    return error != 0 ? Unwritable(target.path, error) : PcWriting{};
}

PcWriting WritePair(const PcTarget& target, const FillTarget& fill) {
    TargetFile out(target.path);
    TargetFile beside(target.sidecar);
    if (!out.file().isOpen())
        return Unwritable(target.path, out.file().error());
    if (!beside.file().isOpen())
        return Unwritable(target.sidecar, beside.file().error());
    std::string problem = fill(out.file(), &beside.file());
    if (out.file().error() != 0)
        return Unwritable(target.path, out.file().error());
    if (beside.file().error() != 0)
        return Unwritable(target.sidecar, beside.file().error());
    if (!problem.empty())
        return {std::move(problem), 0};
    KeptFile older(target.sidecar);
    if (const int error = beside.publish(target.replace, false); error != 0)
        return Unwritable(target.sidecar, error);
    if (const int error = out.publish(target.replace, false); error != 0) {
        older.restore();
        return Unwritable(target.path, error);
    }
    return {};
}

}  // namespace

std::string SafePcName(std::string name) {
    if (name.empty() || name == "." || name == "..")
        return std::string(std::max<std::size_t>(name.size(), 1), '_');
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '/' || c == '\0'; }, '_');
    return name;
}

PcWriting WritePcTarget(const PcTarget& target, const FillTarget& fill) {
    PcWriting writing =
        target.sidecar.empty() ? WriteSingle(target, fill) : WritePair(target, fill);
    if (writing.problem.empty())
        SetDate(target.path, target.modified);
    if (writing.problem.empty() && !target.sidecar.empty())
        SetDate(target.sidecar, target.modified);
    return writing;
}

std::string PcTargets::refusalOf(const std::string& target) const {
    const PcFacts facts = PcFactsOf(target);
    if (facts.kind == PcKind::Folder)
        return fmt::format("{} is a folder.", Printable(target));
    if (facts.kind == PcKind::Special)
        return fmt::format("{} is a pipe, a socket or a device.", Printable(target));
    return AreSameFile(target, protectedPath_)
               ? fmt::format("{} is the image itself.", Printable(target))
               : std::string{};
}

bool PcTargets::exists(const std::string& target) {
    const PcFacts facts = PcFactsOf(target);
    return facts.kind != PcKind::Missing || facts.isLink;
}

std::string PcTargets::enter(const std::string& folder) {
    if (::mkdir(folder.c_str(), 0777) != 0) {
        const int error = errno;
        if (error != EEXIST || PcFactsOf(folder).kind != PcKind::Folder)
            return fmt::format("{} cannot be made: {}.", Printable(folder), SystemErrorText(error));
    }
    folders_.push_back({folder, {}});
    return {};
}

void PcTargets::leave(const std::optional<UnixSeconds>& modified) {
    SetDate(folders_.back().path, modified);
    folders_.pop_back();
}

}  // namespace vellmark
