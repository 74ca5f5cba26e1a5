#include "workbench/main_window/running_window.hpp"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <cstring>

namespace vellmark {

namespace {

constexpr const char* kDoor = "/vellmark.socket";
constexpr std::size_t kLongestPath = 4096;
// A window that does not answer within this time is busy with its end.
constexpr int kWaitMs = 2000;

// False where the path is longer than an address can be.
bool AddressOf(const std::string& path, sockaddr_un& address) {
    address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

bool Exchange(int descriptor, const std::string& path) {
    pollfd answer{descriptor, POLLIN, 0};
    char byte = 0;
    // A path ends with its zero.
    return ::send(descriptor, path.c_str(), path.size() + 1, MSG_NOSIGNAL) ==
               static_cast<ssize_t>(path.size() + 1) &&
           ::poll(&answer, 1, kWaitMs) == 1 && ::recv(descriptor, &byte, 1, 0) == 1;
}

}  // namespace

bool HandToRunningWindow(const std::string& folder, const std::string& path) {
    sockaddr_un address{};
    const int descriptor = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return false;
    const bool isTaken =
        AddressOf(folder + kDoor, address) &&
        ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        Exchange(descriptor, path);
    ::close(descriptor);
    return isTaken;
}

RunningWindow::RunningWindow(const std::string& folder,
                             std::function<void(const std::string& path)> taken)
    : path_(folder + kDoor), taken_(std::move(taken)) {
    sockaddr_un address{};
    descriptor_ = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    // The lock is ours: what lies there is left from a window that ended badly.
    ::unlink(path_.c_str());
    if (descriptor_ < 0 || !AddressOf(path_, address) ||
        ::bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(descriptor_, SOMAXCONN) != 0)
        return;
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { take(); });
}

RunningWindow::~RunningWindow() {
    notifier_.reset();
    if (descriptor_ >= 0)
        ::close(descriptor_);
    ::unlink(path_.c_str());
}

void RunningWindow::take() {
    const int caller = ::accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC);
    if (caller < 0)
        return;
    char path[kLongestPath + 1] = {};
    pollfd question{caller, POLLIN, 0};
    const bool isWhole =
        ::poll(&question, 1, kWaitMs) == 1 && ::recv(caller, path, kLongestPath, 0) > 0;
    if (isWhole)
        (void)::send(caller, "", 1, MSG_NOSIGNAL);
    ::close(caller);
    if (isWhole)
        taken_(path);
}

}  // namespace vellmark
