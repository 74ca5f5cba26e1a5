#include "session/verbs/change_run.hpp"

#include "session/verbs/verbs.hpp"

namespace vellmark {

bool ReadRun::open(const VolumeOptions& options) {
    image_ = OpenPlainImage(options.image, Access::Read, context_, terminal);
    if (image_)
        volume_ = ReadVolume::Open(RequestOf(options, image_->path(), image_->name()),
                                   context_.guard, terminal.messages);
    return volume_ != nullptr;
}

void ReadRun::problem(const Reason& reason) {
    failed_ = true;
    terminal.messages.showMessage(reason);
}

int ReadRun::finish() {
    if (const Reason reason = volume_->close())
        problem(reason);
    return failed_ ? kExitFailed : kExitDone;
}

bool ChangeRun::open(const VolumeOptions& options) {
    image_ = OpenPlainImage(options.image, Access::Change, context_, terminal);
    if (image_)
        volume_ = ChangedVolume::Open(RequestOf(options, image_->path(), image_->name()),
                                      context_.guard, terminal.messages);
    return volume_ != nullptr;
}

void ChangeRun::problem(const Reason& reason) {
    failed = true;
    terminal.messages.showMessage(reason);
}

void ChangeRun::judge(const PathChange& change) {
    if (change.problem)
        problem(change.problem);
}

int ChangeRun::finish() {
    const Reason reason = volume_->close(context_.clock);
    isWritten = !reason || reason.severity() == Severity::Remark;
    if (!isWritten)
        problem(reason);
    else if (reason)
        terminal.messages.showTimedMessage(reason);
    if (failed)
        return kExitFailed;
    return terminal.messages.skipped() > 0 ? kExitSkipped : kExitDone;
}

}  // namespace vellmark
