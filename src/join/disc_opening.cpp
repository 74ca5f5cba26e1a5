#include "join/disc_opening.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"
#include "volume/recovery.hpp"

namespace vellmark {

namespace {

constexpr mode_t kPermissionBits = 07777;

// The open file keeps the right to write, so that nothing that ends the process later leaves other
// permissions behind.
PcFile OpenWritable(const std::string& path) {
    PcFile file(path, PcFile::Mode::ReadWrite);
    struct stat facts {};
    if (file.isOpen() || file.error() != EACCES || ::stat(path.c_str(), &facts) != 0 ||
        facts.st_uid != ::geteuid())
        return file;
    const mode_t permissions = facts.st_mode & kPermissionBits;
    if (::chmod(path.c_str(), permissions | S_IRUSR | S_IWUSR) != 0)
        return file;
    file = PcFile(path, PcFile::Mode::ReadWrite);
    (void)::chmod(path.c_str(), permissions);
    return file;
}

}  // namespace

bool OpenDiscToChange(const std::string& path, const FileGuard& guard, PcFile& disc,
                      Messages& messages) {
    const auto refuse = [&](Sentence sentence) {
        messages.showError(Reason(sentence, Printable(path)));
        return false;
    };
    const PcKind kind = PcFactsOf(path).kind;
    if (kind == PcKind::Special)
        return refuse(Sentence::kDiscIsSpecial);
    if (kind == PcKind::Folder)
        return refuse(Sentence::kDiscIsFolder);
    disc = OpenLocked([&] { return OpenWritable(path); }, LockKind::Exclusive, guard.lockWaitMs);
    if (disc.error() == EWOULDBLOCK)
        return refuse(Sentence::kDiscInUse);
    if (!disc.isOpen()) {
        FileOpenError(messages, path, disc.failure());
        return false;
    }
    return CompleteInterruptedChange(disc, path, guard, Access::Change, messages);
}

}  // namespace vellmark
