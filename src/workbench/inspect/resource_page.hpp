// The resources of a fork as a tree, and the one that is selected as bytes and as what it is.
#pragma once

#include <QSplitter>
#include <memory>

#include "containers/resource_fork.hpp"
#include "inspect/fork_page.hpp"
#include "inspect/resource_export.hpp"
#include "workbench/inspect/page_view.hpp"
#include "workbench/inspect/segment_dialog.hpp"

class QAction;
class QLabel;
class QTreeWidget;

namespace vellmark {

class ResourceLook;

class ResourcePage final : public QSplitter {
  public:
    /// `look` runs what takes long.
    ResourcePage(TVellmark& window, RunLook look, QWidget* owner);

    void setPoints(int points);
    void setStyle(PageStyle style);
    /// Shows the tree of a fork.
    void showFork(std::shared_ptr<ByteSource> fork);

    /// As large as a page by itself.
    [[nodiscard]] QSize sizeHint() const override { return dump_->sizeHint(); }
    /// What can be done with the resources while they are seen.
    [[nodiscard]] const QList<QAction*>& commands() const { return commands_; }

  protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    /// A resource and its type; null for none.
    struct Selected {
        const ResourceType* type = nullptr;
        const Resource* resource = nullptr;
    };

    void makeCommands();
    void fillTree();
    void showSelected();
    void showNote(const Resource* resource);
    void enableCommands();
    void save(ResourceForm form);
    void saveAll(ResourceForm form);
    [[nodiscard]] Selected selected() const;

    TVellmark& window_;
    RunLook look_;
    PageStyle style_;
    std::shared_ptr<ByteSource> fork_;
    ResourceTree tree_;
    QTreeWidget* list_;
    QLabel* note_;  // what is wrong with the map, and what of the resource is not shown
    ResourceLook* shown_;
    PageView* dump_;
    QList<QAction*> commands_;  // one for each form, then the one for all
    bool hasLook_ = false;      // the selected one is a picture or a text
};

}  // namespace vellmark
