#include "session/signature_document.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "session/signature_file.hpp"
#include "support/backup_path.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"
#include "support/targets.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kBackupExtension = "bak";

// Digital signatures bear the same extension.
bool IsText(std::string_view bytes) {
    return bytes.find('\0') == bytes.npos;
}

Result<std::string> ReadText(const std::string& path) {
    Result<std::string> bytes = ReadSigFile(path);
    if (bytes && !IsText(*bytes))
        return Failed(Sentence::kSignaturesNoText);
    return bytes;
}

// Whether what stands under the name of a backup is the backup of such a file.
bool IsOldTable(const std::string& path) {
    if (PcFactsOf(path).isLink)
        return false;
    const Result<std::string> bytes = ReadText(path);
    return bytes && (bytes->empty() || HasSignatures(*bytes));
}

// Gives the present file the name of its backup too. For as long as it has both, nothing is ever
// without the file; a file system without hard links takes the old name away for a moment.
class OldTable {
  public:
    OldTable(std::string path, std::string backup)
        : path_(std::move(path)), backup_(std::move(backup)) {}

    /// 0 or the system's error number.
    [[nodiscard]] int keep() {
        if (::unlink(backup_.c_str()) != 0 && errno != ENOENT)
            return errno;
        if (::link(path_.c_str(), backup_.c_str()) == 0)
            return 0;
        isMoved_ = ::rename(path_.c_str(), backup_.c_str()) == 0;
        return isMoved_ ? 0 : errno;
    }
    void restore() const {
        if (isMoved_)
            (void)::rename(backup_.c_str(), path_.c_str());
    }

  private:
    std::string path_;
    std::string backup_;
    bool isMoved_ = false;
};

}  // namespace

Reason SignatureDocument::open(const std::string& path) {
    Reason refusal = openAsNew(path);
    if (!refusal)
        path_ = path;
    return refusal;
}

Reason SignatureDocument::openAsNew(const std::string& path) {
    Result<std::string> bytes = ReadText(path);
    if (!bytes)
        return bytes.error();
    clear();
    text_ = SignatureText::Parse(*bytes, isFrench_);
    bytes_ = std::move(*bytes);
    return {};
}

Reason SignatureDocument::save(const std::string& path) {
    const std::string target = FollowLink(path);
    const bool isThere = PcFactsOf(target).kind != PcKind::Missing;
    SignatureText text = text_;
    if (isThere) {
        const Result<std::string> there = ReadSigFile(target);
        if (!there)
            return there.error();
        if (*there != bytes_ && IsText(*there))
            text.takeSurroundings(SignatureText::Parse(*there, isFrench_));
    }
    std::string bytes = text.bytes();
    if (Reason refusal = write(target, bytes, isThere))
        return refusal;
    text_ = std::move(text);
    bytes_ = std::move(bytes);
    path_ = path;
    isChanged_ = false;
    return {};
}

Reason SignatureDocument::write(const std::string& path, std::string_view bytes, bool isThere) {
    TargetFile target(path);
    if (!target.file().isOpen() ||
        !target.file().writeAt(
            0, {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}) ||
        !target.file().flush())
        return target.file().failure();
    std::string backup;
    if (isThere) {
        const BackedUpFile files[] = {{path, kBackupExtension}};
        const auto names = BackupPaths(
            files, [&](const std::string& name) { return name != path && IsOldTable(name); });
        if (names.empty())
            return Sentence::kNoNameForBackup;
        backup = names.front();
    }
    OldTable old(path, backup);
    if (const int error = isThere ? old.keep() : 0; error != 0)
        return SystemError{error};
    const int error = target.publish(isThere, true);
    if (error != 0)
        old.restore();
    return SystemError{error};
}

}  // namespace vellmark
