// Documents: made, opened, saved, closed, and what they are as a whole.
#include <QApplication>

#include "session/settings.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/commands/project_changes.hpp"
#include "workbench/commands/volume_changes.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/main_window/printing.hpp"
#include "workbench/properties/document_properties.hpp"
#include "workbench/properties/label_dialog.hpp"

namespace vellmark {

namespace {

// Runs something of the session that may be long.
void InJob(TVellmark& window, const std::function<bool()>& work) {
    window.runJob(JobKind::Work, [&](Progress&) { (void)work(); });
    window.messages().tellSkipped();
}

}  // namespace

void NewDocument(TVellmark& window) {
    InJob(window, [&] { return window.session().makeDocument(); });
}

void OpenDocument(TVellmark& window) {
    if (const std::optional<std::string> path = AskFileToOpen(window))
        window.openPath(*path);
}

void SaveDocument(TVellmark& window) {
    InJob(window, [&] { return window.session().save(); });
}

void SaveDocumentAs(TVellmark& window) {
    InJob(window, [&] { return window.session().saveAs(); });
}

void CloseDocument(TVellmark& window) {
    InJob(window, [&] {
        window.session().close();
        return true;
    });
}

void ShowDocumentProperties(TVellmark& window) {
    if (window.documents().mode == FileMode::Partition) {
        if (ShowVolumeProperties(window))
            KeepVolume(window);
    } else if (ShowProjectProperties(window)) {
        KeepProject(window);
    }
}

void EditLabel(TVellmark& window) {
    if (AskLabels(window))
        KeepProject(window);
}

void PrintList(TVellmark& window) {
    PrintFolder(window);
}

void Quit(TVellmark& window) {
    window.close();
}

}  // namespace vellmark
