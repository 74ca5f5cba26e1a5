#include "workbench/refresh/locate_dialog.hpp"

#include <QComboBox>
#include <QFileDialog>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QStorageInfo>

#include "project/access_path.hpp"
#include "support/encoding.hpp"
#include "workbench/commands/project_changes.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextCancel = 1002;
constexpr int kTextBrowse = 1060;
constexpr int kTextTitle = 1412;
constexpr int kTextNow = 1413;
constexpr int kTextName = 1414;
constexpr int kTextSameDisk = 1416;
constexpr int kTextAllDisks = 1417;
constexpr int kTextOnDisk = 1418;
constexpr int kTextLaunch = 1419;
constexpr int kTextReplace = 1420;
constexpr int kTextResults = 1421;
constexpr int kTextNotFound = 1422;

// Where files of a person can lie, and not what the system makes up.
QStringList Disks() {
    QStringList disks;
    for (const QStorageInfo& each : QStorageInfo::mountedVolumes())
        if (each.isValid() && each.isReady() && each.device().startsWith('/'))
            disks << each.rootPath();
    if (disks.isEmpty())
        disks << QStringLiteral("/");
    return disks;
}

// The disk of the nearest folder above a path that is there.
QString DiskOf(QString path) {
    while (path.size() > 1 && !QFileInfo::exists(path))
        path.truncate(std::max<qsizetype>(1, path.lastIndexOf(u'/')));
    return QStorageInfo(path).rootPath();
}

class LocateDialog final : public FormDialog {
  public:
    LocateDialog(TVellmark& window, const ProjectChange& missing, QWidget& owner)
        : FormDialog("locate", window.text(kTextTitle), window.language(), &owner),
          window_(window),
          missing_(missing),
          disks_(Disks()) {
        const QString lostPath =
            ToQString(Printable(NarrowToUtf8(missing.accessPath + missing.name)));
        addFact(kTextNow, lostPath);
        addFact(kTextName, ToQString(Printable(NarrowToUtf8(missing.name))));
        sameDisk_ = addChoice("MemeDisque", words(kTextSameDisk));
        allDisks_ = addChoice(
            "TousDisques",
            WordsWith(kTextAllDisks, language(), disks_.join(QStringLiteral(", ")).toStdString()));
        oneDisk_ = addChoice("SurDisque", words(kTextOnDisk));
        lostDisk_ = DiskOf(lostPath);
        sameDisk_->setChecked(true);
        addPlace();
        found_ = new QListWidget(this);
        found_->setObjectName(QStringLiteral("Resultats"));
        addRow(words(kTextResults), found_);
        auto* const launch = new QPushButton(words(kTextLaunch), this);
        launch->setObjectName(QStringLiteral("Lancer"));
        connect(launch, &QPushButton::clicked, this, [this] { look(); });
        addWide(launch);
        replace_ = addButton("Remplacer", words(kTextReplace), Accepted);
        addButton("Cancel", words(kTextCancel), Rejected);
        launch->setDefault(true);
        connect(found_, &QListWidget::currentRowChanged, this,
                [this](int row) { replace_->setEnabled(row >= 0); });
        replace_->setEnabled(false);
    }

    [[nodiscard]] std::string chosen() const { return ToPath(found_->currentItem()->text()); }

  private:
    QRadioButton* addChoice(const char* name, const QString& caption) {
        auto* const button = new QRadioButton(caption, this);
        button->setObjectName(QLatin1String(name));
        addWide(button);
        return button;
    }

    // A disk, or any folder to begin at.
    void addPlace() {
        place_ = new QComboBox(this);
        place_->setObjectName(QStringLiteral("Disque"));
        place_->setEditable(true);
        place_->addItems(disks_);
        place_->setEditText(lostDisk_);
        connect(place_, &QComboBox::editTextChanged, this, [this] { oneDisk_->setChecked(true); });
        const QPushButton* const browse =
            addRowWithButton({}, place_, "Parcourir", words(kTextBrowse));
        place_->setAccessibleName(words(kTextOnDisk));
        connect(browse, &QPushButton::clicked, this, [this] {
            const QString folder =
                QFileDialog::getExistingDirectory(this, windowTitle(), place_->currentText());
            if (!folder.isEmpty())
                place_->setEditText(folder);
        });
    }

    void look() {
        std::vector<std::string> places;
        QString shown = oneDisk_->isChecked() ? place_->currentText() : lostDisk_;
        if (allDisks_->isChecked()) {
            shown = disks_.join(QStringLiteral(", "));
            for (const QString& disk : std::as_const(disks_))
                places.push_back(ToPath(disk));
        } else {
            places.push_back(ToPath(shown));
        }
        std::vector<std::string> found;
        window_.runJob(JobKind::Work, [&](Progress& progress) {
            found = Locate(places, missing_.name, missing_.isFolder, progress);
        });
        found_->clear();
        for (const std::string& path : found)
            found_->addItem(QFile::decodeName(path.c_str()));
        if (found.empty())
            window_.messages().showMessage(Reason::Told(
                kTextNotFound, Printable(NarrowToUtf8(missing_.name)), shown.toStdString()));
        else
            found_->setCurrentRow(0);
    }

    TVellmark& window_;
    const ProjectChange& missing_;
    QStringList disks_;
    QString lostDisk_;
    QRadioButton* sameDisk_ = nullptr;
    QRadioButton* allDisks_ = nullptr;
    QRadioButton* oneDisk_ = nullptr;
    QComboBox* place_ = nullptr;
    QListWidget* found_ = nullptr;
    QPushButton* replace_ = nullptr;
};

}  // namespace

bool LocateItem(TVellmark& window, const ProjectChange& missing, QWidget& owner) {
    LocateDialog dialog(window, missing, owner);
    while (dialog.exec() == QDialog::Accepted)
        if (ReplaceItemSource(window, missing.number, dialog.chosen()))
            return true;
    return false;
}

}  // namespace vellmark
