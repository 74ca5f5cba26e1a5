#include "workbench/layout/background_picture.hpp"

#include <QBuffer>
#include <QImageReader>
#include <vector>

#include "layout/picture_format.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/sentences.hpp"
#include "workbench/layout/jpeg_reader.hpp"

namespace vellmark {

namespace {

// Larger ones fill no screen.
constexpr std::uint64_t kMostBytes = 256u << 20;
constexpr std::int64_t kMostPixels = 64 << 20;

struct Format {
    const char* reader;  // as the toolkit calls it, "" for JPEG
    const char* name;
};
// By `PictureFormat`.
constexpr Format kFormats[] = {{"", "JPEG"}, {"png", "PNG"}, {"tiff", "TIFF"}, {"bmp", "BMP"}};

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
                                               const Format& format) {
    const QByteArray data = QByteArray::fromRawData(reinterpret_cast<const char*>(bytes.data()),
                                                    static_cast<qsizetype>(bytes.size()));
    QBuffer buffer;
    buffer.setData(data);
    (void)buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format.reader);
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
    const std::optional<PictureFormat> known = PictureFormatOf(path);
    if (!known)
        return Failed(Sentence::kPictureOfNoKind, Printable(path));
    const Format& format = kFormats[static_cast<std::size_t>(*known)];
    const bool isJpeg = *known == PictureFormat::Jpeg;
    if (!isJpeg && !QImageReader::supportedImageFormats().contains(format.reader))
        return Failed(Sentence::kPictureNotSupported, Printable(path), format.name);
    const auto bytes = BytesOf(path);
    if (!bytes)
        return Failed(bytes.error());
    const auto picture =
        isJpeg ? ReadJpeg(*bytes, kMostPixels, progress) : ReadByToolkit(*bytes, format);
    if (!picture)
        return progress.mayGoOn() ? Failed(Sentence::kPictureDamaged, Printable(path), format.name)
                                  : Failed(Sentence::kStoppedAsWished);
    return *picture;
}

}  // namespace vellmark
