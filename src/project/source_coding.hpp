// What a file of the PC is as a Macintosh file, as far as its record in a project stores it: in
// which container its forks lie, how long they are, and what its container says of type, creator,
// name, dates and flags.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "project/project_record.hpp"
#include "support/clock.hpp"
#include "support/pc_folder.hpp"
#include "support/progress.hpp"
#include "support/reason.hpp"
#include "transfer/import_class.hpp"

namespace vellmark {

/// Signature of a file that nothing is known about.
inline constexpr std::string_view kDefaultSignature = "TEXT????";

/// Type and creator by the source name (Windows-1252).
using SignatureLookup = std::function<std::string(std::string_view name)>;

struct SourceCoding {
    ForkCoding coding = ForkCoding::None;
    /// What was found, whichever of it is the coding.
    bool isAppleDouble = false;  ///< forks in a companion `._NAME`
    bool isAppleSingle = false;
    bool isMacBinary = false;
    bool isBinHex = false;

    std::uint32_t dataSize = 0;  ///< bytes
    std::uint32_t resourceSize = 0;
    /// Type and creator; nothing when the extension is to give them.
    std::optional<std::array<char, 8>> signature;
    std::string hfsName;            ///< MacRoman; empty when the PC's name is to be taken
    MacSeconds created = 0;         ///< local time; 0: the PC's
    MacSeconds modified = 0;        ///< local time; 0: the PC's
    bool isCustomIconFile = false;  ///< holds the icon of the folder that it lies in
    bool hasCustomIcon = false;
    bool hidesExtension = false;
    bool isInvisible = false;  ///< to the Finder

    /// Why the file cannot be included, in the form of a reason behind a name; none when it can.
    Reason refusal;
    /// What is wrong with its forks, as a sentence; none for nothing. Without forks it is a plain
    /// file. `coding` says where they would lie: a container that is damaged is one of the PC's
    /// alone.
    Reason damage;
    /// The user stopped the work while a container was looked through.
    bool isStopped = false;
};

/// Opens a file (no pipe) once and finds out what it is. `companion` says whether a `._NAME` may
/// stand beside it: if not, none is looked for. BinHex is decoded to its end, as nothing else shows
/// whether its lengths are true; of other files no more than their headers are read.
[[nodiscard]] SourceCoding FindSourceCoding(const std::string& path, std::uint64_t sizeBytes,
                                            bool companion, Progress& progress);

/// Writes into the record of a file all that depends on its contents: coding and its flags, sizes,
/// signature, dates, Finder flags, and, unless it is locked, the HFS name where the container or
/// the disk brings one (in the form of the project; other items of the folder are not looked at).
/// The source name must be there already. `item` needs its name and facts; `signatureOf` may be
/// empty. Marks of hiding are set and never taken away: the user may have set them.
void FillFileRecord(ProjectRecord& record, const SourceCoding& source, const PcItem& item,
                    bool isHfsPlus, const SignatureLookup& signatureOf, const Clock& clock);

/// The whole name that a container stores, in the form of the project; empty where none does.
[[nodiscard]] std::string ContainerNameIn(const SourceCoding& source, bool isHfsPlus);

/// How the file of a record is opened as a Macintosh file.
[[nodiscard]] ImportClass ImportClassOf(const ProjectRecord& record);

}  // namespace vellmark
