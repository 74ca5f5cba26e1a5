#include "project/drop.hpp"

#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr int kTextAddingDropped = 1047;
constexpr int kTextCompleted = 1457;

constexpr std::int64_t kMinute = 60;

}  // namespace

std::optional<InclusionResult> AddDropped(DropTarget& target, std::span<const std::string> paths,
                                          std::int32_t folder, InclusionOptions& options,
                                          Messages& messages, Progress& progress) {
    ProjectFile* project = target.openProject();
    if (project == nullptr)
        return std::nullopt;
    progress.text(messages.text(kTextAddingDropped));
    const UnixSeconds begin = options.clock.now();
    const InclusionResult result = Include(*project, paths, folder, options, messages, progress);
    if (result.files + result.folders == 0)
        return result;
    if (project->mode() == ProjectMode::Hybrid)
        project->setViewFlagsUp(folder, options.view != ProjectView::Hfs,
                                options.view != ProjectView::Iso);
    // Worth a word only after a wait.
    if (const std::int64_t seconds = options.clock.now() - begin; seconds >= kMinute)
        messages.showTimedMessage(Reason::Told(kTextCompleted, seconds / kMinute, seconds % kMinute,
                                               result.folders, result.files));
    return result;
}

}  // namespace vellmark
