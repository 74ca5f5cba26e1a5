// A resource as a person would rather see it than read its bytes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "containers/resource_fork.hpp"
#include "inspect/resource_pictures.hpp"

namespace vellmark {

/// A picture, or texts, or neither.
struct ShownResource {
    std::optional<ResourcePicture> picture;
    std::vector<std::string> texts;  ///< as `DecodeTexts` gives them

    [[nodiscard]] bool isEmpty() const { return !picture && texts.empty(); }
};

/// What a resource of the fork shows; an icon with colours takes its mask from the resource that
/// keeps it. Nothing for one that is not whole or has no such look.
[[nodiscard]] ShownResource ShowResource(ByteSource& fork, const ResourceTree& tree,
                                         const ResourceType& type, const Resource& resource);

/// The picture as a PNG file.
[[nodiscard]] std::vector<std::uint8_t> PngOf(const ResourcePicture& picture);
/// The texts as a file of them: one as it is, of several each on lines of its own.
[[nodiscard]] std::string TextFileOf(const std::vector<std::string>& texts);

}  // namespace vellmark
