#include "volume/volume_change.hpp"

#include <utility>

#include "volume/block_bitmap.hpp"

namespace vellmark {

VolumeChange::VolumeChange(WritableVolume& volume)
    : volume_(volume),
      hadLargeFolder_(volume.hasLargeFolder),
      mdb_(volume->mdb),
      vhb_(volume->vhb),
      catalog_(StateOf(volume->catalog)),
      extents_(StateOf(volume->extents)) {
    volume->catalogNodes->setSavepoint();
    volume->extentsNodes->setSavepoint();
    volume.allocation().hasSavepoint = true;
    volume.allocation().sinceSavepoint.clear();
}

VolumeChange::~VolumeChange() {
    if (kept_)
        return;
    volume_->catalogNodes->rollBack();
    volume_->extentsNodes->rollBack();
    Restore(volume_->catalog, catalog_);
    Restore(volume_->extents, extents_);
    UndoMarks(volume_.allocation());
    volume_.hasLargeFolder = hadLargeFolder_;
    volume_->mdb = mdb_;
    volume_->vhb = vhb_;
}

void VolumeChange::keep() {
    kept_ = true;
    volume_->catalogNodes->keep();
    volume_->extentsNodes->keep();
    volume_.allocation().hasSavepoint = false;
}

VolumeChange::TreeState VolumeChange::StateOf(const TreeCursor& tree) {
    return {tree.headerNode, tree.nodeBitmap, tree.allocationHint};
}

void VolumeChange::Restore(TreeCursor& tree, TreeState& state) {
    tree.headerNode = std::move(state.headerNode);
    tree.nodeBitmap = std::move(state.nodeBitmap);
    tree.allocationHint = state.allocationHint;
}

}  // namespace vellmark
