// What the verbs share that look at bytes: the image as a whole, or a fork of one of its files.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "inspect/inspected_bytes.hpp"
#include "inspect/inspected_image.hpp"
#include "session/verbs/image_verbs.hpp"

namespace vellmark {

struct InspectOptions {
    ViewOptions view;
    std::string path;
    bool hasPath = true;  ///< without one it is the whole image
    std::string fork;     ///< `data` or `resource`; empty: as the verb has it
    std::string sector = "0";
};

/// Declares IMAGE, PATH, `--partition` and `--fork`; gives back PATH.
[[nodiscard]] Option AddInspectOptions(OptionSet& arguments, InspectOptions& options,
                                       const Reason& path);

struct InspectRun {
    explicit InspectRun(CommandContext& context, bool quiet = true) : run(context, quiet) {}

    /// Opens what is to be looked at. False after a message.
    [[nodiscard]] bool open(const InspectOptions& options, bool resourceByDefault);
    /// The sector that was typed: decimal, or hexadecimal behind 0x. Nothing after a message when
    /// it is none of what is looked at.
    [[nodiscard]] std::optional<std::uint64_t> sectorOf(const std::string& typed);
    /// What is known of the image around the bytes.
    [[nodiscard]] const InspectedImage& surroundings();

    ViewRun run;
    InspectedBytes bytes;

  private:
    [[nodiscard]] bool openWhole(const InspectOptions& options);
    [[nodiscard]] bool openFork(const InspectOptions& options, bool resource);

    VolumeContext whole_;
    std::shared_ptr<PcFile> image_;
    std::optional<InspectedImage> surroundings_;
};

/// A number as it is typed: decimal, or hexadecimal behind 0x.
[[nodiscard]] std::optional<std::uint64_t> TypedNumber(const std::string& typed);

}  // namespace vellmark
