#include "workbench/window_program.hpp"

#include <QApplication>
#include <cstdlib>
#include <filesystem>

#include "session/exit_status.hpp"
#include "session/instance_lock.hpp"
#include "session/session_state.hpp"
#include "support/sentences.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/main_window/running_window.hpp"
#include "workbench/messages/message_dialogs.hpp"

namespace vellmark {

namespace {

constexpr int kTextRunning = 1347;

// The toolkit ends the process where it finds no screen, with words for those who built it.
bool HasScreen() {
    for (const char* name : {"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"})
        if (const char* value = std::getenv(name); value && *value != '\0')
            return true;
    return false;
}

// Behind what the toolkit took for itself; its own list has arguments as text, which a name need
// not be.
std::string FileOf(int argc, char** argv) {
    if (argc < 2)
        return {};
    std::error_code error;
    return std::filesystem::absolute(argv[1], error).string();
}

// The other window may be about to end: it is worth a word only when it does not answer.
int HandOver(const std::string& file, const CommandContext& context) {
    if (HandToRunningWindow(context.lockFolder, file))
        return kExitDone;
    (void)TMessOK(Words(kTextRunning, LanguageOf(context.locale)), LanguageOf(context.locale), 0,
                  nullptr)
        .exec();
    return kExitFailed;
}

int ShowWindow(const std::string& file, CommandContext& context) {
    TVellmark window(context);
    const RunningWindow door(context.lockFolder, [&window](const std::string& path) {
        window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
        window.activateWindow();
        window.raise();
        if (!path.empty())
            window.whenIdle([&window, path] { window.openPath(path); });
    });
    window.show();
    window.start(file);
    return QApplication::exec();
}

}  // namespace

int RunWindow(int argc, char** argv, CommandContext& context) {
    context.language = SpokenLanguage(std::nullopt, context);
    if (!HasScreen()) {
        context.errors << "vellmark: " << Reason(Sentence::kNoDisplay).words(context.language)
                       << '\n';
        return kExitFailed;
    }
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vellmark"));
    QApplication::setDesktopFileName(QStringLiteral("vellmark"));
    const std::string file = FileOf(argc, argv);
    const InstanceLock lock(context.lockFolder);
    if (lock.state() == InstanceLock::State::Busy)
        return HandOver(file, context);
    return RunInSession({}, context,
                        [&](CommandContext& running) { return ShowWindow(file, running); });
}

}  // namespace vellmark
