// How a second start of the program reaches the window that is there.
#pragma once

#include <QObject>
#include <functional>
#include <memory>
#include <string>

class QSocketNotifier;

namespace vellmark {

/// Hands the path of a file, or "", to the window of this user whose door is in the folder. False
/// when none took it.
[[nodiscard]] bool HandToRunningWindow(const std::string& folder, const std::string& path);

/// The door of the running window; without one, when none can be made, a second start says that the
/// program runs.
class RunningWindow {
  public:
    RunningWindow(const std::string& folder, std::function<void(const std::string& path)> taken);
    ~RunningWindow();
    RunningWindow(const RunningWindow&) = delete;
    RunningWindow& operator=(const RunningWindow&) = delete;

  private:
    void take();

    std::string path_;
    std::function<void(const std::string& path)> taken_;
    int descriptor_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace vellmark
