// One change of a volume that happens wholly or not at all: what trees, header and bitmap knew
// before comes back unless the change is kept. It lies in memory until the volume
// is flushed.
#pragma once

#include <cstdint>
#include <vector>

#include "volume/writable_volume.hpp"

namespace vellmark {

/// Changes do not nest: one ends before the next begins.
class VolumeChange {
  public:
    explicit VolumeChange(WritableVolume& volume);
    /// Takes the change back when it was not kept.
    ~VolumeChange();
    VolumeChange(const VolumeChange&) = delete;
    VolumeChange& operator=(const VolumeChange&) = delete;

    void keep();
    /// Keeps the change when it was `Done`; hands the result on.
    TreeResult end(TreeResult result) {
        if (result == TreeResult::Done)
            keep();
        return result;
    }

  private:
    /// What a tree keeps outside its nodes.
    struct TreeState {
        std::vector<std::uint8_t> headerNode;
        std::vector<std::uint8_t> nodeBitmap;
        std::uint32_t allocationHint = 0;
    };
    [[nodiscard]] static TreeState StateOf(const TreeCursor& tree);
    static void Restore(TreeCursor& tree, TreeState& state);

    WritableVolume& volume_;
    bool kept_ = false;
    bool hadLargeFolder_;
    MasterDirectoryBlock mdb_;
    VolumeHeader vhb_;
    TreeState catalog_;
    TreeState extents_;
};

}  // namespace vellmark
