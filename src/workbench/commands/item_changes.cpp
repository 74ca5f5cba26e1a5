#include "workbench/commands/item_changes.hpp"

#include <QClipboard>
#include <QDataStream>
#include <QDir>
#include <QGuiApplication>
#include <QMimeData>
#include <QTemporaryDir>
#include <QUrl>
#include <memory>
#include <vector>

#include "support/pc_folder.hpp"
#include "workbench/commands/project_changes.hpp"
#include "workbench/commands/volume_changes.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr const char* kUriList = "text/uri-list";

// Folders of files that were handed to other programs. They are there as long as this one runs, as
// nobody knows when the other ones have read them.
QTemporaryDir& HandedOut() {
    static std::vector<std::unique_ptr<QTemporaryDir>> folders;
    return *folders.emplace_back(std::make_unique<QTemporaryDir>());
}

// Files that lie in a volume become files of the PC when another program wants them, and not
// before.
class VolumeFiles final : public QMimeData {
  public:
    VolumeFiles(TVellmark& window, std::vector<CatalogItem> items)
        : window_(window),
          partition_(window.documents().partition.get()),
          items_(std::move(items)) {}

    [[nodiscard]] QStringList formats() const override {
        return QMimeData::formats() << QLatin1String(kUriList);
    }
    [[nodiscard]] bool hasFormat(const QString& type) const override {
        return type == QLatin1String(kUriList) || QMimeData::hasFormat(type);
    }

  protected:
    [[nodiscard]] QVariant retrieveData(const QString& type, QMetaType wanted) const override {
        if (type != QLatin1String(kUriList))
            return QMimeData::retrieveData(type, wanted);
        if (!folder_) {
            // A drag may outlive what it was begun in.
            if (window_.jobs().isRunning() || window_.documents().partition.get() != partition_)
                return {};
            folder_ = &HandedOut();
            (void)CopyItemsOut(window_, items_, ToPath(folder_->path()), ExistingFiles::Replace);
        }
        QVariantList urls;
        for (const QFileInfo& file :
             QDir(folder_->path()).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot))
            urls << QUrl::fromLocalFile(file.absoluteFilePath());
        return urls;
    }

  private:
    TVellmark& window_;
    const PartitionDocument* partition_;
    std::vector<CatalogItem> items_;
    mutable QTemporaryDir* folder_ = nullptr;
};

QMimeData* WithItems(std::unique_ptr<QMimeData> data, const DraggedItems& items) {
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    QStringList paths;
    for (const std::string& path : items.paths)
        paths << QString::fromStdString(path);
    stream << QList<qint32>(items.numbers.begin(), items.numbers.end()) << paths;
    data->setData(QLatin1String(kItemsMimeType), bytes);
    return data.release();
}

QMimeData* DragVolumeItems(TVellmark& window, std::vector<CatalogItem> items) {
    DraggedItems dragged;
    for (const CatalogItem& item : items)
        dragged.paths.push_back(VolumePathOf(window, item));
    return WithItems(std::make_unique<VolumeFiles>(window, std::move(items)), dragged);
}

void Later(TVellmark& window, std::function<void()> what) {
    QMetaObject::invokeMethod(&window, std::move(what), Qt::QueuedConnection);
}

}  // namespace

void RenameFolderOf(TVellmark& window, std::int32_t folder, const QString& name) {
    Later(window, [&window, folder, name] {
        if (window.jobs().isRunning())
            return;
        if (window.documents().projectOfMode())
            RenameInProject(window, folder, name);
        else if (const auto item = VolumeFolder(window, folder))
            RenameInVolume(window, *item, name);
    });
}

void RenameRow(TVellmark& window, std::size_t row, const QString& name) {
    const std::int32_t number = window.factsOf(row).number;
    Later(window, [&window, number, name] {
        if (window.jobs().isRunning())
            return;
        if (window.documents().projectOfMode())
            RenameInProject(window, number, name);
        else
            for (const CatalogItem& item : VolumeItemsOf(window, {number}))
                RenameInVolume(window, item, name);
    });
}

QMimeData* DragRows(TVellmark& window, const std::vector<std::size_t>& rows) {
    if (const VolumeItems* const volume = window.volumeItems()) {
        std::vector<CatalogItem> items;
        items.reserve(rows.size());
        for (const std::size_t row : rows)
            items.push_back(volume->item(row));
        return DragVolumeItems(window, std::move(items));
    }
    std::vector<std::int32_t> numbers;
    numbers.reserve(rows.size());
    for (const std::size_t row : rows)
        numbers.push_back(window.factsOf(row).number);
    return WithItems(std::make_unique<QMimeData>(), {numbers, {}});
}

QMimeData* DragFolder(TVellmark& window, std::int32_t folder) {
    if (!window.volumeItems())
        return WithItems(std::make_unique<QMimeData>(), {{folder}, {}});
    std::optional<CatalogItem> item = VolumeFolder(window, folder);
    return item ? DragVolumeItems(window, {*item}) : nullptr;
}

DraggedItems DraggedItemsOf(const QMimeData& data) {
    QDataStream stream(data.data(QLatin1String(kItemsMimeType)));
    QList<qint32> numbers;
    QStringList paths;
    stream >> numbers >> paths;
    DraggedItems items{{numbers.begin(), numbers.end()}, {}};
    for (const QString& path : paths)
        items.paths.push_back(path.toStdString());
    return items;
}

void MoveItemsHere(TVellmark& window, const DraggedItems& items) {
    if (window.jobs().isRunning())
        return;
    if (window.documents().projectOfMode())
        MoveInProject(window, items.numbers);
    else
        MoveInVolume(window, items.paths);
}

std::vector<std::string> PathsOf(const QMimeData& data) {
    std::vector<std::string> paths;
    // Byte by byte, as a name need not be text.
    for (const QUrl& url : data.urls())
        if (url.isLocalFile())
            paths.push_back(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1())
                                .toStdString());
    return paths;
}

std::vector<std::string> ClipboardPaths() {
    const QMimeData* const data = QGuiApplication::clipboard()->mimeData();
    return data && data->hasUrls() ? PathsOf(*data) : std::vector<std::string>();
}

void AddPaths(TVellmark& window, const std::vector<std::string>& paths) {
    if (paths.empty() || window.jobs().isRunning() ||
        !MayDo(window.documents(), SessionCommand::Drop))
        return;
    if (window.documents().mode == FileMode::Partition)
        CopyIntoVolume(window, paths);
    else
        AddToProject(window, paths);
}

}  // namespace vellmark
