// Which kinds of files the desktop opens with this program.
#include <QCheckBox>
#include <filesystem>
#include <system_error>

#include "session/file_types.hpp"
#include "support/pc_file.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/drawing/pictures.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextTitle = 1400;
constexpr int kTextTypes = 1401;

struct TypeBox {
    const char* name;
    int caption;
    const char* picture;
};
constexpr TypeBox kBoxes[kFileTypes] = {{"TypeVlpr", 1402, "types/project"},
                                        {"TypeHfs", 1403, "types/partition"},
                                        {"TypeVlso", 1404, "types/isoplus"}};

FileTypePlan PlanOf(const CommandContext& context) {
    std::error_code error;
    FileTypePlan plan;
    // The folder for the data of all programs, in which that of this one lies.
    if (!context.dataFolder.empty())
        plan.dataHome = FolderOf(context.dataFolder);
    plan.program = std::filesystem::read_symlink("/proc/self/exe", error).string();
    plan.picture = DrawnFile(QStringLiteral("tools/vellmark"));
    for (std::size_t i = 0; i < kFileTypes; ++i)
        plan.pictures[i] = DrawnFile(QLatin1String(kBoxes[i].picture));
    plan.runTool = RunDesktopTool;
    return plan;
}

}  // namespace

void ManageFileTypes(TVellmark& window) {
    const FileTypePlan plan = PlanOf(window.context());
    const FileTypeSet known = KnownFileTypes(plan.dataHome);
    FormDialog dialog("filetypes", window.text(kTextTitle), window.language(), &window);
    dialog.addNote(window.text(kTextTypes));
    std::array<QCheckBox*, kFileTypes> boxes{};
    for (std::size_t i = 0; i < kFileTypes; ++i)
        boxes[i] = dialog.addBox(kBoxes[i].name, kBoxes[i].caption, known[i]);
    boxes[0]->setFocus();
    dialog.addOkAndCancel();
    if (dialog.exec() != QDialog::Accepted)
        return;
    FileTypeSet wanted{};
    for (std::size_t i = 0; i < kFileTypes; ++i)
        wanted[i] = boxes[i]->isChecked();
    Reason problem;
    window.runJob(JobKind::Work, [&](Progress&) { problem = MakeFileTypesKnown(wanted, plan); });
    if (problem)
        window.messages().showMessage(problem);
}

}  // namespace vellmark
