#include "inspect/shown_resource.hpp"

#include <png.h>

#include <new>

#include "inspect/resource_texts.hpp"

namespace vellmark {

namespace {

/// Larger ones are looked at as bytes; of texts that would be more than a person reads.
constexpr std::uint32_t kMostShown = 8 << 20;
constexpr std::uint32_t kMostText = 1 << 20;

std::vector<std::uint8_t> ContentsOf(ByteSource& fork, const Resource& resource) {
    SliceSource contents = resource.contents(fork);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(contents.size()));
    bytes.resize(contents.readAt(0, bytes));
    return bytes;
}

// The type of the resources that hold the masks of icons of another type.
std::string_view MaskTypeOf(std::string_view type) {
    if (type == "icl4" || type == "icl8")
        return "ICN#";
    return type == "ics4" || type == "ics8" ? "ics#" : "";
}

}  // namespace

ShownResource ShowResource(ByteSource& fork, const ResourceTree& tree, const ResourceType& type,
                           const Resource& resource) {
    ShownResource shown;
    if (!resource.isWhole || resource.length > kMostShown)
        return shown;
    const std::string_view letters(type.letters.data(), type.letters.size());
    const std::vector<std::uint8_t> bytes = ContentsOf(fork, resource);
    std::vector<std::uint8_t> mask;
    if (const std::string_view maskType = MaskTypeOf(letters); !maskType.empty())
        if (const Resource* const icon = tree.find(maskType, resource.id);
            icon && icon->isWhole && icon->length <= kMostShown)
            mask = ContentsOf(fork, *icon);
    shown.picture = DecodePicture(letters, bytes, mask);
    if (!shown.picture && bytes.size() <= kMostText)
        shown.texts = DecodeTexts(letters, bytes).value_or(std::vector<std::string>{});
    return shown;
}

std::vector<std::uint8_t> PngOf(const ResourcePicture& picture) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = picture.width;
    image.height = picture.height;
    image.format = PNG_FORMAT_RGBA;
    std::vector<std::uint8_t> pixels;
    pixels.reserve(picture.pixels.size() * 4);
    for (const std::uint32_t pixel : picture.pixels)
        for (unsigned shift = 0; shift < 32; shift += 8)
            pixels.push_back(static_cast<std::uint8_t>(pixel >> shift));
    png_alloc_size_t size = 0;
    const auto write = [&](void* memory) {
        if (png_image_write_to_memory(&image, memory, &size, 0, pixels.data(), 0, nullptr) == 0)
            throw std::bad_alloc();  // there is no other reason with sides that are not 0
    };
    write(nullptr);
    std::vector<std::uint8_t> png(size);
    write(png.data());
    png.resize(size);
    return png;
}

std::string TextFileOf(const std::vector<std::string>& texts) {
    if (texts.size() == 1)
        return texts.front();
    std::string file;
    for (const std::string& text : texts)
        file += text + '\n';
    return file;
}

}  // namespace vellmark
