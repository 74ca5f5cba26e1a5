#include "workbench/dialogs/about_dialog.hpp"

#include <QLabel>

#include "workbench/dialogs/form.hpp"
#include "workbench/drawing/pictures.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextClose = 1000;
constexpr int kTextAbout = 1029;
constexpr int kTextWhat = 1030;
constexpr int kTextVersion = 1032;

constexpr int kPictureLines = 4;

}  // namespace

void ShowAboutDialog(Language language, QWidget* owner) {
    FormDialog dialog("", Words(kTextAbout, language), language, owner);
    auto* picture = new QLabel(&dialog);
    picture->setPixmap(ProgramIcon().pixmap(dialog.fontMetrics().height() * kPictureLines));
    picture->setAlignment(Qt::AlignCenter);
    dialog.addWide(picture);
    auto* words = new QLabel(QStringLiteral("Vellmark\n\n%1\n\n%2%3")
                                 .arg(Words(kTextWhat, language), Words(kTextVersion, language),
                                      QStringLiteral(VELLMARK_VERSION)),
                             &dialog);
    words->setObjectName(QStringLiteral("Version"));
    words->setAlignment(Qt::AlignCenter);
    dialog.addWide(words);
    dialog.addButton("MessFermer", Words(kTextClose, language), QDialog::Rejected);
    (void)dialog.exec();
}

}  // namespace vellmark
