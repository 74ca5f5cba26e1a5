// A file of the PC, opened as the Macintosh file that it holds: facts and forks.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "containers/fork_pair.hpp"
#include "containers/pieced_source.hpp"
#include "support/pc_file.hpp"
#include "support/progress.hpp"
#include "support/reason.hpp"
#include "transfer/import_class.hpp"

namespace vellmark {

/// What is wrong with a container; none for `None`.
[[nodiscard]] Reason FaultProblem(ContainerFault fault);
/// Why a file was left out that the system refuses to read.
[[nodiscard]] Reason Unreadable(int error);

class ImportSource {
  public:
    /// Opens a file of that class; of a plain one the bytes are the resource fork when
    /// `plainIsResource`. BinHex is decoded into a file of `temporary`, which is made when it is
    /// first needed. None, or why the file cannot be used.
    [[nodiscard]] Reason open(const std::string& path, ImportClass importClass,
                              bool plainIsResource, std::optional<TemporaryFolder>& temporary,
                              Progress& progress);
    /// The same with the file open already.
    [[nodiscard]] Reason open(PcFile file, ImportClass importClass, bool plainIsResource,
                              std::optional<TemporaryFolder>& temporary, Progress& progress);
    /// A font of the PC, as the fork that a Macintosh has of it. `fontId` is the number that a
    /// suitcase gets. None, or why the font cannot be converted.
    [[nodiscard]] Reason openFont(PcFile file, ImportClass importClass, std::uint16_t fontId);
    ImportSource() = default;
    ImportSource(const ImportSource&) = delete;
    ImportSource& operator=(const ImportSource&) = delete;

    /// What is wrong with a container that can be used all the same; none for nothing.
    [[nodiscard]] const Reason& damage() const { return damage_; }
    /// Whether the file is a container, as far as what is wrong with it leaves that certain; a file
    /// with a companion or streams is none, nor is one that ends before its MacBinary header says.
    [[nodiscard]] bool isContainer() const;
    /// The file as it lies, whatever class it was opened as.
    void becomePlain(bool plainIsResource);
    /// Decoding ended because the work is to stop.
    [[nodiscard]] bool stopped() const { return stopped_; }
    /// The system's number of a read of the file that failed, 0 for none.
    [[nodiscard]] int readError() const { return file_.error(); }

    /// Name (MacRoman, empty when the PC's name is to be taken), Finder's information, and the
    /// dates that MacBinary and BinHex store, in local time. The bundle bit is right for the fork.
    [[nodiscard]] const MacFileInfo& info() const { return container_.info; }
    /// Both live as long as the source.
    [[nodiscard]] ByteSource& data() { return *data_; }
    [[nodiscard]] ByteSource& resource() { return *resource_; }
    [[nodiscard]] std::uint64_t sizeBytes() const { return data_->size() + resource_->size(); }

    /// Whether the file, or its companion, is another than when it was opened.
    [[nodiscard]] bool hasChanged() const { return file_.hasChanged() || beside_.hasChanged(); }
    /// Date of the last change of the file when it was opened.
    [[nodiscard]] UnixSeconds openedDate() const { return file_.openedDate(); }

  private:
    [[nodiscard]] Reason openForks(const std::string& path, ImportClass importClass,
                                   bool plainIsResource, std::optional<TemporaryFolder>& temporary,
                                   Progress& progress);
    [[nodiscard]] Reason openStreams(const std::string& path);
    [[nodiscard]] Reason openDouble(const std::string& path);
    [[nodiscard]] Reason openBinHex(std::optional<TemporaryFolder>& temporary, Progress& progress);
    [[nodiscard]] Reason take(const MacContainer& container);

    PcFile file_;
    PcFile beside_;  ///< the companion, or what BinHex was decoded to
    MemoryBytes stream_;
    PiecedSource font_;
    MacContainer container_;
    Reason damage_;
    ImportClass class_ = ImportClass::Plain;
    ContainerFault fault_ = ContainerFault::None;
    bool stopped_ = false;
    ByteSource* data_ = &container_.data;
    ByteSource* resource_ = &container_.resource;
};

}  // namespace vellmark
