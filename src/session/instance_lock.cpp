#include "session/instance_lock.hpp"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "session/user_folders.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

InstanceLock::InstanceLock(const std::string& folder) {
    const std::string path = folder + "/vellmark.lock";
    const std::string why = take(folder, path);
    if (!why.empty())
        reason_ = fmt::format("The lock {} cannot be taken: {}.", Printable(path), why);
}

std::string InstanceLock::take(const std::string& folder, const std::string& path) {
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        return SystemErrorText(errno);
    if (!IsPrivateFolder(folder))
        return "its folder does not belong to this user alone";
    descriptor_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor_ < 0)
        return SystemErrorText(errno);
    // The file stays when the lock is given back: who deletes it takes the place of a lock away
    // under another process that has just opened it.
    const int error = ::flock(descriptor_, LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
    if (error == 0 || error == EWOULDBLOCK)
        state_ = error == 0 ? State::Taken : State::Busy;
    return state_ == State::Unavailable ? SystemErrorText(error) : std::string{};
}

InstanceLock::~InstanceLock() {
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

}  // namespace vellmark
