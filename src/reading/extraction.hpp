// Takes files and folders of an ISO 9660 or Joliet tree out to the PC, with their names and dates.
// What a Macintosh tree holds goes out through `CopyItemOut` (transfer/copy_out.hpp).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "reading/image_walk.hpp"
#include "support/messages.hpp"
#include "support/pc_targets.hpp"
#include "support/progress.hpp"
#include "transfer/copy_out.hpp"

namespace vellmark {

enum class Extraction {
    Done,
    Skipped,  ///< the item itself, after a message or a question that names it
    Stopped   ///< by the user
};

class Extractor final : public TreeWalker {
  public:
    /// `keptHint` is added to the remark that a file is kept. `targets` are those of the whole run,
    /// whatever tree they come from. `replaceAnswer` keeps what a person says to all of the files
    /// that exist already.
    Extractor(ExistingFiles existing, Reason keptHint, PcTargets& targets,
              RememberedAnswer& replaceAnswer, Messages& messages, Progress& progress)
        : existing_(existing),
          keptHint_(std::move(keptHint)),
          replaceAnswer_(replaceAnswer),
          messages_(messages),
          progress_(progress),
          targets_(targets) {}

    /// Writes a file, or a folder with all that is in it, as `target`. An existing folder takes in
    /// what is missing there. Items inside a folder that cannot be written are named and left out.
    [[nodiscard]] Extraction take(TreeView& tree, const ViewEntry& entry,
                                  const std::string& target);
    /// Writes the contents of a file to a sink, in one go from the start. A sink that takes no more
    /// stops it.
    [[nodiscard]] Extraction takeTo(TreeView& tree, const ViewEntry& file, ByteSink& sink);
    /// Parts of the tree could not be read; a message named each.
    [[nodiscard]] bool foundDamage() const { return foundDamage_; }
    /// Items that were not written, those among them that a person wanted to keep as they are.
    [[nodiscard]] std::uint64_t itemsLeftOut() const { return itemsLeftOut_; }

  protected:
    [[nodiscard]] Next visit(const ViewEntry& entry, std::size_t level) override;
    [[nodiscard]] bool enter(const ViewEntry& folder) override;
    void leave(const ViewEntry& folder) override;
    void problem(const Reason& reason) override;

  private:
    [[nodiscard]] Extraction takeFile(const ViewEntry& file, const std::string& target);
    [[nodiscard]] bool mayWrite(const ViewEntry& file, const std::string& target);
    Extraction skip(const ViewEntry& entry, const Reason& reason);

    ExistingFiles existing_;
    Reason keptHint_;
    RememberedAnswer& replaceAnswer_;
    Messages& messages_;
    Progress& progress_;
    PcTargets& targets_;
    TreeView* source_ = nullptr;
    bool foundDamage_ = false;
    std::uint64_t itemsLeftOut_ = 0;
};

}  // namespace vellmark
