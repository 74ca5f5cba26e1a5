#include "workbench/properties/label_dialog.hpp"

#include <QLineEdit>

#include "project/labels.hpp"
#include "project/project_properties.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextBothLabels = 1285;
constexpr int kTextIsoLabel = 1288;
constexpr int kTextMacLabel = 1289;
constexpr int kTextIsoPlusTitle = 1315;
constexpr int kTextNewName = 1317;

}  // namespace

bool AskLabels(TVellmark& window) {
    ProjectFile& project = *window.documents().projectOfMode()->file;
    const ProjectProperties now = PropertiesOf(project);
    const bool isHybrid = project.mode() == ProjectMode::Hybrid;
    FormDialog dialog("labels", window.text(isHybrid ? kTextBothLabels : kTextIsoPlusTitle),
                      window.language(), &window);
    const QLineEdit* const iso = dialog.addField(
        "LabelISO", isHybrid ? kTextIsoLabel : kTextNewName, ToQString(now.isoLabel));
    const QLineEdit* const mac =
        isHybrid ? dialog.addField("LabelHFS", kTextMacLabel, ToQString(now.hfsLabel)) : nullptr;
    dialog.addOkAndCancel();
    bool isChanged = false;
    const auto set = [&](const QLineEdit* field, const std::string& before, LabelSide side) {
        const std::string label = field ? field->text().toStdString() : before;
        if (label == before)
            return Reason();
        Reason refusal = SetLabels(project, label, side);
        isChanged = isChanged || !refusal;
        return refusal;
    };
    while (dialog.exec() == QDialog::Accepted) {
        const ProjectProperties before = PropertiesOf(project);
        Reason refusal = set(iso, before.isoLabel, LabelSide::Iso);
        if (!refusal)
            refusal = set(mac, before.hfsLabel, LabelSide::Hfs);
        if (!refusal)
            break;
        window.messages().showMessage(refusal);
    }
    return isChanged;
}

}  // namespace vellmark
