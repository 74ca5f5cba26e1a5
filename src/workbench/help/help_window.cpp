#include "workbench/help/help_window.hpp"

#include <QDialog>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTextBrowser>
#include <QTextDocument>
#include <QToolBar>
#include <QUrl>
#include <QVBoxLayout>

#include "support/sentences.hpp"
#include "workbench/messages/words.hpp"

// Nothing calls a resource of a library by itself; this stands outside of all namespaces.
static void LoadHelp() {
    Q_INIT_RESOURCE(help);
}

namespace vellmark {

namespace {

constexpr int kTextContents = 2103;
constexpr int kTextIndex = 2105;
constexpr int kTextSearch = 2106;
constexpr int kTextHint = 2329;
constexpr int kDark = 128;
constexpr int kColumns = 84;
constexpr int kRows = 36;

class HelpWindow final : public QDialog {
  public:
    HelpWindow(Language language, QWidget* owner)
        : QDialog(owner), language_(language), browser_(new QTextBrowser(this)) {
        setAttribute(Qt::WA_DeleteOnClose);
        setObjectName(QStringLiteral("Aide"));
        setWindowTitle(Words(kTextContents, language));
        browser_->setAccessibleName(windowTitle());
        browser_->setOpenExternalLinks(true);
        // Not every desktop with a dark palette has a colour for links too.
        if (palette().base().color().lightness() < kDark)
            browser_->document()->setDefaultStyleSheet(QStringLiteral("a { color: #7ab8ff; }"));
        auto* const column = new QVBoxLayout(this);
        column->setContentsMargins(0, 0, 0, 0);
        column->addWidget(newBar());
        column->addWidget(browser_);
        const QFontMetrics metrics = fontMetrics();
        resize(metrics.averageCharWidth() * kColumns, metrics.height() * kRows);
        browser_->setFocus();
    }

    [[nodiscard]] Language language() const { return language_; }

    void showTopic(const QString& topic) {
        QUrl page(QStringLiteral("qrc:/help/%1.html")
                      .arg(QLatin1String(language_ == Language::French ? "fr" : "en")));
        page.setFragment(topic);
        browser_->setSource(page);
    }

    void turnToSearch() {
        if (sought_->text().isEmpty())
            sought_->setText(QStringLiteral("Vellmark"));
        sought_->setFocus();
        sought_->selectAll();
    }

  private:
    QToolBar* newBar() {
        auto* const bar = new QToolBar(this);
        QAction* const back = bar->addAction(Words(Sentence::kHelpBack, language_));
        back->setShortcut(QKeySequence::Back);
        back->setEnabled(false);
        connect(back, &QAction::triggered, browser_, &QTextBrowser::backward);
        connect(browser_, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
        bar->addAction(Words(kTextContents, language_).remove(u'&'), this,
                       [this] { showTopic({}); });
        bar->addAction(Words(kTextIndex, language_).remove(u'&'), this,
                       [this] { showTopic(QStringLiteral("index")); });
        sought_ = new QLineEdit(bar);
        sought_->setObjectName(QStringLiteral("Cherche"));
        sought_->setPlaceholderText(Words(kTextSearch, language_).remove(u'&'));
        sought_->setAccessibleName(sought_->placeholderText());
        sought_->setClearButtonEnabled(true);
        sought_->setPalette(fieldColours());
        connect(sought_, &QLineEdit::returnPressed, this, [this] { findNext(); });
        bar->addWidget(sought_);
        QAction* const find = new QAction(this);
        find->setShortcut(QKeySequence::Find);
        connect(find, &QAction::triggered, this, [this] { turnToSearch(); });
        addAction(find);
        return bar;
    }

    // Not every desktop with a dark palette has a colour for what stands in an empty field.
    [[nodiscard]] QPalette fieldColours() const {
        QPalette colours = palette();
        QColor hint = colours.color(QPalette::Text);
        hint.setAlphaF(0.5F);
        colours.setColor(QPalette::PlaceholderText, hint);
        return colours;
    }

    // From where the last one was found, and from the top again.
    void findNext() {
        bool isFound = browser_->find(sought_->text());
        if (!isFound) {
            browser_->moveCursor(QTextCursor::Start);
            isFound = browser_->find(sought_->text());
        }
        QPalette colours = fieldColours();
        if (!isFound)
            colours.setColor(QPalette::Text, Qt::red);
        sought_->setPalette(colours);
    }

    Language language_;
    QTextBrowser* browser_;
    QLineEdit* sought_ = nullptr;
};

HelpWindow& ShownHelp(Language language, QWidget* owner) {
    LoadHelp();
    auto* window = dynamic_cast<HelpWindow*>(owner->findChild<QDialog*>(QStringLiteral("Aide")));
    if (window && window->language() != language) {
        delete window;
        window = nullptr;
    }
    if (!window)
        window = new HelpWindow(language, owner);
    window->show();
    window->raise();
    return *window;
}

}  // namespace

void ShowHelpTopic(const char* topic, Language language, QWidget* owner) {
    ShownHelp(language, owner).showTopic(QLatin1String(topic));
}

void SearchHelp(Language language, QWidget* owner) {
    HelpWindow& window = ShownHelp(language, owner);
    window.showTopic({});
    window.activateWindow();
    window.turnToSearch();
}

void AddHelpButton(QDialogButtonBox& buttons, const char* topic, Language language) {
    auto* const button = new QPushButton(QStringLiteral("?"), &buttons);
    button->setObjectName(QStringLiteral("AideBouton"));
    button->setShortcut(QKeySequence(Qt::Key_F1));
    // Its key is enough: what a dialog is for comes first.
    button->setFocusPolicy(Qt::NoFocus);
    button->setAutoDefault(false);
    button->setToolTip(Words(kTextHint, language));
    button->setAccessibleName(button->toolTip());
    buttons.addButton(button, QDialogButtonBox::HelpRole);
    // A modal dialog lets only its own windows be used.
    QObject::connect(button, &QPushButton::clicked, &buttons, [&buttons, topic, language] {
        ShowHelpTopic(topic, language, buttons.window());
    });
}

}  // namespace vellmark
