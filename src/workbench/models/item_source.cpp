#include "workbench/models/item_source.hpp"

#include <QLocale>
#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "support/encoding.hpp"
#include "support/mac_dates.hpp"

namespace vellmark {

namespace {

struct Kind {
    Picture shape;
    std::string_view types;       ///< Macintosh types, four letters each
    std::string_view extensions;  ///< with a blank around each
};

constexpr Kind kKinds[] = {
    {Picture::Text, "TEXTttroW8BNWDBNPDF RTF ", " TXT MD HTM HTML DOC PDF RTF CSV XML JSON INI "},
    {Picture::Image, "PICTJPEGTIFFGIFfGIF PNGfPNG 8BPSBMP ",
     " JPG JPEG PNG GIF TIF TIFF BMP PCT PICT PSD SVG WEBP "},
    {Picture::Sound, "AIFFAIFCsndsMidiMPG3Mp3 WAVE", " WAV AIF AIFF MP3 MID OGG FLAC M4A "},
    {Picture::Film, "MooVMPEGVfW ", " MOV MPG MPEG AVI MP4 MKV WEBM DAT "},
    {Picture::Archive, "SITDSIT!SIT5SITxZIP PACTDDSKrohddImg",
     " ZIP SIT SEA HQX BIN GZ TAR TGZ BZ2 XZ 7Z RAR DMG ISO IMG "},
    {Picture::Program, "APPLappeINITcdevDRVRFNDRdfil", " EXE COM BAT DLL APP "},
};

constexpr std::size_t kTypeBytes = 4;

}  // namespace

std::size_t ItemSource::rowOf(std::int32_t number) const {
    std::size_t row = 0;
    while (row < count() && numberAt(row) != number)
        ++row;
    return row;
}

QString SizeWords(std::uint64_t bytes, bool isFrench) {
    constexpr const char* kUnits = "KMGT";
    constexpr int kStep = 1024;
    const QChar letter = isFrench ? u'o' : u'B';
    if (bytes < kStep)
        return QStringLiteral("%1 %2").arg(bytes).arg(letter);
    double size = static_cast<double>(bytes) / kStep;
    const char* unit = kUnits;
    for (; size >= kStep && unit[1] != '\0'; ++unit)
        size /= kStep;
    const QLocale locale(isFrench ? QLocale::French : QLocale::English);
    return QStringLiteral("%1 %2%3").arg(locale.toString(size, 'f', 1)).arg(*unit).arg(letter);
}

QString DateWords(UnixSeconds local) {
    if (local == 0)
        return {};
    const CivilTime time = ToCivil(local);
    return QString::asprintf("%02d/%02d/%d  %02d:%02d", time.day, time.month, time.year, time.hour,
                             time.minute);
}

Picture PictureOfType(std::string_view type) {
    for (const Kind& kind : kKinds)
        for (std::size_t at = 0; at + kTypeBytes <= kind.types.size(); at += kTypeBytes)
            if (kind.types.substr(at, kTypeBytes) == type)
                return kind.shape;
    return Picture::File;
}

Picture PictureOfName(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size())
        return Picture::File;
    const std::string sought = " " + AsciiUpper(name.substr(dot + 1)) + " ";
    const Kind* kind = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const Kind& each) {
        return each.extensions.find(sought) != std::string_view::npos;
    });
    return kind == std::end(kKinds) ? Picture::File : kind->shape;
}

}  // namespace vellmark
