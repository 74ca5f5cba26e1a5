// What the viewer looks at: the forks of a file of the open volume, and the image around them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "inspect/inspected_bytes.hpp"
#include "inspect/inspected_image.hpp"

namespace vellmark {

enum class ViewedFork : std::int8_t { None = -1, Data = 0, Resource = 1, Image = 2 };

class ViewedFile {
  public:
    /// The volume outlives this.
    ViewedFile(VolumeContext& volume, CatalogItem item) : volume_(volume), item_(std::move(item)) {}

    [[nodiscard]] const CatalogItem& item() const { return item_; }
    /// The same file, of which more than its contents may be another now.
    void setItem(CatalogItem item);
    [[nodiscard]] std::uint64_t length(ViewedFork fork) const;
    /// What is shown at first: the data fork, else the resource fork, else none.
    [[nodiscard]] ViewedFork firstFork() const;
    /// The bytes of a fork that is not `None`; opened when they are asked for first.
    [[nodiscard]] const InspectedBytes& bytes(ViewedFork fork);
    /// What is known of the image as a whole; found out when it is asked for first.
    [[nodiscard]] const InspectedImage& surroundings();

  private:
    VolumeContext& volume_;
    CatalogItem item_;
    std::array<std::optional<InspectedBytes>, 3> opened_;
    std::optional<InspectedImage> surroundings_;
};

}  // namespace vellmark
