// Times the window beside a person: `start` ends when it has painted itself and shows what is open;
// `work PROJECT FOLDER` opens a project, shows one of its folders, sorts it by each column and
// looks at it through the other views; `pages IMAGE` turns pages of the image of a volume. Both
// print a line for each: a name, a blank, milliseconds.
#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QTimer>
#include <QTreeView>
#include <functional>
#include <iostream>
#include <string_view>

#include "process.hpp"
#include "session/program.hpp"
#include "session/session_state.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/inspect/fork_viewer.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {
namespace {

constexpr double kNanosecondsAMillisecond = 1e6;

// Done, and painted.
void Time(const std::string& name, const std::function<void()>& what) {
    QElapsedTimer timer;
    timer.start();
    what();
    QCoreApplication::processEvents();
    std::cout << name << ' ' << static_cast<double>(timer.nsecsElapsed()) / kNanosecondsAMillisecond
              << '\n';
}

void Work(TVellmark& window, const char* project, const char* folder) {
    Time("open", [&] { window.openPath(project); });
    Time("again", [&] { window.showDocument(); });
    QAbstractItemModel& tree = *window.tree().model();
    const QModelIndex root = tree.index(0, 0);
    QModelIndex shown;
    for (int row = 0; row < tree.rowCount(root); ++row)
        if (tree.index(row, 0, root).data().toString() == QString::fromUtf8(folder))
            shown = tree.index(row, 0, root);
    Time("folder", [&] { window.tree().setCurrentIndex(shown); });
    for (int column = 0; column < kColumnCount; ++column)
        Time("column" + std::to_string(column),
             [&] { emit window.list().header()->sectionClicked(column); });
    Time("select", [&] { window.list().selectAll(); });
    Time("resort", [&] { emit window.list().header()->sectionClicked(kColumnName); });
    for (const char* view : {"hfs", "iso", "hybrid"})
        Time(view, [&] { ViewNext(window); });
    std::cout << "rows " << window.rowCount() << '\n';
}

void Pages(TVellmark& window, const char* image) {
    window.openPath(image);
    TMacDump viewer(window, {});
    QTimer::singleShot(0, &viewer, [&] {
        for (const char* name : {"Fin", "Hom", "Prec"})
            Time(name, [&] { viewer.findChild<QAction*>(QLatin1String(name))->trigger(); });
        viewer.reject();
    });
    (void)viewer.viewFrom(ViewedFork::Image);
}

int Run(int argc, char** argv, CommandContext& context) {
    const QApplication application(argc, argv);
    const std::string_view what = argc > 2 ? argv[1] : "start";
    return RunInSession({}, context, [&](CommandContext& running) {
        TVellmark window(running);
        window.show();
        window.start({});
        if (what == "work" || what == "pages") {
            what == "work" ? Work(window, argv[2], argv[3]) : Pages(window, argv[2]);
            return 0;
        }
        QTimer::singleShot(0, &window, [] { QApplication::quit(); });
        return QApplication::exec();
    });
}

}  // namespace
}  // namespace vellmark

int main(int argc, char** argv) {
    return vellmark::RunInProcess(
        [&](vellmark::CommandContext& context) { return vellmark::Run(argc, argv, context); });
}
