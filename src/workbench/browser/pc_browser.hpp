// The window in which files of the PC are chosen for the open volume.
#pragma once

#include <QItemSelection>
#include <cstdint>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "session/browser_state.hpp"
#include "workbench/browser/pc_files.hpp"
#include "workbench/dialogs/work_dialog.hpp"

class QAbstractItemView;
class QComboBox;
class QLabel;
class QListView;
class QListWidget;
class QStackedWidget;
class QTreeView;

namespace vellmark {

class TVellmark;

class TWinVLV final : public WorkDialog {
  public:
    /// `freeBytes` is the room of the volume.
    TWinVLV(TVellmark& window, std::uint64_t freeBytes);

    /// What is selected, by its paths in the order in which it is shown.
    [[nodiscard]] std::vector<std::string> chosen() const;
    void done(int result) override;

  private:
    void makeViews();
    void makePlaces();
    void makeMenus();
    void makeTools();
    void makeStyles(QMenu& menu);
    void makePathBar();
    void makePanels();
    void restorePlace();
    void keepPlace();

    void goTo(const QString& path);
    void goUp();
    void browse();
    void showPath();
    void setStyle(BrowserStyle style);
    void arrangeIcons(BrowserStyle style);
    void enter(const QModelIndex& index);
    void selectionChanged();
    void countSelection();
    void counted(int number, std::uint64_t bytes);
    void copy();
    void finishCopy();
    [[nodiscard]] QItemSelection everything() const;
    [[nodiscard]] QAbstractItemView& view() const;

    TVellmark& window_;
    std::uint64_t freeBytes_;
    BrowserState state_;
    PcFiles* files_;
    PcOrder* order_;
    QString folder_;
    QComboBox* path_ = nullptr;
    QListWidget* places_ = nullptr;
    QStackedWidget* views_ = nullptr;
    QListView* icons_ = nullptr;
    QTreeView* report_ = nullptr;
    QLabel* sizePanel_ = nullptr;
    std::vector<QAction*> needSelection_;
    std::vector<QAction*> styles_;

    std::optional<std::uint64_t> bytes_;  // of what is selected, when they were counted
    bool isCopyWanted_ = false;           // as soon as they are
    int countNumber_ = 0;                 // of the count that is waited for
    std::jthread counter_;                // the last one: it ends before all else goes
};

/// Files and folders of the PC that are to be copied into the open volume; none when the person
/// gives up.
[[nodiscard]] std::vector<std::string> AskFilesToCopy(TVellmark& window);

}  // namespace vellmark
