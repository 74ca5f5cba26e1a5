// Files and folders of the PC that take in what comes out of an image: what may be written where,
// one name once, whole or not at all, with the date of the original.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "support/clock.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// A name that stays inside the folder it is written to and does nobody harm who lists that: `/`
/// and NUL become `_`, and so do the full stops of `.` and `..`, an empty name, and characters that
/// are not seen (support/encoding.hpp). Controls from 01 to 1F become the private codes U+F001 to
/// U+F01F, which a Macintosh name is made of again. A byte outside UTF-8 stays.
[[nodiscard]] std::string SafePcName(std::string name);

/// A file to be written; with a companion both appear or neither.
struct PcTarget {
    std::string path;
    std::string companion;  ///< path of a second file; empty for none
    bool replace = false;
    std::optional<UnixSeconds> modified;  ///< of the original
};

/// How writing a target ended.
struct PcWriting {
    Reason problem;  ///< none when the target is there
    int error = 0;   ///< the system's number when a target could not be written
};

/// Writes the bytes of a target; a reason when they cannot be had. A failed transfer to one of the
/// files needs none.
using FillTarget = std::function<Reason(PcFile& file, PcFile* companion)>;

/// Writes a target under temporary names and publishes it. Whatever fails before, older files of
/// its names stay as they were.
[[nodiscard]] PcWriting WritePcTarget(const PcTarget& target, const FillTarget& fill);

/// Files and folders that a run has brought, as the folders know them: two names are one where the
/// folder takes them for one (file systems without regard to case, or to how letters are composed).
class BroughtItems {
  public:
    /// Notes what stands at a path now.
    void add(const std::string& path);
    /// Whether what stands there is one of them, under whatever name.
    [[nodiscard]] bool has(const std::string& path) const;

  private:
    /// Which object it is. File systems of the FAT family may number one anew while nobody has it
    /// open: then the names that are equal without regard to case lead to it.
    std::set<PcIdentity> identities_;
    std::unordered_multimap<std::string, std::string> paths_;  // by their folded form
};

/// The targets of one run.
class PcTargets {
  public:
    /// `protectedPath` is a file that is never written over.
    explicit PcTargets(std::string protectedPath) : protectedPath_(std::move(protectedPath)) {}

    /// Notes a target that somebody named. False when this run has written it before.
    [[nodiscard]] bool claim(const std::string& target) { return written_.insert(target).second; }
    /// Notes a name in the folder that is being filled. False when it has been given.
    [[nodiscard]] bool claimName(const std::string& name) {
        return folders_.back().names.insert(name).second;
    }

    /// Why no file can be written there, whether or not one may be replaced. What
    /// this run has brought is never replaced.
    [[nodiscard]] Reason refusalOf(const std::string& target) const;
    /// Something has that name already.
    [[nodiscard]] static bool exists(const std::string& target);

    /// Makes a folder, or takes one that is there and was not brought by this run, and goes into
    /// it; a reason when that fails. A symbolic link is not followed: it could lead anywhere.
    [[nodiscard]] Reason enter(const std::string& folder);
    /// Goes back out of it and gives it its date; a reason when names in it may not be kept.
    [[nodiscard]] Reason leave(const std::optional<UnixSeconds>& modified);
    /// Path of the folder that is being filled.
    [[nodiscard]] const std::string& folder() const { return folders_.back().path; }
    /// Forgets the folders that were not left.
    void abandonFolders();

    /// `WritePcTarget`; what came of it is noted. A name that may have been an older file's is on
    /// the device before this returns or, in the folder that is being filled, before that is left:
    /// once for all its files, as each time takes as long as a small file does.
    [[nodiscard]] PcWriting write(const PcTarget& target, const FillTarget& fill);

  private:
    struct OpenFolder {
        std::string path;
        std::set<std::string> names;
        BroughtItems brought;
        bool hasReplaced = false;  ///< names that are still to come to the device
    };

    [[nodiscard]] const BroughtItems& brought() const {
        return folders_.empty() ? named_ : folders_.back().brought;
    }
    [[nodiscard]] BroughtItems& brought() {
        return folders_.empty() ? named_ : folders_.back().brought;
    }
    void sweep(const std::string& folder);

    std::string protectedPath_;
    std::set<std::string> written_;
    BroughtItems named_;  // in no folder that is being filled
    std::vector<OpenFolder> folders_;
    std::string swept_;  // the folder that was looked through for what killed runs left
};

}  // namespace vellmark
