#include "workbench/layout/jpeg_reader.hpp"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <vector>

// It wants the types of <cstdio> before it.
#include <jerror.h>
#include <jpeglib.h>

namespace vellmark {

namespace {

// A picture of few pixels can bid its reader go over them again without end.
constexpr int kMostScans = 500;
constexpr int kInkColours = 4;

/// The library calls back where an error is met, and must not be returned to: it is left by a jump
/// to where it was called. No function that such a jump leaves or comes back to may have variables
/// with destructors.
class Jpeg {
  public:
    explicit Jpeg(Progress& progress) : progress_(progress) {
        reader_.err = jpeg_std_error(&errors_);
        errors_.error_exit = leave;
        errors_.emit_message = warned;
        watch_.progress_monitor = looked;
        reader_.client_data = this;
    }
    ~Jpeg() { jpeg_destroy_decompress(&reader_); }
    Jpeg(const Jpeg&) = delete;
    Jpeg& operator=(const Jpeg&) = delete;

    /// The size of the picture and of what will be read of it.
    [[nodiscard]] bool readHead(std::span<const std::uint8_t> bytes) {
        if (setjmp(back_) != 0)  // NOLINT(cert-err52-cpp): the library knows no other way
            return false;
        jpeg_create_decompress(&reader_);
        reader_.progress = &watch_;
        jpeg_mem_src(&reader_, bytes.data(), static_cast<unsigned long>(bytes.size()));
        if (jpeg_read_header(&reader_, TRUE) != JPEG_HEADER_OK)
            return false;
        reader_.scale_num = 1;
        reader_.scale_denom = 2;
        reader_.out_color_space = hasInks() ? JCS_CMYK : JCS_RGB;
        jpeg_calc_output_dimensions(&reader_);
        return true;
    }
    [[nodiscard]] QSize size() const { return sizeOf(reader_.image_width, reader_.image_height); }
    [[nodiscard]] QSize readSize() const {
        return sizeOf(reader_.output_width, reader_.output_height);
    }

    /// Into an image of that size with 24 bits a pixel; `line` has four bytes for each pixel of a
    /// line.
    [[nodiscard]] bool readLines(QImage& image, std::vector<std::uint8_t>& line) {
        if (setjmp(back_) != 0)  // NOLINT(cert-err52-cpp): the library knows no other way
            return false;
        (void)jpeg_start_decompress(&reader_);
        while (reader_.output_scanline < reader_.output_height) {
            std::uint8_t* const target = image.scanLine(static_cast<int>(reader_.output_scanline));
            JSAMPROW rows[] = {hasInks() ? line.data() : target};
            (void)jpeg_read_scanlines(&reader_, rows, 1);
            if (hasInks())
                mix(line.data(), target);
        }
        (void)jpeg_finish_decompress(&reader_);
        return true;
    }

  private:
    static QSize sizeOf(JDIMENSION width, JDIMENSION height) {
        return {static_cast<int>(width), static_cast<int>(height)};
    }
    [[nodiscard]] bool hasInks() const { return reader_.num_components == kInkColours; }

    // Programs that write inks write what is left of the paper: 255 is none.
    void mix(const std::uint8_t* from, std::uint8_t* to) const {
        const bool isLeft = reader_.saw_Adobe_marker != 0;
        for (JDIMENSION x = 0; x < reader_.output_width; ++x, from += kInkColours)
            for (int colour = 0; colour < 3; ++colour, ++to)
                *to = static_cast<std::uint8_t>(isLeft
                                                    ? from[colour] * from[3] / 255
                                                    : (255 - from[colour]) * (255 - from[3]) / 255);
    }

    static Jpeg& self(j_common_ptr reader) { return *static_cast<Jpeg*>(reader->client_data); }
    [[noreturn]] static void leave(j_common_ptr reader) { std::longjmp(self(reader).back_, 1); }
    // What the library would make up is not the picture.
    static void warned(j_common_ptr reader, int level) {
        const int code = reader->err->msg_code;
        if (level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER ||
                          code == JWRN_HUFF_BAD_CODE || code == JWRN_MUST_RESYNC))
            leave(reader);
    }
    static void looked(j_common_ptr reader) {
        Jpeg& jpeg = self(reader);
        if (jpeg.reader_.input_scan_number > kMostScans || !jpeg.progress_.mayGoOn())
            leave(reader);
    }

    Progress& progress_;
    jpeg_decompress_struct reader_{};
    jpeg_error_mgr errors_{};
    jpeg_progress_mgr watch_{};
    std::jmp_buf back_{};
};

}  // namespace

std::optional<BackgroundPicture> ReadJpeg(std::span<const std::uint8_t> bytes,
                                          std::int64_t mostPixels, Progress& progress) {
    Jpeg jpeg(progress);
    if (!jpeg.readHead(bytes))
        return std::nullopt;
    const QSize size = jpeg.size();
    if (size.isEmpty() || std::int64_t{size.width()} * size.height() > mostPixels)
        return std::nullopt;
    QImage image(jpeg.readSize(), QImage::Format_RGB888);
    if (image.isNull())
        return std::nullopt;
    std::vector<std::uint8_t> line(static_cast<std::size_t>(image.width()) * kInkColours);
    if (!jpeg.readLines(image, line))
        return std::nullopt;
    return BackgroundPicture{image, size};
}

}  // namespace vellmark
