// Copies files and folders of the PC into a mounted volume. A file's own form decides what it
// becomes: a plain file, or the Macintosh file that a container holds. What cannot be copied is
// named and left out; the rest goes on.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "containers/fonts/mac_font_fork.hpp"
#include "containers/signatures.hpp"
#include "support/messages.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/progress.hpp"
#include "transfer/copy_form.hpp"
#include "transfer/copy_out.hpp"
#include "transfer/font_policy.hpp"
#include "transfer/import_class.hpp"
#include "transfer/import_name.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

struct CopyInOptions {
    /// `ResourceFork`: a plain file's bytes go there. `MacBinary`: files that are neither MacBinary
    /// nor BinHex are left out. All others: `DataFork`.
    CopyMode mode = CopyMode::DataFork;
    ContainerPolicy containers = ContainerPolicy::Ask;
    FontPolicy fonts = FontPolicy::Never;         ///< not with `MacBinary`
    std::uint16_t firstFontId = kFirstFontId;     ///< number of the first font that is converted
    ExistingFiles existing = ExistingFiles::Ask;  ///< `Replace` also fills folders that are there
    Reason keptHint = {};                         ///< added to the remark that a file is kept
    ImportTruncation truncation = {};
    std::optional<std::array<char, 4>> type = {};  ///< in place of what a file would have
    std::optional<std::array<char, 4>> creator = {};
    std::string imagePath = {};    ///< never put into itself
    std::string journalPath = {};  ///< of the open journal, which this run writes to; never put
};

enum class CopyInResult {
    Done,
    LeftOut,   ///< the item itself, after a message that names it
    Stopped,   ///< by the user; what was copied before stays
    BatchEnds  ///< after a message: the volume takes nothing more
};

/// One batch. What it refers to must outlive it.
struct CopyIn {
    CopyIn(WritableVolume& openVolume, CopyInOptions copyOptions,
           const SignatureTable& signatureTable, Messages& partner, Progress& watcher,
           const Clock& zone);

    WritableVolume& volume;
    CopyInOptions options;
    const SignatureTable& signatures;
    Messages& messages;
    Progress& progress;
    const Clock& clock;

    CopyAnswers answers;
    std::uint16_t nextFontId;  ///< each font has another number
    std::uint64_t filesCopied = 0;
    std::uint64_t bytesCopied = 0;
    std::uint64_t itemsLeftOut = 0;

    PcFacts image;
    PcFacts journal;
    std::uint32_t firstNewId;  ///< items from here on were made by this batch
    std::optional<TemporaryFolder> temporary;
    std::set<PcIdentity> linkedFolders;  ///< entered through a link
};

/// Copies what stands at a path of the PC into a folder of the volume.
[[nodiscard]] CopyInResult CopyItemIn(CopyIn& batch, const std::string& path,
                                      std::uint32_t folderId);

/// A file, with what the system knows of it. One of that name that is there is replaced as the
/// options say, but never one that the same batch has put there.
[[nodiscard]] CopyInResult CopyFileIn(CopyIn& batch, const std::string& path, const PcFacts& facts,
                                      std::uint32_t folderId);

/// A folder with all that is in it. Symbolic links are followed, but never into a folder that they
/// lie in, nor twice to the same folder. A companion `._NAME` goes with its file.
[[nodiscard]] CopyInResult CopyFolderIn(CopyIn& batch, const std::string& path,
                                        std::uint32_t folderId);

/// ` - Copied: 3 f. (1.250 MB)`; 1 MB is 2^20 bytes.
[[nodiscard]] Reason CopiedText(const CopyIn& batch);

}  // namespace vellmark
