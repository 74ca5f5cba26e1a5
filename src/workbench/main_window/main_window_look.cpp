// How the window looks: its colours, its language, its hint while there is nothing to see.
#include <QApplication>
#include <QLabel>
#include <QLibraryInfo>
#include <QTreeView>

#include "support/sentences.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/main_window/mode_look.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

// A quarter of the one colour in the other.
QColor Between(const QColor& quarter, const QColor& rest) {
    const auto mix = [](int a, int b) { return (a + 3 * b) / 4; };
    return {mix(quarter.red(), rest.red()), mix(quarter.green(), rest.green()),
            mix(quarter.blue(), rest.blue())};
}

}  // namespace

bool TVellmark::isDark() const {
    return palette().window().color().lightness() < 128;
}

void TVellmark::setLanguage(Language language) {
    context_.language = language;
    qApp->removeTranslator(&toolkitWords_);
    // Without its file the toolkit's own words, as in the choice of a file, stay English.
    if (language == Language::French &&
        toolkitWords_.load(QStringLiteral("qtbase_fr"),
                           QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        qApp->installTranslator(&toolkitWords_);
    bar_->setLanguage(language);
    listModel_.setLanguage(language);
    jobPanel_->setLanguage(language);
    tree_->setAccessibleName(ToQString(messages_.words(Sentence::kTreeName)));
    list_->setAccessibleName(ToQString(messages_.words(Sentence::kListName)));
    if (emptyHint_->isVisible())
        showEmptyHint();
    showLook();
}

void TVellmark::showLook() {
    bar_->setDark(isDark());
    pictures_.setDark(isDark());
    const FileMode mode = documents().mode;
    const QColor colour = ModeColour(mode, QApplication::palette(list_).color(QPalette::Base));
    for (QWidget* const pane : {static_cast<QWidget*>(tree_), static_cast<QWidget*>(list_)}) {
        QPalette tinted = pane->palette();
        tinted.setColor(QPalette::Base, colour);
        if (tinted != pane->palette())
            pane->setPalette(tinted);
    }
    gauge_->setBackground(colour);
    gauge_->setVisible(mode != FileMode::Partition);
    pictures_.setSet(mode == FileMode::Partition ? PictureSet::Hfs
                     : mode == FileMode::IsoPlus ? PictureSet::Iso
                                                 : static_cast<PictureSet>(documents().view));
    bar_->setToolBarHidden(mode, isToolBarHidden_);
    status_->setPanel(0, ModeWords(documents(), language()));
    updateCommands();
}

// The side on which commands act has the colour of selections, the other a breath of it.
void TVellmark::showSide() {
    const bool isList = documents().listHasFocus;
    for (QTreeView* const pane : {tree_, list_}) {
        QPalette tinted = pane->palette();
        const QPalette usual = QApplication::palette(pane);
        const bool isActive = (pane == list_) == isList;
        for (const auto group : {QPalette::Active, QPalette::Inactive}) {
            tinted.setColor(group, QPalette::Highlight,
                            isActive ? usual.color(group, QPalette::Highlight)
                                     : Between(usual.color(group, QPalette::Highlight),
                                               tinted.color(group, QPalette::Base)));
            tinted.setColor(
                group, QPalette::HighlightedText,
                usual.color(group, isActive ? QPalette::HighlightedText : QPalette::Text));
        }
        if (tinted != pane->palette())
            pane->setPalette(tinted);
    }
}

void TVellmark::setToolBarHidden(bool isHidden) {
    isToolBarHidden_ = isHidden;
    bar_->setToolBarHidden(bar_->mode(), isHidden);
    updateCommands();
}

void TVellmark::showEmptyHint() {
    const ProjectDocument* const project = documents().projectOfMode();
    const bool isNewProject =
        project && source_ && source_->count() == 0 && currentFolder() == source_->root().number;
    const bool takesFiles = documents().mode != FileMode::Partition;
    emptyHint_->setText(ToQString(
        messages_.words(takesFiles ? Sentence::kEmptyWindowHint : Sentence::kEmptyPartitionHint)));
    emptyHint_->setVisible(!source_ || isNewProject);
    list_->setAccessibleDescription(emptyHint_->isHidden() ? QString() : emptyHint_->text());
}

void TVellmark::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && bar_ && !jobs_.isExclusive())
        showLook();
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        QMetaObject::invokeMethod(
            this, [this] { lookForReplacement(); }, Qt::QueuedConnection);
}

}  // namespace vellmark
