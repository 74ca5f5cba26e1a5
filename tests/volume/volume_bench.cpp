#include "volume/volume_bench.hpp"

#include <gtest/gtest.h>

#include <cstdlib>

#include "IO/redo_log.hpp"
#include "volume/catalog_delete.hpp"
#include "volume/fork_reader.hpp"

namespace vellmark::testing {

std::string FormatImage(const TemporaryFolder& folder, const FormatInput& input) {
    const std::string path = folder.path() + "/volume";
    RemoveRedoLogs(path, {});
    PcFile image(path, PcFile::Mode::CreateTruncate);
    Progress progress;
    return FormatVolume(input, image, kClock, progress) == FormatResult::Done ? path : "";
}

std::string FormatSmall(const TemporaryFolder& folder, bool isHfsPlus) {
    FormatInput input;
    input.label = "Small";
    input.sizeMegabytes = 2;
    input.isHfsPlus = isHfsPlus;
    return FormatImage(folder, input);
}

CatalogName NameOf(const VolumeContext& volume, std::string_view shown) {
    return NameFromShown(volume, shown).value_or(CatalogName{});
}

bool TestVolume::open(const std::string& path) {
    KeptMessages messages;
    writable_.reset();
    if (!OpenVolume(context_, {path, true}, messages))
        return false;
    auto loaded = WritableVolume::Load(context_);
    if (loaded)
        writable_.emplace(std::move(*loaded));
    return loaded.has_value();
}

StoreResult TestVolume::put(const std::string& name, ByteSource& data, ByteSource& resource,
                            Progress&& progress) {
    NewFile file;
    file.parentId = kRootFolderId;
    file.name = NameOf(context_, name);
    file.data = &data;
    file.resource = &resource;
    file.replaced = find(name);
    return AddFileToCatalog(*writable_, file, kClock, progress);
}

StoreResult TestVolume::put(const std::string& name, const Bytes& data, const Bytes& resource) {
    MemoryBytes dataSource(data);
    MemoryBytes resourceSource(resource);
    return put(name, dataSource, resourceSource);
}

EditResult TestVolume::remove(const std::string& name) {
    KeptMessages messages;
    Progress progress;
    RememberedAnswer answer;
    DeleteContext context{messages, progress, kClock, answer, false};
    return DeleteItemByName(*writable_, NameOf(context_, name), kRootFolderId, context);
}

std::optional<CatalogItem> TestVolume::find(std::string_view path) {
    std::optional<CatalogItem> item;
    EXPECT_EQ(FindPath(context_, path, kClock, item), TreeResult::Done) << path;
    return item;
}

Bytes TestVolume::contents(std::string_view path, bool resource) {
    const auto item = find(path);
    EXPECT_TRUE(item) << path;
    return item ? ReadFork(context_, *item, resource) : Bytes{};
}

Bytes WithFields(Bytes bytes, const std::vector<Field>& fields) {
    for (const Field& field : fields)
        for (int i = 0; i < field.width; ++i)
            bytes.at(field.offset + i) =
                static_cast<std::uint8_t>(field.value >> 8 * (field.width - 1 - i));
    return bytes;
}

Bytes Wrapped(const Bytes& volume, std::size_t sector) {
    Bytes disk = WithFields(Bytes(sector * 512), {{1024, 2, kHfsSignature},
                                                  {1024 + 10, 2, 0x8100},  // wrappers are locked
                                                  {1024 + 20, 4, 1024},
                                                  {1024 + 24, 4, 512},
                                                  {1024 + 28, 2, 16},
                                                  {1024 + 124, 2, kHfsPlusSignature},
                                                  {1024 + 126, 2, 2},
                                                  {1024 + 128, 2, (volume.size() + 1023) / 1024}});
    disk.insert(disk.end(), volume.begin(), volume.end());
    return disk;
}

Bytes BytesAt(const std::string& path, std::uint64_t offset, std::size_t count) {
    PcFile file(path, PcFile::Mode::Read);
    Bytes bytes(count);
    EXPECT_TRUE(file.readExactly(offset, bytes)) << path << " at " << offset;
    return bytes;
}

std::uint64_t Big(const std::string& path, std::uint64_t offset, int width) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : BytesAt(path, offset, static_cast<std::size_t>(width)))
        value = value << 8 | byte;
    return value;
}

TreeResult WalkVolume(VolumeContext& volume,
                      const std::function<void(const std::string&, const CatalogItem&)>& visit) {
    std::vector<std::pair<std::string, std::uint32_t>> folders = {{"", kRootFolderId}};
    TreeResult result = TreeResult::Done;
    for (std::size_t i = 0; i < folders.size() && result == TreeResult::Done; ++i) {
        const auto [path, id] = folders[i];
        std::vector<CatalogItem> items;
        result = ListFolder(volume, id, kClock, items);
        for (const CatalogItem& item : items) {
            visit(path + item.name, item);
            if (item.isFolder)
                folders.emplace_back(path + item.name + "/", item.id);
        }
    }
    return result;
}

Bytes ReadFork(VolumeContext& volume, const CatalogItem& item, bool resource) {
    std::vector<BlockRun> runs;
    if (ForkRuns(volume, item, resource, runs) != TreeResult::Done)
        return {};
    const std::uint64_t size = resource ? item.resource.sizeBytes : item.data.sizeBytes;
    Bytes bytes(size);
    ForkSource fork(volume, std::move(runs), size);
    // Pieces that begin and end anywhere in a block and across runs.
    constexpr std::size_t kPiece = 9'001;
    std::size_t read = 0;
    for (std::size_t at = 0; at < bytes.size() && read == at; at += kPiece)
        read += fork.readAt(at, std::span(bytes).subspan(at, std::min(kPiece, bytes.size() - at)));
    bytes.resize(read);
    EXPECT_EQ(fork.readAt(size, bytes), 0u) << "behind its end";
    return bytes;
}

void ExpectReadersFindNoFault(const std::string& path) {
    const TemporaryFolder folder;
    const std::string output = folder.path() + "/output";
    const int status =
        std::system(("command -v python3 >/dev/null || exit 0; PYTHONDONTWRITEBYTECODE=1 "
                     "PYTHONPATH='" VELLMARK_SOURCE_FOLDER "/tests/endtoend' python3 -m readers '" +
                     path + "' >'" + output + "' 2>&1")
                        .c_str());
    if (status == 0)
        return;
    const Bytes bytes = BytesAt(output, 0, PcFile(output, PcFile::Mode::Read).size());
    const std::string told(bytes.begin(), bytes.end());
    ADD_FAILURE() << told;
}

}  // namespace vellmark::testing
