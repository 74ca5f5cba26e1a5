#include "session/instance_lock.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "session/user_folders.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

InstanceLock::InstanceLock(const std::string& folder) {
    const std::string path = folder + "/vellmark.lock";
    if (const Reason why = take(folder, path))
        reason_ = Reason(Sentence::kLockNotTaken, Printable(path), why);
}

Reason InstanceLock::take(const std::string& folder, const std::string& path) {
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        return SystemError{errno};
    if (!IsPrivateFolder(folder))
        return Sentence::kLockFolderShared;
    descriptor_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor_ < 0)
        return SystemError{errno};
    // The file stays when the lock is given back: who deletes it takes the place of a lock away
    // under another process that has just opened it.
    const int error = ::flock(descriptor_, LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
    if (error == 0 || error == EWOULDBLOCK)
        state_ = error == 0 ? State::Taken : State::Busy;
    return state_ == State::Unavailable ? Reason(SystemError{error}) : Reason();
}

InstanceLock::~InstanceLock() {
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

}  // namespace vellmark
