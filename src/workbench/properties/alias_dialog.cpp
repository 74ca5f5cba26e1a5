#include "workbench/properties/alias_dialog.hpp"

#include <QPushButton>
#include <QWidget>
#include <utility>

#include "containers/alias_record.hpp"
#include "inspect/inspected_bytes.hpp"
#include "reading/alias_target.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/mount.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextTitle = 1183;
constexpr int kTextAccessPath = 1184;
constexpr int kTextTargetFile = 1185;
constexpr int kTextTargetFolder = 1186;
constexpr int kTextTargetVolume = 1187;
constexpr int kTextAlign = 1188;
constexpr int kTextBrowse = 1189;
constexpr int kTextSave = 1190;
constexpr int kTextCancel = 1191;
constexpr int kTextNotLoaded = 1194;

// Of a longer path both ends are shown, in characters.
constexpr qsizetype kLongPath = 200;
constexpr qsizetype kPathEnd = 100;

constexpr int kGoThere = 2;

QString ShownPath(const QString& path) {
    return path.size() < kLongPath
               ? path
               : path.left(kPathEnd) + QStringLiteral(" [...] ") + path.right(kPathEnd);
}

class AliasDialog final : public FormDialog {
  public:
    AliasDialog(const AliasRecord& alias, const AliasTarget& target, Language language,
                QWidget* owner)
        : FormDialog("alias", Words(kTextTitle, language), language, owner) {
        const QString path = ToQString(Printable(alias.macPath));
        auto* const pathField = newNamedFact("AccessPath", ShownPath(path));
        pathField->setToolTip(path);
        addIdleButton(pathField, kTextAccessPath, "Browse", kTextBrowse);
        addIdleButton(newNamedFact("TargetFile", ToQString(Printable(alias.targetName))),
                      kTextTargetFile, "Align", kTextAlign);
        addRow(words(kTextTargetFolder),
               newNamedFact("TargetFolder", ToQString(Printable(alias.parentName))));
        addRow(words(kTextTargetVolume),
               newNamedFact("TargetVolume", ToQString(Printable(alias.volumeName))));
        addTarget(target);
        for (const Reason& problem : {alias.problem, target.problem})
            if (problem)
                addNote(Words(problem, language));
        addButton("Save", words(kTextSave), Accepted);
        addButton("Cancel", words(kTextCancel), Rejected);
    }

  private:
    QWidget* newNamedFact(const char* name, const QString& value) {
        QWidget* const fact = newFact(value);
        fact->setObjectName(QLatin1String(name));
        return fact;
    }

    // What would change the record has its place and no use.
    void addIdleButton(QWidget* field, int caption, const char* name, int buttonCaption) {
        auto* const button = addRowWithButton(words(caption), field, name, words(buttonCaption));
        button->setEnabled(false);
        button->setToolTip(Words(Sentence::kAliasOnlyShown, language()));
    }

    void addTarget(const AliasTarget& target) {
        if (!target.item) {
            addNote(Words(
                target.isOnVolume ? Sentence::kAliasTargetIsGone : Sentence::kAliasTargetElsewhere,
                language()));
            return;
        }
        const std::string path = target.path.empty() ? "/" : target.path;
        auto* const button =
            addRowWithButton(Words(Sentence::kAliasHere, language()),
                             newNamedFact("Here", ToQString(Printable(path))), "GoThere",
                             Words(Sentence::kAliasGoThere, language()));
        button->setDefault(true);
        button->setFocus();
        connect(button, &QPushButton::clicked, this, [this] { done(kGoThere); });
    }
};

}  // namespace

std::optional<CatalogItem> ShowAlias(TVellmark& window, const CatalogItem& file, QWidget* owner) {
    VolumeContext& volume = window.documents().partition->volume();
    const InspectedBytes fork = InspectFork(volume, file, true);
    const Result<AliasRecord> alias =
        fork.source ? LoadAliasRecord(*fork.source) : Result<AliasRecord>(Failed(fork.problem));
    if (!alias) {
        window.messages().showMessage(
            Reason::Joined({ToldText{kTextNotLoaded}, alias.error()}, "\n"));
        return std::nullopt;
    }
    AliasTarget target =
        FindAliasTarget(volume, VolumeName(volume), *alias, window.context().clock);
    if (AliasDialog(*alias, target, window.language(), owner).exec() != kGoThere)
        return std::nullopt;
    return std::move(target.item);
}

}  // namespace vellmark
