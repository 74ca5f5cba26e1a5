#include "support/file_lock.hpp"

#include <cerrno>
#include <chrono>
#include <thread>

namespace vellmark {

namespace {

constexpr unsigned kStepMs = 20;
/// So often a file may be replaced in the moment between its opening and its lock.
constexpr int kMostReplacements = 100;

}  // namespace

PcFile OpenLocked(const std::function<PcFile()>& open, LockKind kind, unsigned waitMs) {
    unsigned waited = 0;
    for (int replacements = 0; replacements < kMostReplacements;) {
        PcFile file = open();
        if (!file.isOpen())
            return file;
        if (file.lock(kind)) {
            if (file.hasItsPath())
                return file;
            ++replacements;
            continue;
        }
        if (waited >= waitMs) {
            file.refuse(EWOULDBLOCK);
            return file;
        }
        file.close();
        std::this_thread::sleep_for(std::chrono::milliseconds(kStepMs));
        waited += kStepMs;
    }
    PcFile busy;
    busy.refuse(EWOULDBLOCK);
    return busy;
}

}  // namespace vellmark
