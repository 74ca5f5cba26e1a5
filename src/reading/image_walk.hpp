// A walk over a tree of an image that comes to an end whatever the image says (support/walk_guard).
#pragma once

#include <cstdint>
#include <string>

#include "reading/image_view.hpp"
#include "support/walk_guard.hpp"

namespace vellmark {

class TreeWalker {
  public:
    explicit TreeWalker(std::uint64_t mostEntries = WalkGuard::kMostEntries)
        : mostEntries_(mostEntries) {}
    virtual ~TreeWalker() = default;
    TreeWalker(const TreeWalker&) = delete;
    TreeWalker& operator=(const TreeWalker&) = delete;

    /// Visits everything in the folder, a folder before what is in it. False when a visit stopped
    /// the walk.
    [[nodiscard]] bool walk(TreeView& tree, const ViewEntry& folder);

  protected:
    enum class Next {
        GoOn,
        Pass,  ///< do not enter this folder
        Stop
    };
    /// `level` is 0 for what is in the folder that the walk began with.
    [[nodiscard]] virtual Next visit(const ViewEntry& entry, std::size_t level) = 0;
    /// Before what is in a folder is visited; false leaves that out.
    [[nodiscard]] virtual bool enter(const ViewEntry& /*folder*/) { return true; }
    /// After what is in a folder that was entered.
    virtual void leave(const ViewEntry& /*folder*/) {}
    /// Something of the tree cannot be read; the walk goes on.
    virtual void problem(const Reason& reason) = 0;

  private:
    [[nodiscard]] bool walkFolder(const ViewEntry& folder, std::size_t level, WalkGuard& guard);
    [[nodiscard]] bool walkEntry(const ViewEntry& entry, std::size_t level, WalkGuard& guard);
    [[nodiscard]] bool mayEnter(const ViewEntry& folder, std::size_t level, WalkGuard& guard);

    TreeView* tree_ = nullptr;
    std::uint64_t mostEntries_;
};

}  // namespace vellmark
