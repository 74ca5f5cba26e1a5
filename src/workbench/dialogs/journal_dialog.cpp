#include "workbench/dialogs/journal_dialog.hpp"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>

#include "workbench/dialogs/file_choice.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextCloseDialog = 1000;
constexpr int kTextTitle = 1554;
constexpr int kTextFile = 1555;
constexpr int kTextOpen = 1556;
constexpr int kTextClose = 1557;
constexpr int kTextEmpty = 1558;
constexpr int kTextFilter = 1559;
constexpr int kTextChoose = 1560;

class JournalDialog final : public FormDialog {
  public:
    explicit JournalDialog(TVellmark& window)
        : FormDialog("journal", window.text(kTextTitle), window.language(), &window),
          window_(window) {
        const Settings& settings = window.state().settings;
        path_ = addField("Fichier", kTextFile,
                         ToQString(journal().isOpen() ? journal().path() : settings.journal));
        auto* const commands = new QWidget(this);
        (new QHBoxLayout(commands))->setContentsMargins(0, 0, 0, 0);
        addWide(commands);
        open_ = command(*commands, "Ouvrir", kTextOpen, [this] { openJournal(); });
        close_ = command(*commands, "Fermer", kTextClose, [this] { closeJournal(); });
        empty_ = command(*commands, "Vider", kTextEmpty, [this] { emptyJournal(); });
        addButton("MessFermer", words(kTextCloseDialog), Rejected);
        showState();
    }

    void ask() {
        (void)exec();
        window_.state().settings.journal = ToPath(path_->text());
    }

  private:
    [[nodiscard]] Journal& journal() { return window_.state().journal; }

    QPushButton* command(QWidget& commands, const char* name, int caption,
                         std::function<void()> run) {
        auto* button = new QPushButton(words(caption), this);
        button->setObjectName(QLatin1String(name));
        button->setAutoDefault(false);
        commands.layout()->addWidget(button);
        connect(button, &QPushButton::clicked, this, std::move(run));
        return button;
    }

    void showState() {
        open_->setEnabled(!journal().isOpen());
        close_->setEnabled(journal().isOpen());
        empty_->setEnabled(journal().isOpen());
    }

    void openJournal() {
        Reason refusal = path_->text().isEmpty() ? Reason(SystemError{ENOENT})
                                                 : journal().open(ToPath(path_->text()));
        if (refusal) {
            const QString chosen =
                QFileDialog::getSaveFileName(this, words(kTextChoose), path_->text(),
                                             DialogFilter(Text(kTextFilter, window_.language())),
                                             nullptr, QFileDialog::DontConfirmOverwrite);
            if (chosen.isEmpty())
                return;
            path_->setText(chosen.contains(u'.') ? chosen : chosen + QStringLiteral(".log"));
            refusal = journal().open(ToPath(path_->text()));
            if (refusal)
                FileOpenError(window_.messages(), ToPath(path_->text()), refusal);
        }
        if (journal().isOpen()) {
            journal().mark();
            window_.state().settings.vlOptions |= kVlOpenJournal;
        }
        showState();
    }

    void closeJournal() {
        journal().close();
        window_.state().settings.vlOptions &= ~std::uint32_t{kVlOpenJournal};
        showState();
    }

    void emptyJournal() {
        if (const Reason refusal = journal().empty())
            FileOpenError(window_.messages(), journal().path(), refusal);
        showState();
    }

    TVellmark& window_;
    QLineEdit* path_ = nullptr;
    QPushButton* open_ = nullptr;
    QPushButton* close_ = nullptr;
    QPushButton* empty_ = nullptr;
};

}  // namespace

void ShowJournalDialog(TVellmark& window) {
    JournalDialog(window).ask();
}

}  // namespace vellmark
