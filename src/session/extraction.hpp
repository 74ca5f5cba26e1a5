// Takes files and folders of an image out to the PC: data forks with their names and dates.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "session/image_walk.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

/// A name that stays inside the folder it is written to: `/` and NUL become `_`, and so do the full
/// stops of `.` and `..`; an empty name becomes `_`.
[[nodiscard]] std::string SafePcName(std::string name);

enum class Extraction {
    Done,
    Skipped,  ///< the item itself, after a message that names it
    Stopped   ///< by the user
};

class Extractor final : public TreeWalker {
  public:
    struct Options {
        std::string imagePath;  ///< never written over
        bool replace = false;   ///< files that exist already
    };

    Extractor(Options options, Messages& messages, Progress& progress)
        : options_(std::move(options)), messages_(messages), progress_(progress) {}

    /// Writes a file, or a folder with all that is in it, as `target`. An existing folder takes in
    /// what is missing there. Items inside a folder that cannot be written are named and left out.
    [[nodiscard]] Extraction take(TreeView& tree, const ViewEntry& entry,
                                  const std::string& target);
    /// Hands the contents of a file on, piece by piece, until `put` says no.
    [[nodiscard]] Extraction takeTo(TreeView& tree, const ViewEntry& file,
                                    const std::function<bool(std::string_view piece)>& put);
    /// Parts of the tree that could not be read, each told.
    [[nodiscard]] bool foundDamage() const { return foundDamage_; }

  protected:
    [[nodiscard]] Next visit(const ViewEntry& entry, std::size_t level) override;
    void leave(const ViewEntry& folder) override;
    void problem(const std::string& sentence) override;

  private:
    /// A folder that is being filled, and the names it got in this run.
    struct OpenFolder {
        std::string path;
        std::set<std::string> names;
    };

    [[nodiscard]] Extraction takeFile(const ViewEntry& file, const std::string& target);
    [[nodiscard]] bool makeFolder(const ViewEntry& folder, const std::string& target);
    [[nodiscard]] std::string refusalOf(const std::string& target) const;
    Extraction skip(const ViewEntry& entry, std::string_view reason);

    Options options_;
    Messages& messages_;
    Progress& progress_;
    TreeView* source_ = nullptr;
    std::vector<OpenFolder> folders_;
    std::set<std::string> written_;  ///< targets named by the caller
    std::vector<std::uint8_t> buffer_;
    bool foundDamage_ = false;
};

}  // namespace vellmark
