#include "compiler/iso_tables.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "compiler/iso_order.hpp"

namespace vellmark {

namespace {

constexpr std::array<const char*, TempTableSet::kCount> kTableNames = {
    "ftiso1.tmp", "ftiso2.tmp", "faiso.tmp", "ftjol1.tmp", "ftjol2.tmp", "fajol.tmp"};

constexpr std::size_t kWriteAt = 1u << 20;
constexpr std::uint8_t kAppleExtensionVersion = 2;

// Writes one after the other, in large pieces.
class TableWriter {
  public:
    explicit TableWriter(PcFile& file) : file_(file) {}

    void add(std::span<const std::uint8_t> bytes) {
        buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
        if (buffer_.size() >= kWriteAt)
            (void)flush();  // a failure is kept for the last one
    }
    void padToSector() {
        const std::uint64_t rest = (written_ + buffer_.size()) % kIsoSectorBytes;
        if (rest != 0)
            buffer_.resize(buffer_.size() + (kIsoSectorBytes - rest));
    }
    /// Bytes left in the sector that is being filled.
    [[nodiscard]] std::size_t roomInSector() const {
        return kIsoSectorBytes - (written_ + buffer_.size()) % kIsoSectorBytes;
    }
    [[nodiscard]] bool flush() {
        good_ = good_ && file_.writeAt(written_, buffer_);
        written_ += buffer_.size();
        buffer_.clear();
        return good_;
    }

  private:
    PcFile& file_;
    std::vector<std::uint8_t> buffer_;
    std::uint64_t written_ = 0;
    bool good_ = true;
};

class DirectoryWriter {
  public:
    DirectoryWriter(const DiscPlan& plan, const IsoTreeLayout& layout, IsoTree tree,
                    const FileArea& area, const Clock& clock, PcFile& file)
        : plan_(plan),
          layout_(layout),
          tree_(tree),
          area_(area),
          clock_(clock),
          now_(ToIsoDate(clock.now())),
          out_(file) {}

    bool run() {
        for (std::size_t i = 0; i < plan_.folders.size(); ++i)
            if (plan_.folders[i].inIso)
                writeFolder(i);
        return out_.flush();
    }

  private:
    void writeFolder(std::size_t index) {
        const DiscFolder& folder = plan_.folders[index];
        const std::size_t above =
            folder.parent == kNoFolder ? index : static_cast<std::size_t>(folder.parent);
        addDirectory(index, std::string(1, '\0'), now_, 0);
        addDirectory(above, std::string(1, '\1'), now_, 0);
        for (const DiscItem* item : RecordOrder(plan_, folder, tree_)) {
            const std::uint8_t hidden =
                item->record->hiddenInIso() ? kIsoFlagHidden : std::uint8_t{0};
            const std::string identifier = IsoIdentifier(*item, tree_);
            if (item->isFolder())
                addDirectory(static_cast<std::size_t>(item->folder), identifier,
                             ToIsoDate(item->modified), hidden);
            else
                addFile(*item, identifier, hidden);
        }
        out_.padToSector();
    }

    void addDirectory(std::size_t index, const std::string& identifier, const IsoShortDate& date,
                      std::uint8_t flags) {
        add(layout_.sectorOf[index], layout_.sectorsOf[index] * kIsoSectorBytes, date,
            static_cast<std::uint8_t>(flags | kIsoFlagFolder), identifier);
    }

    void addFile(const DiscItem& item, const std::string& identifier, std::uint8_t flags) {
        IsoAppleExtension extension{{'A', 'A'}, sizeof extension, kAppleExtensionVersion, {}, {}};
        std::copy(std::begin(item.record->signature_), std::end(item.record->signature_),
                  extension.fileSignature.begin());
        std::span<const std::uint8_t> systemUse;
        if (plan_.appleExtension)
            systemUse = AsBytes(extension);
        const bool hasForks = plan_.appleExtension && item.source != ImportClass::Plain;
        const IsoShortDate date =
            ToIsoDate(hasForks ? FromMacLocal(item.record->modified, clock_) : item.modified);
        if (HasAssociatedFile(plan_, item))
            addRun(item.run(RunKind::Resource), date,
                   static_cast<std::uint8_t>(flags | kIsoFlagAssociated), identifier, systemUse);
        addRun(item.run(RunKind::File), date, flags, identifier, systemUse);
    }

    void addRun(const DiscRun& run, const IsoShortDate& date, std::uint8_t flags,
                const std::string& identifier, std::span<const std::uint8_t> systemUse) {
        add(run.sizeBytes == 0 ? DiscSector{} : area_.sectorOf(run), run.sizeBytes, date, flags,
            identifier, systemUse);
    }

    void add(DiscSector sector, std::uint32_t sizeBytes, const IsoShortDate& date,
             std::uint8_t flags, const std::string& identifier,
             std::span<const std::uint8_t> systemUse = {}) {
        const std::uint32_t named = IsoRecordLength(identifier.size());
        IsoDirectoryRecord record{};
        record.length = static_cast<std::uint8_t>(named + systemUse.size());
        record.extent = sector.number();
        record.sizeBytes = sizeBytes;
        record.date = date;
        record.flags = flags;
        record.volumeSequence = std::uint16_t{1};
        record.nameLength = static_cast<std::uint8_t>(identifier.size());
        std::array<std::uint8_t, 256> bytes{};
        std::memcpy(bytes.data(), &record, sizeof record);
        std::memcpy(bytes.data() + sizeof record, identifier.data(), identifier.size());
        std::copy(systemUse.begin(), systemUse.end(), bytes.begin() + named);
        if (out_.roomInSector() < record.length)
            out_.padToSector();
        out_.add({bytes.data(), record.length});
    }

    const DiscPlan& plan_;
    const IsoTreeLayout& layout_;
    IsoTree tree_;
    FileArea area_;
    const Clock& clock_;
    IsoShortDate now_;
    TableWriter out_;
};

// Breadth first: by level, then by the number of the directory above.
bool WritePathTables(const DiscPlan& plan, const IsoTreeLayout& layout, IsoTree tree, PcFile& fileL,
                     PcFile& fileM) {
    TableWriter tableL(fileL);
    TableWriter tableM(fileM);
    const auto add = [&](std::size_t folder, std::uint16_t parent, const std::string& identifier) {
        IsoPathRecord record{};
        record.nameLength = static_cast<std::uint8_t>(identifier.size());
        record.extent = layout.sectorOf[folder].number();
        record.parent = parent;
        std::vector<std::uint8_t> tail(identifier.begin(), identifier.end());
        tail.resize(tail.size() + (tail.size() & 1));
        tableL.add(AsBytes(record));
        tableL.add(tail);
        record.extent = Swap32(record.extent);
        record.parent = Swap16(record.parent);
        tableM.add(AsBytes(record));
        tableM.add(tail);
    };
    std::vector<std::size_t> order{0};
    add(0, 1, std::string(1, '\0'));
    for (std::size_t i = 0; i < order.size(); ++i)
        for (const DiscItem* item : PathOrder(plan, plan.folders[order[i]], tree)) {
            order.push_back(static_cast<std::size_t>(item->folder));
            add(order.back(), static_cast<std::uint16_t>(i + 1), IsoIdentifier(*item, tree));
        }
    return tableL.flush() && tableM.flush();
}

}  // namespace

TempTableSet::TempTableSet(const std::string& folder) {
    for (std::size_t i = 0; i < kCount; ++i)
        files_[i] = PcFile(folder + "/" + kTableNames[i], PcFile::Mode::CreateTruncate);
}

TempTableSet::~TempTableSet() {
    for (PcFile& file : files_)
        if (file.isOpen()) {
            file.close();
            ::unlink(file.path().c_str());
        }
}

bool TempTableSet::isOpen() const {
    return std::all_of(files_.begin(), files_.end(),
                       [](const PcFile& file) { return file.isOpen(); });
}

bool WriteTables(const DiscPlan& plan, const IsoLayout& layout, const FileArea& area,
                 const Clock& clock, TempTableSet& tables) {
    return WritePathTables(plan, layout.iso, IsoTree::Iso, tables.file(0), tables.file(1)) &&
           DirectoryWriter(plan, layout.iso, IsoTree::Iso, area, clock, tables.file(2)).run() &&
           WritePathTables(plan, layout.joliet, IsoTree::Joliet, tables.file(3), tables.file(4)) &&
           DirectoryWriter(plan, layout.joliet, IsoTree::Joliet, area, clock, tables.file(5)).run();
}

bool CopyTables(const IsoLayout& layout, TempTableSet& tables, PcFile& image) {
    const std::array<DiscSector, TempTableSet::kCount> sectors = {
        layout.iso.pathTableL,    layout.iso.pathTableM,    layout.iso.rootDirectory,
        layout.joliet.pathTableL, layout.joliet.pathTableM, layout.joliet.rootDirectory};
    for (std::size_t i = 0; i < TempTableSet::kCount; ++i) {
        const std::uint64_t size = tables.file(i).size();
        if (image.copyFrom(tables.file(i), {0, sectors[i].byte(), size}) != size)
            return false;
    }
    return true;
}

IsoShortDate ToIsoDate(UnixSeconds at) {
    const UnixSeconds first = -2'208'988'800;  // 1900-01-01
    const UnixSeconds last = 5'869'583'999;    // 2155-12-31 23:59:59
    const CivilTime civil = ToCivil(std::clamp(at, first, last));
    return {static_cast<std::uint8_t>(civil.year - 1900),
            static_cast<std::uint8_t>(civil.month),
            static_cast<std::uint8_t>(civil.day),
            static_cast<std::uint8_t>(civil.hour),
            static_cast<std::uint8_t>(civil.minute),
            static_cast<std::uint8_t>(civil.second),
            0};
}

}  // namespace vellmark
