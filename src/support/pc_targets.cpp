#include "support/pc_targets.hpp"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utf8proc.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr char32_t kPrivateControls = 0xF000;
/// What `Utf8ToWide` makes of a byte outside UTF-8.
constexpr char32_t kFirstByteEscape = 0xDC80;
constexpr char32_t kLastByteEscape = 0xDCFF;

// Two paths that some file system takes for one have one form: without regard to case, composed,
// and without the blanks and full stops that the FAT family drops from the end of a name.
std::string FoldedPath(const std::string& path) {
    constexpr auto kForm =
        static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_CASEFOLD);
    utf8proc_uint8_t* folded = nullptr;
    const utf8proc_ssize_t length =
        utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(path.data()),
                     static_cast<utf8proc_ssize_t>(path.size()), &folded, kForm);
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(folded, std::free);
    // A path that is no UTF-8 is compared as it is.
    std::string form = length < 0 ? path
                                  : std::string(reinterpret_cast<const char*>(folded),
                                                static_cast<std::size_t>(length));
    const std::size_t last = form.find_last_not_of(" .");
    form.resize(last == std::string::npos ? 0 : last + 1);
    return form;
}

// The date of the last change, also as that of the last access. Dates that cannot be set are no
// loss worth a word: some file systems have none.
void SetDate(const std::string& path, const std::optional<UnixSeconds>& modified) {
    if (!modified)
        return;
    const timespec at = {static_cast<time_t>(*modified), 0};
    const timespec times[2] = {at, at};
    (void)::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
}

PcWriting Unwritable(const std::string& path, int error) {
    return {Reason(Sentence::kCannotBeWritten, Printable(path), SystemError{error}), error};
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
    TargetFile out(target.path, {}, TargetFile::Sweep::No);
    if (!out.file().isOpen())
        return Unwritable(target.path, out.file().error());
    Reason problem = fill(out.file(), nullptr);
    if (out.file().error() != 0)
        return Unwritable(target.path, out.file().error());
    if (problem)
        return {std::move(problem), 0};
    const int error = out.publish(target.replace, false);
    return error != 0 ? Unwritable(target.path, error) : PcWriting{};
}

PcWriting WritePair(const PcTarget& target, const FillTarget& fill) {
    TargetFile out(target.path, {}, TargetFile::Sweep::No);
    TargetFile beside(target.companion, {}, TargetFile::Sweep::No);
    if (!out.file().isOpen())
        return Unwritable(target.path, out.file().error());
    if (!beside.file().isOpen())
        return Unwritable(target.companion, beside.file().error());
    Reason problem = fill(out.file(), &beside.file());
    if (out.file().error() != 0)
        return Unwritable(target.path, out.file().error());
    if (beside.file().error() != 0)
        return Unwritable(target.companion, beside.file().error());
    if (problem)
        return {std::move(problem), 0};
    KeptFile older(target.companion);
    if (const int error = beside.publish(target.replace, false); error != 0)
        return Unwritable(target.companion, error);
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
    return ReplaceNotShown(name, [](char32_t scalar) -> std::string {
        if (scalar < ' ')
            return WideToUtf8(std::u16string(1, static_cast<char16_t>(kPrivateControls + scalar)));
        if (scalar >= kFirstByteEscape && scalar <= kLastByteEscape)
            return WideToUtf8(std::u16string(1, static_cast<char16_t>(scalar)));
        return "_";
    });
}

PcWriting WritePcTarget(const PcTarget& target, const FillTarget& fill) {
    PcWriting writing =
        target.companion.empty() ? WriteSingle(target, fill) : WritePair(target, fill);
    if (!writing.problem)
        SetDate(target.path, target.modified);
    if (!writing.problem && !target.companion.empty())
        SetDate(target.companion, target.modified);
    return writing;
}

void BroughtItems::add(const std::string& path) {
    const PcFacts facts = PcFactsOf(path);
    identities_.insert(IdentityOf(facts));
    paths_.emplace(FoldedPath(path), path);
}

bool BroughtItems::has(const std::string& path) const {
    const PcFacts facts = PcFactsOf(path);
    if (facts.kind == PcKind::Missing || facts.isLink)
        return false;
    if (identities_.contains(IdentityOf(facts)))
        return true;
    const auto [first, last] = paths_.equal_range(FoldedPath(path));
    return std::any_of(first, last,
                       [&](const auto& each) { return AreSameFile(each.second, path); });
}

Reason PcTargets::refusalOf(const std::string& target) const {
    const PcFacts facts = PcFactsOf(target);
    if (facts.kind == PcKind::Folder)
        return Reason(Sentence::kPcTargetIsFolder, Printable(target));
    if (facts.kind == PcKind::Special)
        return Reason(Sentence::kPcTargetIsSpecial, Printable(target));
    if (brought().has(target))
        return Reason(Sentence::kPcTargetSameName, Printable(target));
    return AreSameFile(target, protectedPath_)
               ? Reason(Sentence::kPcTargetIsImage, Printable(target))
               : Reason();
}

bool PcTargets::exists(const std::string& target) {
    const PcFacts facts = PcFactsOf(target);
    return facts.kind != PcKind::Missing || facts.isLink;
}

Reason PcTargets::enter(const std::string& folder) {
    const bool isMade = ::mkdir(folder.c_str(), 0777) == 0;
    const int error = errno;
    const PcFacts facts = PcFactsOf(folder);
    if (!isMade && facts.isLink)
        return Reason(Sentence::kPcTargetIsLink, Printable(folder));
    if (!isMade && (error != EEXIST || facts.kind != PcKind::Folder))
        return Reason(Sentence::kCannotBeMade, Printable(folder), SystemError{error});
    if (!isMade && brought().has(folder))
        return Reason(Sentence::kPcTargetSameName, Printable(folder));
    brought().add(folder);
    if (folders_.empty())
        sweep(FolderOf(folder));
    folders_.push_back({folder, {}, {}});
    if (!isMade)
        sweep(folder);
    return {};
}

Reason PcTargets::leave(const std::optional<UnixSeconds>& modified) {
    const OpenFolder left = std::move(folders_.back());
    folders_.pop_back();
    SetDate(left.path, modified);
    const int error = left.hasReplaced ? FlushFolder(left.path) : 0;
    return error != 0 ? Unwritable(left.path, error).problem : Reason();
}

// The run failed anyhow; what it replaced before stays replaced.
void PcTargets::abandonFolders() {
    for (const OpenFolder& folder : folders_)
        if (folder.hasReplaced)
            (void)FlushFolder(folder.path);
    folders_.clear();
}

PcWriting PcTargets::write(const PcTarget& target, const FillTarget& fill) {
    if (folders_.empty())
        sweep(FolderOf(target.path));
    PcWriting writing = WritePcTarget(target, fill);
    if (writing.problem)
        return writing;
    if (target.replace && !folders_.empty())
        folders_.back().hasReplaced = true;
    else if (const int error = target.replace ? FlushFolder(FolderOf(target.path)) : 0; error != 0)
        return Unwritable(target.path, error);
    brought().add(target.path);
    if (!target.companion.empty())
        brought().add(target.companion);
    return writing;
}

void PcTargets::sweep(const std::string& folder) {
    if (swept_ != folder)
        RemoveAbandonedTargets(folder);
    swept_ = folder;
}

}  // namespace vellmark
