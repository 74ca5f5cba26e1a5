#include "workbench/dialogs/file_choice.hpp"

#include <QFileDialog>
#include <QRegularExpression>

#include "support/backup_path.hpp"
#include "support/pc_folder.hpp"
#include "transfer/import_batch.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextProjectFilter = 1349;
constexpr int kTextOpenProject = 1351;
constexpr int kTextImageFilter = 1355;
constexpr int kTextOpenPartition = 1357;
constexpr int kTextIsoPlusFilter = 1361;
constexpr int kTextOpenIsoPlus = 1362;
constexpr int kTextIsoFilter = 1367;
constexpr int kTextSelectIso = 1368;
constexpr int kTextTarget = 1369;
constexpr int kTextHfsFilter = 1410;
constexpr int kTextSaveExpanded = 1504;

struct Kind {
    int title;
    int filter;
};
// By working mode.
constexpr Kind kOpenKinds[] = {{kTextOpenProject, kTextProjectFilter},
                               {kTextOpenPartition, kTextImageFilter},
                               {kTextOpenIsoPlus, kTextIsoPlusFilter}};

QString ToShown(const std::string& path) {
    return QFile::decodeName(QByteArray::fromStdString(path));
}

std::optional<std::string> Given(const QString& path) {
    if (path.isEmpty())
        return std::nullopt;
    return ToPath(path);
}

// A folder as the settings keep it, or where documents usually are.
QString Folder(TVellmark& window, std::string_view name) {
    return ToShown(KeptFolder(window.state().store, name, ToPath(QDir::homePath())));
}

}  // namespace

QString DialogFilter(std::string_view filter) {
    QStringList filters;
    const QStringList parts = ToQString(filter).split(u'|');
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString name = parts[i];
        name.truncate(name.indexOf(QRegularExpression(QStringLiteral("[\\[(]"))) < 0
                          ? name.size()
                          : name.indexOf(QRegularExpression(QStringLiteral("[\\[(]"))));
        QStringList patterns;
        for (QString pattern : parts[i + 1].split(u';')) {
            // Names have no extension here unless a person wants one.
            if (pattern == QLatin1String("*.*"))
                pattern = QStringLiteral("*");
            patterns << pattern;
            if (pattern != pattern.toUpper())
                patterns << pattern.toUpper();
        }
        filters << QStringLiteral("%1 (%2)").arg(name.trimmed(), patterns.join(u' '));
    }
    return filters.join(QStringLiteral(";;"));
}

std::optional<std::string> AskDocumentPath(const PathRequest& request, Language language,
                                           QWidget* owner) {
    const QString extension = ToQString(request.extension);
    return Given(QFileDialog::getSaveFileName(owner, Words(request.title, language),
                                              ToShown(request.proposal),
                                              QStringLiteral("*%1 (*%1);;* (*)").arg(extension),
                                              nullptr, QFileDialog::DontConfirmOverwrite));
}

std::optional<std::string> AskExpandedPath(std::string_view proposal, Language language,
                                           QWidget* owner) {
    return Given(QFileDialog::getSaveFileName(owner, Words(kTextSaveExpanded, language),
                                              ToShown(std::string(proposal)),
                                              DialogFilter(Text(kTextImageFilter, language)),
                                              nullptr, QFileDialog::DontConfirmOverwrite));
}

std::optional<std::string> AskFileToOpen(TVellmark& window) {
    const Kind& kind = kOpenKinds[static_cast<std::size_t>(window.documents().mode)];
    return Given(QFileDialog::getOpenFileName(&window, window.text(kind.title),
                                              Folder(window, setting::kDocumentFolder),
                                              DialogFilter(Text(kind.filter, window.language()))));
}

std::optional<std::string> AskImageTarget(TVellmark& window, const ProjectFile& project,
                                          ImageKind kind) {
    const bool isPureHfs = kind == ImageKind::Hfs;
    const std::string usual = WithExtension(project.path(), isPureHfs ? "dmg" : "iso");
    const std::string folder =
        KeptFolder(window.state().store, setting::kCompileFolder, FolderOf(project.path()));
    const std::string filter(Text(isPureHfs ? kTextHfsFilter : kTextIsoFilter, window.language()));
    std::optional<std::string> path = Given(QFileDialog::getSaveFileName(
        &window, window.text(kTextTarget), ToShown(folder + PcNameOfPath(usual)),
        DialogFilter(filter), nullptr, QFileDialog::DontConfirmOverwrite));
    if (path && PcNameOfPath(*path).find('.') == std::string::npos)
        *path = WithExtension(*path, isPureHfs ? "dmg" : "iso");
    return path;
}

std::optional<std::string> AskIsoImage(TVellmark& window) {
    return Given(QFileDialog::getOpenFileName(
        &window, window.text(kTextSelectIso), Folder(window, setting::kDocumentFolder),
        DialogFilter(Text(kTextIsoFilter, window.language()))));
}

}  // namespace vellmark
