// Copies files and folders of a mounted volume to the PC, in one of five forms. Nothing on the
// volume changes. What cannot be copied is named and left out; the rest goes on.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "support/messages.hpp"
#include "support/pc_targets.hpp"
#include "support/progress.hpp"
#include "support/walk_guard.hpp"
#include "transfer/copy_form.hpp"
#include "transfer/font_policy.hpp"
#include "transfer/pc_target_name.hpp"
#include "volume/hard_links.hpp"

namespace vellmark {

/// What happens to a file of the PC that has the name of a target.
enum class ExistingFiles { Keep, Replace, Ask };

struct CopyOutOptions {
    CopyMode mode = CopyMode::DataFork;
    PcNaming naming;
    FontPolicy fonts = FontPolicy::Never;
    ExistingFiles existing = ExistingFiles::Keep;
    Reason keptHint;        ///< added to the remark that a file is kept
    std::string imagePath;  ///< never written over
    /// Bytes that the file system of a folder has room for; 0 when unknown.
    std::function<std::uint64_t(const std::string& folder)> freeBytes = FreeBytes;
};

enum class CopyOutResult {
    Done,
    LeftOut,   ///< the item itself, after a message that names it
    Stopped,   ///< by the user
    BatchEnds  ///< after a message: nothing more can be copied
};

/// One batch. What it refers to must outlive it.
struct CopyOut {
    CopyOut(VolumeContext& openVolume, CopyOutOptions copyOptions,
            const SignatureTable& signatureTable, Messages& partner, Progress& watcher,
            const Clock& zone)
        : volume(openVolume),
          options(std::move(copyOptions)),
          signatures(signatureTable),
          messages(partner),
          progress(watcher),
          clock(zone),
          targets(options.imagePath),
          links(openVolume, zone) {}

    VolumeContext& volume;
    CopyOutOptions options;
    const SignatureTable& signatures;
    Messages& messages;
    Progress& progress;
    const Clock& clock;

    std::string namedTarget;  ///< a target whose name a person chose; empty for none
    PcTargets targets;
    HardLinks links;
    std::map<std::string, unsigned> fontNumbers;  ///< the last one in names made of each target
    RememberedAnswer replaceAnswer;
    RememberedAnswer fontAnswer;
    bool hidesEmptyForks = false;  ///< files without the wanted fork are not named any more
    bool hidesNoFonts = false;     ///< nor are font files without a font that can be converted
    std::uint64_t itemsLeftOut = 0;
    bool foundDamage = false;  ///< a part of the catalog could not be read, after a message
};

/// The name of an item on the PC by the batch's policy; nothing, after a message, when a person was
/// asked for it and gave none. Folders keep their names. One that is too long is cut, after a
/// remark that names `path`.
[[nodiscard]] std::optional<std::string> PcNameOf(CopyOut& batch, const CatalogItem& item,
                                                  const std::string& path);

/// Copies a file, or a folder with all that is in it, to the path `target`. `path` is the item's
/// path on the volume, for messages; empty for the root. Within one batch a target is written once.
[[nodiscard]] CopyOutResult CopyItemOut(CopyOut& batch, const CatalogItem& item,
                                        const std::string& path, const std::string& target);

/// A file alone. A font file becomes fonts of the PC where the options and the person say so
/// (transfer/font_export.hpp), whatever the form. A data fork that is empty while the resource fork
/// is not makes no file, and neither does an empty resource fork where only that is wanted.
[[nodiscard]] CopyOutResult CopyFileOut(CopyOut& batch, const CatalogItem& item,
                                        const std::string& path, const std::string& target);

/// A folder. One that is there takes in what is missing.
[[nodiscard]] CopyOutResult CopyFolderOut(CopyOut& batch, const CatalogItem& folder,
                                          const std::string& path, const std::string& target);

/// Writes a file's form to a sink, in one go from its start, fonts as they are.
/// `AppleDouble` gives the data fork.
[[nodiscard]] CopyOutResult CopyFileToSink(CopyOut& batch, const CatalogItem& item,
                                           const std::string& path, ByteSink& sink);

}  // namespace vellmark
