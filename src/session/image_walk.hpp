// A walk over a tree of an image that comes to an end whatever the image says: every folder is
// entered once, and neither too deep nor too often.
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "session/image_view.hpp"

namespace vellmark {

class TreeWalker {
  public:
    /// Folders deeper than this are named and left out.
    static constexpr std::size_t kMostLevels = 256;
    /// A tree that has more entries lists the same ones again and again.
    static constexpr std::uint64_t kMostEntries = 4'000'000;

    explicit TreeWalker(std::uint64_t mostEntries = kMostEntries) : mostEntries_(mostEntries) {}
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
    /// After what is in a folder that was entered.
    virtual void leave(const ViewEntry& /*folder*/) {}
    /// Something of the tree cannot be read; the walk goes on.
    virtual void problem(const std::string& sentence) = 0;

  private:
    [[nodiscard]] bool walkFolder(const ViewEntry& folder, std::size_t level);
    [[nodiscard]] bool mayEnter(const ViewEntry& folder, std::size_t level);

    TreeView* tree_ = nullptr;
    std::uint64_t mostEntries_;
    std::uint64_t entries_ = 0;
    std::set<std::uint64_t> entered_;
};

}  // namespace vellmark
