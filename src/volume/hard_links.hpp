// Hard links of HFS+: files without contents of their own, which store the number of the file that
// holds them (Apple Technical Note TN1150, "Hard Links").
#pragma once

#include <map>
#include <optional>
#include <string>

#include "volume/catalog.hpp"

namespace vellmark {

class HardLinks {
  public:
    /// Both must outlive it.
    HardLinks(VolumeContext& volume, const Clock& clock) : volume_(volume), clock_(clock) {}

    /// What a link leads to, under the name and in the folder of the link. Other items come back as
    /// they are, and so does a link to a file that is not there (`linkReference` is not 0 then).
    [[nodiscard]] CatalogItem resolve(CatalogItem item);

  private:
    [[nodiscard]] const std::map<std::string, CatalogItem>& targets();

    VolumeContext& volume_;
    const Clock& clock_;
    std::optional<std::map<std::string, CatalogItem>> targets_;  // by name
};

}  // namespace vellmark
