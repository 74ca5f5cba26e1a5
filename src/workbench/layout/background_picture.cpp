#include "workbench/layout/background_picture.hpp"

#include <QBuffer>
#include <QImageReader>
#include <QString>
#include <algorithm>
#include <array>
#include <vector>

#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/sentences.hpp"
#include "workbench/layout/jpeg_reader.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

// Larger ones fill no screen.
constexpr std::uint64_t kMostBytes = 256u << 20;
constexpr std::int64_t kMostPixels = 64 << 20;

struct Kind {
    const char* extension;
    const char* format;  // as the toolkit calls it, "" for JPEG
    const char* name;
};
constexpr Kind kKinds[] = {{".jpg", "", "JPEG"},      {".jpeg", "", "JPEG"},
                           {".png", "png", "PNG"},    {".tif", "tiff", "TIFF"},
                           {".tiff", "tiff", "TIFF"}, {".bmp", "bmp", "BMP"}};

const Kind* KindOf(const std::string& path) {
    const QString name = ToQString(path).toLower();
    for (const Kind& kind : kKinds)
        if (name.endsWith(QLatin1String(kind.extension)))
            return &kind;
    return nullptr;
}

Result<std::vector<std::uint8_t>> BytesOf(const std::string& path) {
    PcFile file(path, PcFile::Mode::Read);
    if (!file.isOpen())
        return Failed(Sentence::kCannotBeOpened, Printable(path), file.failure());
    if (file.size() > kMostBytes)
        return Failed(Sentence::kPictureTooLarge, Printable(path));
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(file.size()));
    bytes.resize(file.readAt(0, bytes));
    if (file.error() != 0)
        return Failed(Sentence::kCannotBeOpened, Printable(path), file.failure());
    return bytes;
}

std::optional<BackgroundPicture> ReadByToolkit(const std::vector<std::uint8_t>& bytes,
                                               const Kind& kind) {
    const QByteArray data = QByteArray::fromRawData(reinterpret_cast<const char*>(bytes.data()),
                                                    static_cast<qsizetype>(bytes.size()));
    QBuffer buffer;
    buffer.setData(data);
    (void)buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, kind.format);
    reader.setDecideFormatFromContent(false);
    // Known before anything is made ready for its pixels.
    const QSize size = reader.size();
    if (size.isEmpty() || std::int64_t{size.width()} * size.height() > kMostPixels)
        return std::nullopt;
    const QImage image = reader.read();
    // A picture that is cut off is read as far as it goes, and the reader has a word for it.
    if (image.isNull() || reader.error() != QImageReader::UnknownError)
        return std::nullopt;
    return BackgroundPicture{image, image.size()};
}

}  // namespace

Result<BackgroundPicture> ReadBackground(const std::string& path, Progress& progress) {
    const Kind* const kind = KindOf(path);
    if (!kind)
        return Failed(Sentence::kPictureOfNoKind, Printable(path));
    const bool isJpeg = *kind->format == '\0';
    if (!isJpeg && !QImageReader::supportedImageFormats().contains(kind->format))
        return Failed(Sentence::kPictureNotSupported, Printable(path), kind->name);
    const auto bytes = BytesOf(path);
    if (!bytes)
        return Failed(bytes.error());
    const auto picture =
        isJpeg ? ReadJpeg(*bytes, kMostPixels, progress) : ReadByToolkit(*bytes, *kind);
    if (!picture)
        return progress.mayGoOn() ? Failed(Sentence::kPictureDamaged, Printable(path), kind->name)
                                  : Failed(Sentence::kStoppedAsWished);
    return *picture;
}

}  // namespace vellmark
