// A project in memory: its header, and its items, one run of records for each folder. Runs are kept
// in the order of the folders' numbers, the records of a run in that of their ISO names, byte by
// byte; that is the order of the records in the file too. `save` writes the whole file anew.
//
// A project file may come from anywhere. Nothing but its signature, version and length is checked
// when it is opened, so every operation here stands folders that contain each other, items without
// a folder, numbers that stand twice and texts without an end.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "project/project_record.hpp"
#include "support/file_lock.hpp"
#include "support/messages.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

/// What a project is built into. The file does not say it: its name does.
enum class ProjectMode {
    Hybrid,  ///< ISO 9660 with HFS or HFS+, three views
    IsoPlus  ///< ISO 9660 with the Apple extensions, the ISO view alone
};

/// What a new project starts with.
struct ProjectDefaults {
    bool openRoot = false;
    bool rebuild = false;
    bool isHfsPlus = false;
    std::string label = "Untitled";  ///< both labels, Windows-1252
};

enum class ProjectOpened {
    Opened,
    CannotOpen,    ///< the system refuses
    NotAProject,   ///< another kind of file
    OlderProject,  ///< a project of another version
    Cut,           ///< its length is no whole number of records
    TooLarge       ///< more records than a project may have
};

/// How a project is kept from others while its records are in memory: who only reads them shares
/// the file with others that do, who may save them has it alone.
struct ProjectAccess {
    LockKind lock = LockKind::Shared;
    unsigned waitMs = 0;     ///< longest time to wait for others, in milliseconds
    bool mayReplace = true;  ///< of a new project: an existing file gives way to it
};

struct ProjectTotals {
    std::uint64_t sectors = 0;     ///< of 2048 bytes: an estimate, see `ProjectFile::totals`
    std::uint32_t isoRecords = 0;  ///< files and folders in the ISO view
    std::uint32_t hfsRecords = 0;  ///< files and folders in the HFS view
};

/// What was taken out of one folder, without what lay below.
struct RemovedItems {
    std::int64_t folders = 0;
    std::int64_t files = 0;
};

/// Most items of a project: what keeps a file of any length from taking all memory.
inline constexpr std::size_t kMostProjectRecords = 4'000'000;
/// Most files and folders of an HFS volume made from a project.
inline constexpr std::uint32_t kMostHfsRecords = 65'535;

class ProjectFile {
  public:
    using Run = std::vector<ProjectRecord>;

    /// A new project in memory; `save` makes its file.
    [[nodiscard]] static ProjectFile Create(std::string path, ProjectMode mode,
                                            const ProjectDefaults& defaults,
                                            const ProjectAccess& access = {});
    /// Reads a project and keeps its file locked as long as it lives, that of a later `save` too.
    /// What went wrong has been shown; `project` is set when it was opened.
    [[nodiscard]] static ProjectOpened Open(const std::string& path, ProjectMode mode,
                                            Messages& messages, std::optional<ProjectFile>& project,
                                            const ProjectAccess& access = {});

    /// "" of a project that is made for one image alone and has no file.
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] bool hasFile() const { return !path_.empty(); }
    [[nodiscard]] ProjectMode mode() const { return mode_; }
    [[nodiscard]] const ProjectHeader& header() const { return header_; }
    [[nodiscard]] ProjectHeader& header() { return header_; }

    /// The items whose parent number is `folder`, in file order; empty when there are none.
    [[nodiscard]] const Run& childrenOf(std::int32_t folder) const;
    [[nodiscard]] std::size_t countChildren(std::int32_t folder) const;
    [[nodiscard]] std::size_t countRecords() const;

    /// The item of that number, nullptr when there is none; root is no item. Its number, its
    /// parent and its ISO name must not be changed.
    [[nodiscard]] const ProjectRecord* findByNumber(std::int32_t number) const;
    [[nodiscard]] ProjectRecord* findByNumber(std::int32_t number);
    /// The item of that number if it lies in that folder.
    [[nodiscard]] const ProjectRecord* findChild(std::int32_t folder, std::int32_t number) const;
    /// The first item with that HFS name, in whatever view.
    [[nodiscard]] const ProjectRecord* findByHfsName(std::int32_t folder,
                                                     std::string_view name) const;
    /// Number of the folder that holds the item; 0 when the item is not there.
    [[nodiscard]] std::int32_t parentOf(std::int32_t number) const;
    [[nodiscard]] bool isFolder(std::int32_t number) const;

    /// The view in which a new item of the folder goes: Hybrid for root and for a folder of both.
    [[nodiscard]] ProjectView folderView(std::int32_t folder) const;

    /// Puts one record in its place, before a sibling of the same ISO name.
    void insert(const ProjectRecord& record);
    /// Puts many records of one folder in their places. Their parent numbers must be `parent`.
    void mergeChildren(std::int32_t parent, Run&& records);
    /// Takes items of one folder out, and all that lies below them; of a number that stands twice
    /// the first goes. The counters of the folder are the caller's. Says how many were there.
    RemovedItems deleteItems(std::int32_t parent, std::span<const std::int32_t> numbers);

    /// Takes items out of one folder, with the records that go; what lies below a folder stays in
    /// memory, for `mergeChildren` to find it under its number again.
    [[nodiscard]] Run takeItems(std::int32_t parent, std::span<const std::int32_t> numbers);
    /// Puts a record in the place of the one of its number and folder; its ISO name may be another.
    /// False when there is none.
    bool replaceItem(const ProjectRecord& record);

    /// The next number for a folder of that name; 0 when all are used up.
    [[nodiscard]] std::int32_t giveFolderNumber(std::string_view name);
    /// The next number for a file, negative; 0 when all are used up.
    [[nodiscard]] std::int32_t giveFileNumber();

    /// Adds to the counters of a folder; they stop at 0.
    void addCounters(std::int32_t folder, std::int64_t folders, std::int64_t files);
    /// Gives the folder and those above it each inclusion that is not 0 and that they lack, unless
    /// its name in that view was refused.
    void setViewFlagsUp(std::int32_t folder, int iso, int hfs);

    /// Computed afresh from all records. A record counts its data and resource fields, each in
    /// whole sectors, and its source size as well when it is a MacBinary or BinHex file of the ISO
    /// view. The counters of folders lie in the same fields and are counted too: the value is an
    /// estimate and keeps that excess.
    [[nodiscard]] ProjectTotals totals() const;

    /// Brings totals and counts of the header up to date and replaces the file. A project with more
    /// files and folders than HFS holds becomes an HFS+ one before that, with a message.
    /// False when the file could not be written, or is not the one that was read any more: that has
    /// been shown, and the file is as it was.
    [[nodiscard]] bool save(Messages& messages);
    /// Saves, then makes `newPath` the project's file, asking before it takes the place of another.
    /// A project that still bears its default name leaves no file behind under it.
    [[nodiscard]] bool saveAs(const std::string& newPath, Messages& messages);
    /// The same after whoever calls has asked. The file that the project had is not written, so
    /// that one which cannot be is no obstacle.
    [[nodiscard]] bool moveTo(const std::string& newPath, Messages& messages);

    /// Whether another program has changed or replaced the file since it was read or saved.
    [[nodiscard]] bool isReplaced() const;

    /// Calls `use(record)` for every item, in file order.
    template <typename Use>
    void forEachRecord(Use use) const {
        for (const auto& [parent, run] : children_)
            for (const ProjectRecord& record : run)
                use(record);
    }
    /// The folder and all folders below it, each once.
    [[nodiscard]] std::vector<std::int32_t> foldersFrom(std::int32_t folder) const;
    /// Calls `change(span of records)` for the items of one folder, if it has any, and puts them in
    /// order again: ISO names may change, numbers and parents may not.
    template <typename Change>
    void changeFolder(std::int32_t folder, Change change) {
        raised_.clear();
        const auto found = children_.find(folder);
        if (found == children_.end())
            return;
        change(std::span<ProjectRecord>(found->second));
        putInOrder(folder);
    }
    /// Calls `change(span of records)` for the items of each folder; as for `findByNumber`,
    /// numbers, parents and ISO names stay.
    template <typename Change>
    void changeRuns(Change change) {
        raised_.clear();
        for (auto& [parent, run] : children_)
            change(std::span<ProjectRecord>(run));
    }

  private:
    struct Place {
        std::int32_t parent;
        std::size_t position;
    };

    ProjectFile(std::string path, ProjectMode mode, const ProjectAccess& access)
        : path_(std::move(path)), mode_(mode), access_(access) {}

    /// Sorts what was read and numbers it.
    void takeOver(std::map<std::int32_t, Run>&& children);
    [[nodiscard]] bool isFree(std::int32_t number) const;
    [[nodiscard]] ProjectRecord* at(std::int32_t number);
    /// Renews the places of a run's records from `position` on.
    void reindex(std::int32_t parent, std::size_t position);
    void eraseRun(std::int32_t parent);
    void putInOrder(std::int32_t folder);
    void bringHeaderUpToDate(Messages& messages);
    [[nodiscard]] bool writeTo(const std::string& path, Messages& messages);

    std::string path_;
    ProjectMode mode_;
    ProjectAccess access_;
    std::shared_ptr<PcFile> held_;  // the locked file; null for a project that has none yet
    FileStamp stamp_;               // of that file
    ProjectHeader header_;
    std::map<std::int32_t, Run> children_;            // no run is empty
    std::unordered_map<std::int32_t, Place> places_;  // of a number that stands twice, one
    // Folders that `setViewFlagsUp` has passed since views were changed in another way, with the
    // views: many folders that are filled below each other are climbed once, not once each.
    std::unordered_map<std::int32_t, unsigned> raised_;
};

/// Where the backup of a project goes (support/backup_path.hpp): to the same path with the
/// extension `BAK`, in the place of the backup of a project alone; a numbered one where something
/// else has that name. Empty when no name is free.
[[nodiscard]] std::string ProjectBackupPath(const std::string& path);
/// Copies a project's file there. Returns the path of the copy; empty when it cannot be made, which
/// is no reason not to open the project.
[[nodiscard]] std::string BackUpProject(const std::string& path);

/// Why this user may not save a project over its file: the system's error number, 0 when they may.
[[nodiscard]] int SaveRefusal(const std::string& path);

}  // namespace vellmark
