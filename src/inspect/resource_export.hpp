// Resources saved as files.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "inspect/fork_page.hpp"
#include "inspect/shown_resource.hpp"
#include "support/pc_targets.hpp"
#include "support/progress.hpp"

namespace vellmark {

enum class ResourceForm : std::uint8_t {
    Bytes,        ///< as they are
    Hexadecimal,  ///< as the lines of a page
    Shown         ///< as a PNG picture or a text in UTF-8; what has no such look as bytes
};

class ResourceExport {
  public:
    /// The fork and its tree outlive this.
    ResourceExport(ByteSource& fork, const ResourceTree& tree, ResourceForm form,
                   PageStyle style = {})
        : fork_(fork), tree_(tree), form_(form), style_(style) {}

    /// Whether an older file may be replaced; without it none is.
    void setMayReplace(std::function<bool(const std::string& path)> mayReplace) {
        mayReplace_ = std::move(mayReplace);
    }

    /// Writes the resource to a file of the folder that is being filled, `TYPE 0xNUMBER` with
    /// `.bin`, `.hex`, `.png` or `.txt`. What went wrong, with the name of the file; nothing when
    /// it is there, and when an older one was to stay.
    [[nodiscard]] Reason save(PcTargets& targets, const ResourceType& type,
                              const Resource& resource, Progress& progress);

    /// Writes what such a file holds; what went wrong, or nothing. A failed transfer to the sink is
    /// the sink's to tell.
    [[nodiscard]] Reason fill(ByteSink& file, const ResourceType& type, const Resource& resource,
                              Progress& progress) const;
    /// The name of such a file.
    [[nodiscard]] std::string fileName(const ResourceType& type, const Resource& resource) const;

  private:
    /// What is saved of it in place of its bytes; nothing for the other forms.
    [[nodiscard]] ShownResource look(const ResourceType& type, const Resource& resource) const;
    [[nodiscard]] std::string_view extensionOf(const ShownResource& shown) const;
    [[nodiscard]] std::string newPath(PcTargets& targets, const std::string& stem,
                                      std::string_view extension);
    [[nodiscard]] Reason write(ByteSink& file, const Resource& resource, const ShownResource& shown,
                               Progress& progress) const;

    ByteSource& fork_;
    const ResourceTree& tree_;
    ResourceForm form_;
    PageStyle style_;
    std::function<bool(const std::string& path)> mayReplace_;
    std::map<std::string, unsigned> turns_;  // the last number of files that would have that name
};

}  // namespace vellmark
