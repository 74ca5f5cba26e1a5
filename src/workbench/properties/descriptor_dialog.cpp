#include "workbench/properties/descriptor_dialog.hpp"

#include <QLineEdit>
#include <array>

#include "project/project_properties.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextTitle = 1470;

struct Field {
    const char* name;
    int caption;
    int most;  ///< characters that the descriptor has room for
    std::string DescriptorTexts::*text;
};

constexpr Field kFields[] = {
    {"System", 1460, 32, &DescriptorTexts::system},
    {"VolumeSet", 1462, 128, &DescriptorTexts::volumeSet},
    {"Publisher", 1463, 128, &DescriptorTexts::publisher},
    {"Preparer", 1464, 128, &DescriptorTexts::dataPreparer},
    {"Application", 1465, 128, &DescriptorTexts::application},
    {"Copyright", 1466, 12, &DescriptorTexts::copyrightFile},
    {"Abstract", 1467, 12, &DescriptorTexts::abstractFile},
    {"Bibliographic", 1468, 12, &DescriptorTexts::bibliographicFile},
};

}  // namespace

bool AskDescriptorTexts(TVellmark& window, ProjectFile& project, QWidget* owner) {
    FormDialog dialog("descriptor", window.text(kTextTitle), window.language(), owner);
    const DescriptorTexts before = DescriptorTextsOf(project.header());
    std::array<QLineEdit*, std::size(kFields)> fields{};
    for (std::size_t i = 0; i < fields.size(); ++i)
        fields[i] = dialog.addField(kFields[i].name, kFields[i].caption,
                                    ToQString(before.*kFields[i].text), kFields[i].most);
    dialog.addOkAndCancel();
    while (dialog.exec() == QDialog::Accepted) {
        DescriptorTexts texts;
        for (std::size_t i = 0; i < fields.size(); ++i)
            texts.*kFields[i].text = fields[i]->text().toStdString();
        const Reason refusal = SetDescriptorTexts(project.header(), texts);
        if (!refusal)
            return texts != before;
        window.messages().showMessage(refusal);
    }
    return false;
}

}  // namespace vellmark
