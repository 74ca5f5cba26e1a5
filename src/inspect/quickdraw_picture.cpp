#include "inspect/quickdraw_picture.hpp"

#include <algorithm>
#include <string_view>

#include "inspect/quickdraw_pixels.hpp"

namespace vellmark {

namespace {

using Bytes = std::span<const std::uint8_t>;

namespace op {
constexpr unsigned kClip = 0x01;
constexpr unsigned kVersion = 0x11;
constexpr unsigned kBitsRect = 0x90;
constexpr unsigned kBitsRegion = 0x91;
constexpr unsigned kPackedRect = 0x98;
constexpr unsigned kPackedRegion = 0x99;
constexpr unsigned kDirectRect = 0x9A;
constexpr unsigned kDirectRegion = 0x9B;
constexpr unsigned kLongComment = 0xA1;
constexpr unsigned kEnd = 0xFF;
constexpr unsigned kFirstReserved = 0x100;
constexpr unsigned kFirstLong = 0x8000;
constexpr unsigned kFirstSized = 0x8100;
}  // namespace op

/// Sizes of the operations that set up what no bitmap is drawn with.
constexpr struct {
    unsigned code;
    std::size_t bytes;
} kSettings[] = {{0x00, 0}, {0x02, 8}, {0x03, 2}, {0x04, 1}, {0x05, 2}, {0x06, 4}, {0x07, 4},
                 {0x08, 2}, {0x09, 8}, {0x0A, 8}, {0x0B, 4}, {0x0D, 2}, {0x10, 8}, {0x15, 2},
                 {0x16, 2}, {0x1C, 0}, {0x1D, 6}, {0x1E, 0}, {0x1F, 6}, {0xA0, 2}};

/// Those of the two colours, with the bytes of black ink and of white paper: bitmaps take on any
/// other.
constexpr struct {
    unsigned code;
    std::string_view usual;
} kColours[] = {{0x0E, {"\0\0\0\x21", 4}},
                {0x0F, {"\0\0\0\x1E", 4}},
                {0x1A, {"\0\0\0\0\0\0", 6}},
                {0x1B, {"\xFF\xFF\xFF\xFF\xFF\xFF", 6}}};

constexpr std::uint16_t kCopy = 0;
constexpr std::uint16_t kDitherCopy = 64;

/// A region that is a rectangle: its own size, and the rectangle.
constexpr std::size_t kRectangleRegion = 10;

/// Pixels that one picture may unpack and draw, each as often as it is.
constexpr std::uint64_t kMostPixels = 64ULL << 20;

struct Rectangle {
    int top = 0, left = 0, bottom = 0, right = 0;

    explicit Rectangle(const PixelBounds& bounds)
        : top(signedOf(bounds.top)),
          left(signedOf(bounds.left)),
          bottom(signedOf(bounds.bottom)),
          right(signedOf(bounds.right)) {}

    [[nodiscard]] int width() const { return right - left; }
    [[nodiscard]] int height() const { return bottom - top; }
    [[nodiscard]] bool isEmpty() const { return width() <= 0 || height() <= 0; }
    void clipTo(const Rectangle& other) {
        top = std::max(top, other.top);
        left = std::max(left, other.left);
        bottom = std::min(bottom, other.bottom);
        right = std::min(right, other.right);
    }

  private:
    static int signedOf(std::uint16_t value) { return static_cast<std::int16_t>(value); }
};

// Where a row or column that is drawn comes from.
class Scale {
  public:
    struct Side {
        std::int64_t start, length;
    };
    Scale(Side to, Side from) : to_(to), from_(from) {}
    std::int64_t operator()(int at) const {
        return from_.start + (at - to_.start) * from_.length / to_.length;
    }

  private:
    Side to_, from_;
};

class PictureReader {
  public:
    PictureReader(Bytes bytes, const Rectangle& frame)
        : start_(bytes.data()), rest_(bytes), frame_(frame), clip_(frame) {
        picture_.width = static_cast<std::uint32_t>(frame.width());
        picture_.height = static_cast<std::uint32_t>(frame.height());
        picture_.pixels.resize(std::size_t{picture_.width} * picture_.height);
    }

    std::optional<ResourcePicture> read() {
        while (const auto code = nextCode()) {
            if (*code == op::kEnd)
                return hasDrawn_ ? std::optional(std::move(picture_)) : std::nullopt;
            if (!run(*code))
                return std::nullopt;
        }
        return std::nullopt;
    }

  private:
    // Those of the second version are words at even places.
    std::optional<unsigned> nextCode() {
        if (!isWide_) {
            const auto code = Take(rest_, 1);
            return code ? std::optional<unsigned>((*code)[0]) : std::nullopt;
        }
        if ((rest_.data() - start_) % 2 != 0 && !Take(rest_, 1))
            return std::nullopt;
        const auto code = TakeRecord<be16>(rest_);
        return code ? std::optional<unsigned>(*code) : std::nullopt;
    }

    bool run(unsigned code) {
        switch (code) {
            case op::kVersion:
                return takeVersion();
            case op::kClip:
                return takeRegion();
            case op::kBitsRect:
            case op::kBitsRegion:
            case op::kPackedRect:
            case op::kPackedRegion:
            case op::kDirectRect:
            case op::kDirectRegion:
                return draw(code);
            default:
                return pass(code);
        }
    }

    bool takeVersion() {
        const auto version = Take(rest_, 1);
        if (!version || (*version)[0] == 1)
            return version.has_value();
        // The second one tells it with a word: 02FF.
        isWide_ = true;
        return (*version)[0] == 2 && Take(rest_, 1);
    }

    // What sets up something, says something or is of a later system.
    bool pass(unsigned code) {
        for (const auto& setting : kSettings)
            if (setting.code == code)
                return Take(rest_, setting.bytes).has_value();
        for (const auto& colour : kColours)
            if (colour.code == code) {
                const auto bytes = Take(rest_, colour.usual.size());
                return bytes && std::ranges::equal(*bytes, colour.usual, {}, {}, [](char c) {
                           return static_cast<std::uint8_t>(c);
                       });
            }
        if (code == op::kLongComment) {
            if (!Take(rest_, 2))
                return false;
            const auto bytes = TakeRecord<be16>(rest_);
            return bytes && Take(rest_, *bytes);
        }
        if (code < op::kFirstReserved)
            return false;
        if (code < op::kFirstLong)
            return Take(rest_, std::size_t{code >> 8} * 2).has_value();
        if (code < op::kFirstSized)
            return true;
        // From here on compressed pictures begin, which another program unpacked.
        return false;
    }

    bool takeRegion() {
        const auto size = TakeRecord<be16>(rest_);
        const auto bounds = TakeRecord<PixelBounds>(rest_);
        if (!size || !bounds || *size != kRectangleRegion)
            return false;
        clip_ = Rectangle(*bounds);
        clip_.clipTo(frame_);
        return true;
    }

    bool draw(unsigned code) {
        const bool isDirect = code == op::kDirectRect || code == op::kDirectRegion;
        const auto source = takeSource(isDirect);
        const auto from = TakeRecord<PixelBounds>(rest_);
        const auto to = TakeRecord<PixelBounds>(rest_);
        const auto mode = TakeRecord<be16>(rest_);
        if (!source || !from || !to || !mode || (*mode != kCopy && *mode != kDitherCopy))
            return false;
        const Rectangle clip = clip_;
        if (code % 2 != 0 && !takeRegion())
            return false;
        const PixelBounds& bounds = source->map.bounds;
        if (!spend(std::uint64_t{bounds.width()} * bounds.height()))
            return false;
        const bool isPacked = isDirect || code == op::kPackedRect || code == op::kPackedRegion;
        const auto pixels = TakePixels(rest_, *source, isPacked);
        const bool isDrawn =
            pixels && copy(*pixels, Rectangle(bounds), Rectangle(*from), Rectangle(*to));
        clip_ = clip;
        return isDrawn;
    }

    std::optional<PixelSource> takeSource(bool isDirect) {
        PixelSource source;
        source.isDirect = isDirect;
        if (isDirect && !Take(rest_, sizeof(be32)))
            return std::nullopt;
        Bytes ahead = rest_;
        const auto rowBytes = TakeRecord<be16>(ahead);
        if (!rowBytes)
            return std::nullopt;
        if (!isDirect && (*rowBytes & kPixelMapFlag) == 0) {
            const auto plain = TakeRecord<BitMap>(rest_);
            if (!plain)
                return std::nullopt;
            source.map.rowBytes = plain->rowBytes;
            source.map.bounds = plain->bounds;
            source.map.pixelSize = 1;
            source.colours[0] = kWhite;
            source.colours[1] = kBlack;
            return source;
        }
        const auto map = TakeRecord<PixelMap>(rest_);
        if (!map)
            return std::nullopt;
        source.map = *map;
        if (!isDirect) {
            const auto colours = TakeColours(rest_);
            if (!colours)
                return std::nullopt;
            source.colours = *colours;
        }
        return source;
    }

    // Of the bitmap with these bounds the part `from`, made as large as `to`.
    bool copy(const ResourcePicture& pixels, const Rectangle& bounds, const Rectangle& from,
              const Rectangle& to) {
        Rectangle seen = to;
        seen.clipTo(clip_);
        hasDrawn_ = true;
        if (from.isEmpty() || seen.isEmpty())
            return true;
        if (!spend(std::uint64_t{static_cast<unsigned>(seen.width())} *
                   static_cast<unsigned>(seen.height())))
            return false;
        const Scale rows({to.top, to.height()}, {from.top - bounds.top, from.height()});
        const Scale columns({to.left, to.width()}, {from.left - bounds.left, from.width()});
        for (int y = seen.top; y < seen.bottom; ++y) {
            const std::int64_t row = rows(y);
            if (row < 0 || row >= bounds.height())
                continue;
            for (int x = seen.left; x < seen.right; ++x) {
                const std::int64_t column = columns(x);
                if (column >= 0 && column < bounds.width())
                    picture_.pixels[static_cast<std::size_t>(y - frame_.top) * picture_.width +
                                    static_cast<std::size_t>(x - frame_.left)] =
                        pixels.pixels[static_cast<std::size_t>(row) * pixels.width +
                                      static_cast<std::size_t>(column)];
            }
        }
        return true;
    }

    bool spend(std::uint64_t pixels) {
        spent_ += pixels;
        return spent_ <= kMostPixels;
    }

    const std::uint8_t* start_;
    Bytes rest_;
    Rectangle frame_;
    Rectangle clip_;
    ResourcePicture picture_;
    std::uint64_t spent_ = 0;
    bool isWide_ = false;
    bool hasDrawn_ = false;
};

}  // namespace

std::optional<ResourcePicture> DecodeQuickDrawPicture(Bytes bytes) {
    // Its length, of which the low half is kept: a picture ends where it says.
    if (!Take(bytes, 2))
        return std::nullopt;
    const auto frame = TakeRecord<PixelBounds>(bytes);
    if (!frame)
        return std::nullopt;
    const Rectangle area(*frame);
    constexpr int kMost = static_cast<int>(kMostPictureSide);
    if (area.isEmpty() || area.width() > kMost || area.height() > kMost)
        return std::nullopt;
    return PictureReader(bytes, area).read();
}

}  // namespace vellmark
