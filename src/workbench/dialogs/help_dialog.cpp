#include "workbench/dialogs/help_dialog.hpp"

#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

#include "workbench/messages/words.hpp"

// Nothing calls a resource of a library by itself; this stands outside of all namespaces.
static void LoadHelp() {
    Q_INIT_RESOURCE(help);
}

namespace vellmark {

namespace {

constexpr int kTextTitle = 2103;
constexpr int kTextHint = 2329;
constexpr int kColumns = 80;
constexpr int kRows = 36;

QTextBrowser* NewHelpWindow(Language language, QWidget* owner) {
    auto* const dialog = new QDialog(owner);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName(QStringLiteral("Aide"));
    dialog->setWindowTitle(Words(kTextTitle, language));
    auto* const browser = new QTextBrowser(dialog);
    browser->setAccessibleName(dialog->windowTitle());
    browser->setOpenExternalLinks(true);
    auto* const column = new QVBoxLayout(dialog);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(browser);
    const QFontMetrics metrics = dialog->fontMetrics();
    dialog->resize(metrics.averageCharWidth() * kColumns, metrics.height() * kRows);
    return browser;
}

}  // namespace

void ShowHelpTopic(const char* topic, Language language, QWidget* owner) {
    LoadHelp();
    auto* browser = owner->findChild<QTextBrowser*>();
    if (!browser)
        browser = NewHelpWindow(language, owner);
    QUrl page(QStringLiteral("qrc:/help/%1.html")
                  .arg(QLatin1String(language == Language::French ? "fr" : "en")));
    page.setFragment(QLatin1String(topic));
    browser->setSource(page);
    browser->window()->show();
    browser->window()->raise();
}

void AddHelpButton(QDialogButtonBox& buttons, Language language) {
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
    QObject::connect(button, &QPushButton::clicked, &buttons,
                     [&buttons, language] { ShowHelpTopic("", language, buttons.window()); });
}

}  // namespace vellmark
