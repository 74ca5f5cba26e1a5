#include "workbench/browser/places.hpp"

#include <mntent.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>

#include "support/sentences.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

struct OwnFolder {
    QStandardPaths::StandardLocation location;
    QStyle::StandardPixmap picture;
};
constexpr OwnFolder kOwnFolders[] = {
    {QStandardPaths::HomeLocation, QStyle::SP_DirHomeIcon},
    {QStandardPaths::DesktopLocation, QStyle::SP_DesktopIcon},
    {QStandardPaths::DocumentsLocation, QStyle::SP_DirIcon},
    {QStandardPaths::DownloadLocation, QStyle::SP_DirIcon},
};

// Where desktops and people mount media; what lies elsewhere belongs to the system.
constexpr const char* kMediaFolders[] = {"/media/", "/run/media/", "/mnt/"};

std::vector<QString> MountedMedia() {
    std::vector<QString> paths;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> table(
        ::setmntent("/proc/self/mounts", "r"), ::endmntent);
    mntent entry{};
    std::array<char, 8192> text{};
    while (table && ::getmntent_r(table.get(), &entry, text.data(), int{text.size()})) {
        const QString path = QFile::decodeName(entry.mnt_dir);
        const bool isMedium = std::ranges::any_of(kMediaFolders, [&](const char* folder) {
            return (path + u'/').startsWith(QLatin1String(folder));
        });
        if (isMedium && std::ranges::find(paths, path) == paths.end())
            paths.push_back(path);
    }
    return paths;
}

}  // namespace

std::vector<Place> DesktopPlaces(Language language) {
    std::vector<Place> places;
    for (const OwnFolder& own : kOwnFolders) {
        const QString path = QStandardPaths::writableLocation(own.location);
        if (!path.isEmpty() && std::ranges::find(places, path, &Place::path) == places.end() &&
            QFileInfo(path).isDir())
            places.push_back({QStandardPaths::displayName(own.location), path, own.picture});
    }
    // The toolkit translates the word for a home page.
    if (!places.empty() && places[0].path == QDir::homePath())
        places[0].name = ToQString(SentenceText(Sentence::kPlaceHome, language));
    places.push_back({QStringLiteral("/"), QStringLiteral("/"), QStyle::SP_DriveHDIcon});
    for (const QString& path : MountedMedia())
        places.push_back({path.section(u'/', -1), path, QStyle::SP_DriveCDIcon});
    return places;
}

}  // namespace vellmark
