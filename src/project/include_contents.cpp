#include "project/include_contents.hpp"

#include <unistd.h>

#include <cerrno>

#include "project/include_list.hpp"
#include "project/project_folders.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

void TellOtherView(const ProjectFile& project, std::int32_t folder, const std::string& path,
                   ProjectView wanted, Messages& messages) {
    if (folder == kRootFolder || project.mode() == ProjectMode::IsoPlus)
        return;
    const ProjectView view = project.folderView(folder);
    if (view == wanted)
        return;
    messages.showTimedMessage(Reason(Sentence::kFolderInOtherView, Printable(path),
                                     view == ProjectView::Iso   ? Sentence::kIsoViewAlone
                                     : view == ProjectView::Hfs ? Sentence::kHfsViewAlone
                                                                : Sentence::kBothViews));
}

InclusionResult Refused(InclusionStatus status) {
    InclusionResult result;
    result.status = status;
    return result;
}

// The folder that takes the items, 0 when it cannot be made.
std::int32_t TargetFolder(ProjectFile& project, const std::string& path,
                          const InclusionOptions& options, const Ports& ports) {
    if (path.empty())
        return kRootFolder;
    NewFolderOptions folders{.clock = ports.clock,
                             .view = options.view,
                             .truncation = options.truncation,
                             .widens = false};
    const std::int32_t folder = NewPathFolder(project, path, folders, ports.messages);
    if (folder != 0)
        TellOtherView(project, folder, path, options.view, ports.messages);
    return folder;
}

InclusionResult IncludeInto(ProjectFile& project, std::int32_t folder,
                            const ContentsRequest& request, InclusionOptions& options,
                            const Ports& ports) {
    if (!request.allOf.empty())
        return IncludeAllOf(project, request.allOf, folder, options, ports.messages,
                            ports.progress);
    if (request.list.empty())
        return Include(project, request.paths, folder, options, ports.messages, ports.progress);
    std::int64_t skipped = 0;
    const auto lines = ReadIncludeList(request.list, skipped, ports.messages);
    if (!lines) {
        ports.messages.showMessage(lines.error());
        return Refused(InclusionStatus::NotFound);
    }
    options.toleratesMissing = true;
    InclusionResult result =
        Include(project, *lines, folder, options, ports.messages, ports.progress);
    result.skipped += skipped;
    return result;
}

}  // namespace

InclusionResult IncludeContents(ProjectFile& project, const ContentsRequest& request,
                                InclusionOptions& options, const Ports& ports) {
    if (!request.allOf.empty())
        if (const Reason refusal = SourceFolderRefusal(request.allOf)) {
            ports.messages.showMessage(refusal);
            return Refused(InclusionStatus::NotFound);
        }
    const std::int32_t folder = TargetFolder(project, request.target, options, ports);
    if (folder == 0)
        return Refused(InclusionStatus::NoSuchFolder);
    InclusionResult result = IncludeInto(project, folder, request, options, ports);
    if (!ports.progress.mayGoOn())
        result.status = InclusionStatus::Stopped;
    if (result.status == InclusionStatus::Stopped)
        ports.messages.showMessage(Sentence::kStoppedUnchanged);
    return result;
}

Reason SourceFolderRefusal(const std::string& path) {
    const PcKind kind = PcFactsOf(path).kind;
    if (kind == PcKind::Missing)
        return Reason(Sentence::kNoSuchFolder, Printable(path));
    if (kind != PcKind::Folder)
        return Reason(Sentence::kNamesNoFolder, Printable(path));
    if (::access(path.c_str(), R_OK | X_OK) != 0)
        return Reason(Sentence::kFolderUnreadable, Printable(path), SystemError{errno});
    return {};
}

}  // namespace vellmark
