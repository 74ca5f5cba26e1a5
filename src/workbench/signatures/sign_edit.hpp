// The editor of signature files.
#pragma once

#include <QTreeWidget>
#include <functional>
#include <string>
#include <vector>

#include "session/signature_document.hpp"
#include "workbench/dialogs/work_dialog.hpp"

namespace vellmark {

class TVellmark;

class TSignEdit final : public WorkDialog {
  public:
    /// Begins with the table in use.
    explicit TSignEdit(TVellmark& window);

    void reject() override;

  private:
    using Rows = std::vector<std::size_t>;

    void makeCommands();
    void makeFileMenu();
    void makeEditMenu();
    void makeList();
    void openTableInUse();

    void newFile();
    void openFile();
    bool save();
    bool saveAs();
    bool keep(const std::string& path);
    void print();
    void registerFile();
    void editEntries();
    void addEntry();
    void cut();
    void copy();
    void paste();
    void moveEntries(bool up);
    void sortBy(int column);

    /// Whether what is open may be left; asks to save it before.
    [[nodiscard]] bool mayLeave();
    [[nodiscard]] Rows selected() const;
    /// Shows the entries anew, with some of them selected.
    void showEntries(const Rows& chosen = {});
    void showTitle();
    void updateCommands();
    [[nodiscard]] std::string proposedPath() const;

    TVellmark& window_;
    SignatureDocument document_;
    QTreeWidget* list_ = nullptr;
    int sortedBy_ = 0;  // column from 1 on, below 0 turned round, 0 as the file has it
    std::vector<std::string> clipboard_;  // lines
    std::vector<QAction*> needSelection_;
    QAction* save_ = nullptr;
    QAction* paste_ = nullptr;
    QAction* register_ = nullptr;
};

/// Takes the table of the session anew, and shows what is open by it.
void TakeSignaturesAnew(TVellmark& window);

}  // namespace vellmark
