// One instance at a time: a lock that the system releases when the process ends, however it ends.
#pragma once

#include <string>

#include "support/reason.hpp"

namespace vellmark {

class InstanceLock {
  public:
    enum class State {
        Taken,       ///< by this object
        Busy,        ///< another process has it
        Unavailable  ///< there is no place for it, see `reason`
    };

    /// Tries to take the lock `vellmark.lock` in the folder, without waiting. The folder is made,
    /// for this user alone, when it is not there; one that others can write into is refused, as
    /// they could take the lock away or lead it elsewhere.
    explicit InstanceLock(const std::string& folder);
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    [[nodiscard]] State state() const { return state_; }
    /// Why the lock is unavailable.
    [[nodiscard]] const Reason& reason() const { return reason_; }

  private:
    /// Why the lock is unavailable; none when it is not.
    Reason take(const std::string& folder, const std::string& path);

    int descriptor_ = -1;
    State state_ = State::Unavailable;
    Reason reason_;
};

}  // namespace vellmark
