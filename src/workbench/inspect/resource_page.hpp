// The resources of a fork as a tree, and the one that is selected as bytes, or as what it is.
#pragma once

#include <QSplitter>
#include <memory>

#include "containers/resource_fork.hpp"
#include "inspect/fork_page.hpp"
#include "workbench/inspect/page_view.hpp"
#include "workbench/inspect/segment_dialog.hpp"

class QAction;
class QTreeWidget;

namespace vellmark {

class ResourcePage final : public QSplitter {
  public:
    /// `look` runs what takes long.
    ResourcePage(TVellmark& window, RunLook look, QWidget* owner);

    void setPoints(int points);
    void setStyle(PageStyle style);
    /// Shows the tree of a fork; what is wrong with its map is returned.
    [[nodiscard]] Reason showFork(std::shared_ptr<ByteSource> fork);

    /// As large as a page by itself.
    [[nodiscard]] QSize sizeHint() const override { return dump_->sizeHint(); }

  private:
    void makeMenu();
    void fillTree();
    void showSelected();
    void save(bool isHexadecimal);
    [[nodiscard]] const Resource* selected() const;

    TVellmark& window_;
    RunLook look_;
    PageStyle style_;
    std::shared_ptr<ByteSource> fork_;
    ResourceTree tree_;
    QTreeWidget* list_;
    PageView* dump_;
    QAction* saves_[2] = {};
};

}  // namespace vellmark
