#include "workbench/dialogs/compile_dialog.hpp"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "project/labels.hpp"
#include "project/project_properties.hpp"
#include "support/encoding.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/properties/descriptor_dialog.hpp"

namespace vellmark {

namespace {

constexpr int kTextUntitled = 1287;
constexpr int kTextHybridTitle = 1097;
constexpr int kTextRoot = 1099;
constexpr int kTextIsoView = 1100;
constexpr int kTextHfsView = 1101;
constexpr int kTextFolders = 1102;
constexpr int kTextFiles = 1103;
constexpr int kTextPayload = 1104;
constexpr int kTextContainer = 1106;
constexpr int kTextCompile = 1107;
constexpr int kTextMacTitle = 1108;
constexpr int kTextCancel = 1002;
constexpr int kTextIsoLabel = 1288;
constexpr int kTextMacLabel = 1289;
constexpr int kTextRebuild = 1341;
constexpr int kTextAdvanced = 1342;
constexpr int kTextPostgap = 1343;
constexpr int kTextHfsPlus = 1383;
constexpr int kTextIsoTitle = 1476;
constexpr int kTextIsoPlusTitle = 1477;

constexpr int kMostHybridLabel = 16;
constexpr int kMostIsoPlusLabel = 12;
constexpr int kMostHfsLabel = 27;
constexpr int kMostHfsPlusLabel = 61;

constexpr int kAdvanced = 2;

int TitleOf(ProjectMode mode, ImageKind kind) {
    if (mode == ProjectMode::IsoPlus)
        return kTextIsoPlusTitle;
    return kind == ImageKind::Iso   ? kTextIsoTitle
           : kind == ImageKind::Hfs ? kTextMacTitle
                                    : kTextHybridTitle;
}

class CompileDialog final : public FormDialog {
  public:
    CompileDialog(TVellmark& window, ProjectFile& project, ImageKind kind,
                  const std::string& target)
        : FormDialog("compile", window.text(TitleOf(project.mode(), kind)), window.language(),
                     &window),
          window_(window),
          project_(project) {
        const ProjectProperties now = PropertiesOf(project);
        const bool isHybrid = project.mode() == ProjectMode::Hybrid;
        addFact(kTextContainer, ToQString(Printable(target)));
        if (kind != ImageKind::Hfs)
            isoLabel_ = addField("LabelISO", kTextIsoLabel, ToQString(now.isoLabel),
                                 isHybrid ? kMostHybridLabel : kMostIsoPlusLabel);
        if (isHybrid && kind != ImageKind::Iso)
            macLabel_ = addField("LabelHFS", kTextMacLabel, ToQString(now.hfsLabel),
                                 now.isHfsPlus ? kMostHfsPlusLabel : kMostHfsLabel);
        addCounts(now.counts);
        addMegabytes(kTextPayload, now.sectors);
        if (macLabel_) {
            hfsPlus_ = addBox("HFSPlus", kTextHfsPlus, now.isHfsPlus);
            connect(hfsPlus_, &QCheckBox::clicked, this, [this](bool on) { setHfsPlus(on); });
        }
        rebuild_ = addBox("Rebuild", kTextRebuild, now.rebuildsBeforeCompile);
        postgap_ = addBox("Postgap", kTextPostgap, true);
        if (kind != ImageKind::Hfs)
            addButton("Avance", words(kTextAdvanced), kAdvanced);
        addButton("Compiler", words(kTextCompile), Accepted);
        addButton("Cancel", words(kTextCancel), Rejected);
        findChild<QPushButton*>(QStringLiteral("Compiler"))->setDefault(true);
    }

    std::optional<CompileChoices> ask() {
        for (;;) {
            const int end = exec();
            if (end == Rejected)
                return std::nullopt;
            if (end == kAdvanced)
                (void)AskDescriptorTexts(window_, project_, this);
            else if (setLabels())
                return CompileChoices{rebuild_->isChecked(), postgap_->isChecked()};
        }
    }

  private:
    void addCounts(const ProjectCounts& counts) {
        auto* box = new QWidget(this);
        auto* grid = new QGridLayout(box);
        grid->setContentsMargins(0, 0, 0, 0);
        const auto put = [&](int row, int column, const QString& text) {
            grid->addWidget(new QLabel(text, box), row, column,
                            column == 0 ? Qt::AlignLeft : Qt::AlignRight);
        };
        put(0, 1, words(kTextFolders));
        put(0, 2, words(kTextFiles));
        const std::pair<int, ItemCounts> rows[] = {
            {kTextRoot, counts.all}, {kTextIsoView, counts.iso}, {kTextHfsView, counts.hfs}};
        int row = 0;
        for (const auto& [caption, items] : rows) {
            put(++row, 0, words(caption));
            put(row, 1, QString::number(items.folders));
            put(row, 2, QString::number(items.files));
        }
        addWide(box);
    }

    void setHfsPlus(bool on) {
        const Reason refusal = ChangeProject(project_, {.isHfsPlus = on});
        // Items may have other names, and stand elsewhere.
        window_.showDocument();
        if (refusal)
            window_.messages().showMessage(refusal);
        const ProjectProperties now = PropertiesOf(project_);
        hfsPlus_->setChecked(now.isHfsPlus);
        macLabel_->setMaxLength(now.isHfsPlus ? kMostHfsPlusLabel : kMostHfsLabel);
    }

    // An empty label takes the name of what has none.
    [[nodiscard]] bool setLabel(const QLineEdit* field, const std::string& before, LabelSide side) {
        if (!field)
            return true;
        const QString label = field->text().isEmpty() ? words(kTextUntitled) : field->text();
        if (label == ToQString(before))
            return true;
        const Reason refusal = SetLabels(project_, label.toStdString(), side);
        if (refusal)
            window_.messages().showMessage(refusal);
        return !refusal;
    }

    [[nodiscard]] bool setLabels() {
        const ProjectProperties now = PropertiesOf(project_);
        return setLabel(isoLabel_, now.isoLabel, LabelSide::Iso) &&
               setLabel(macLabel_, now.hfsLabel, LabelSide::Hfs);
    }

    TVellmark& window_;
    ProjectFile& project_;
    QLineEdit* isoLabel_ = nullptr;
    QLineEdit* macLabel_ = nullptr;
    QCheckBox* hfsPlus_ = nullptr;
    QCheckBox* rebuild_ = nullptr;
    QCheckBox* postgap_ = nullptr;
};

}  // namespace

std::optional<CompileChoices> AskCompile(TVellmark& window, ProjectFile& project, ImageKind kind,
                                         const std::string& target) {
    return CompileDialog(window, project, kind, target).ask();
}

}  // namespace vellmark
