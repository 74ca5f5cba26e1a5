// Files and folders of the PC that take in what comes out of an image: what may be written where,
// one name once, whole or not at all, with the date of the original.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "support/clock.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

/// A name that stays inside the folder it is written to: `/` and NUL become `_`, and so do the full
/// stops of `.` and `..`; an empty name becomes `_`.
[[nodiscard]] std::string SafePcName(std::string name);

/// A file to be written; with a sidecar both appear or neither.
struct PcTarget {
    std::string path;
    std::string sidecar;  ///< path of a second file; empty for none
    bool replace = false;
    std::optional<UnixSeconds> modified;  ///< of the original
};

/// How writing a target ended.
struct PcWriting {
    std::string problem;  ///< a sentence; empty when the target is there
    int error = 0;        ///< the system's number when a target could not be written
};

/// Writes the bytes of a target; a sentence when they cannot be had. A failed transfer to one of
/// the files needs none.
using FillTarget = std::function<std::string(PcFile& file, PcFile* sidecar)>;

/// Writes a target under temporary names and publishes it. Whatever fails before, older files of
/// its names stay as they were.
[[nodiscard]] PcWriting WritePcTarget(const PcTarget& target, const FillTarget& fill);

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

    /// Why no file can be written there, whether or not one may be replaced; empty for none.
    [[nodiscard]] std::string refusalOf(const std::string& target) const;
    /// Something has that name already.
    [[nodiscard]] static bool exists(const std::string& target);

    /// Makes a folder, or takes one that is there, and goes into it; a sentence when that fails.
    [[nodiscard]] std::string enter(const std::string& folder);
    /// Goes back out of it and gives it its date.
    void leave(const std::optional<UnixSeconds>& modified);
    /// Path of the folder that is being filled.
    [[nodiscard]] const std::string& folder() const { return folders_.back().path; }
    /// Forgets the folders that were not left.
    void abandonFolders() { folders_.clear(); }

  private:
    struct OpenFolder {
        std::string path;
        std::set<std::string> names;
    };

    std::string protectedPath_;
    std::set<std::string> written_;
    std::vector<OpenFolder> folders_;
};

}  // namespace vellmark
