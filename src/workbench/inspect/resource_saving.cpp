#include "workbench/inspect/resource_saving.hpp"

#include <QDir>
#include <QFileDialog>
#include <algorithm>

#include "session/settings.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextOverwrite = 1061;
constexpr int kTextBinaryTitle = 3606;
constexpr int kTextBinaryFilter = 3605;
constexpr int kTextHexadecimalTitle = 3602;
constexpr int kTextHexadecimalFilter = 3601;

/// Of more problems the number is told.
constexpr std::size_t kMostProblems = 8;

struct SaveDialog {
    QString title;
    QString filter;
};

SaveDialog DialogOf(ResourceForm form, Language language) {
    if (form == ResourceForm::Shown)
        return {Words(Sentence::kSavePictureOrText, language),
                Words(Sentence::kPictureTextFilter, language)};
    const bool isBytes = form == ResourceForm::Bytes;
    return {Words(isBytes ? kTextBinaryTitle : kTextHexadecimalTitle, language),
            DialogFilter(Text(isBytes ? kTextBinaryFilter : kTextHexadecimalFilter, language))};
}

Reason ToldOf(std::vector<Reason> problems) {
    if (problems.size() > kMostProblems) {
        const std::size_t rest = problems.size() - kMostProblems;
        problems.resize(kMostProblems);
        problems.emplace_back(Sentence::kAndMore, rest);
    }
    return Reason::Joined(std::move(problems), "\n");
}

// What came of it; the number of those that were saved is in `saved`.
std::vector<Reason> SaveEach(const ResourceSaving& saving, ResourceExport& files,
                             const std::string& folder, Progress& progress, std::size_t& saved) {
    PcTargets targets(saving.window.documents().path());
    if (const Reason problem = targets.enter(folder))
        return {problem};
    std::vector<Reason> problems;
    for (const ResourceType& type : saving.tree.types)
        for (const Resource& resource : type.resources) {
            if (!progress.mayGoOn())
                break;
            if (const Reason problem = files.save(targets, type, resource, progress))
                problems.push_back(problem);
            else
                ++saved;
        }
    if (const Reason problem = targets.leave({}))
        problems.push_back(problem);
    return problems;
}

}  // namespace

void SaveResource(const ResourceSaving& saving, const ResourceType& type, const Resource& resource,
                  ResourceForm form) {
    const ResourceExport files(saving.fork, saving.tree, form, saving.style);
    const auto [title, filter] = DialogOf(form, saving.window.language());
    const bool isSaved =
        SaveBytesAs(saving.window, title, filter, ToQString(files.fileName(type, resource)),
                    saving.owner, saving.look, [&](ByteSink& file, Progress& progress) {
                        return files.fill(file, type, resource, progress);
                    });
    // What there is of it was saved all the same.
    if (isSaved && !resource.isWhole)
        saving.window.messages().showMessage(Sentence::kContentsCutShort);
}

void SaveAllResources(const ResourceSaving& saving, ResourceForm form) {
    TVellmark& window = saving.window;
    const QString chosen = QFileDialog::getExistingDirectory(
        saving.owner, Words(Sentence::kSaveAllResources, window.language()),
        QFile::decodeName(
            KeptFolder(window.state().store, setting::kCopyFolder, ToPath(QDir::homePath()))
                .c_str()));
    if (chosen.isEmpty())
        return;
    const std::string folder = ToPath(chosen);
    ResourceExport files(saving.fork, saving.tree, form, saving.style);
    RememberedAnswer replace;
    std::size_t kept = 0;
    files.setMayReplace([&](const std::string& path) {
        const Answer answer =
            replace.answer(window.messages(),
                           window.messages().words(Reason::Told(kTextOverwrite, Printable(path))));
        const bool replaces = answer == Answer::Yes || answer == Answer::YesToAll;
        kept += replaces ? 0 : 1;
        return replaces;
    });
    std::vector<Reason> problems;
    std::size_t saved = 0;
    if (!saving.look([&](Progress& progress) {
            problems = SaveEach(saving, files, folder, progress, saved);
        }))
        return;
    if (problems.empty())
        window.messages().showTimedMessage(
            Reason(Sentence::kResourcesSaved, saved - kept, Printable(folder)));
    else
        window.messages().showMessage(ToldOf(std::move(problems)));
}

}  // namespace vellmark
