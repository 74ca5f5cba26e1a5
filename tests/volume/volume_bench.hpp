// What the tests of volumes share: formatted images, an open volume, big-endian fields of a file,
// and other programs as judges.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "support/messages.hpp"
#include "volume/catalog.hpp"
#include "volume/edit_result.hpp"
#include "volume/file_store.hpp"
#include "volume/formatter.hpp"
#include "volume/mount.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark::testing {

using Bytes = std::vector<std::uint8_t>;

/// 2001-09-09 01:46:40 UTC.
inline constexpr UnixSeconds kNow = 1'000'000'000;
inline const FixedClock kClock(kNow, 3600);

/// Keeps what was said, and answers as it is told to: no, at first.
class KeptMessages final : public Messages {
  public:
    void showMessage(std::string_view text) override { texts.emplace_back(text); }
    void itemSkipped(std::string_view item, std::string_view reason) override {
        skipped.push_back(std::string(item.substr(item.rfind('/') + 1)) + ": " +
                          std::string(reason));
    }
    [[nodiscard]] bool showRememberable(std::string_view text) override {
        texts.emplace_back(text);
        return hides;
    }
    [[nodiscard]] bool askYesNo(std::string_view question) override {
        texts.emplace_back(question);
        return confirms;
    }
    [[nodiscard]] Answer askYesNoRemember(std::string_view question) override {
        texts.emplace_back(question);
        return answer;
    }
    [[nodiscard]] std::optional<std::string> askFileName(std::string_view) override {
        return asked < names.size() ? std::optional(names[asked++]) : std::nullopt;
    }
    [[nodiscard]] TruncationAnswer askTruncation(TruncatedName, std::string_view,
                                                 std::string_view proposal) override {
        proposals.emplace_back(proposal);
        return truncation;
    }
    bool hides = false;
    bool confirms = false;
    Answer answer = Answer::No;
    std::vector<std::string> names;  ///< typed one after the other
    std::size_t asked = 0;           ///< of these
    TruncationAnswer truncation;
    std::vector<std::string> texts, skipped, proposals;
};

/// A user who ends the work at that chunk, counted from 1.
class StoppingProgress final : public Progress {
  public:
    explicit StoppingProgress(int stopAt = 1'000'000) : left(stopAt) {}
    [[nodiscard]] bool chunk(std::uint64_t) override {
        if (onChunk)
            onChunk();
        return --left > 0;
    }
    int left;
    std::function<void()> onChunk;
};

/// Names a case of a suite over both formats.
inline std::string FormatName(const ::testing::TestParamInfo<bool>& isHfsPlus) {
    return isHfsPlus.param ? "HfsPlus" : "Hfs";
}

/// Makes an image of the temporary folder; its path, "" when that failed.
[[nodiscard]] std::string FormatImage(const TemporaryFolder& folder, const FormatInput& input);
/// A small one of either format.
[[nodiscard]] std::string FormatSmall(const TemporaryFolder& folder, bool isHfsPlus);

/// The name in the form of the volume.
[[nodiscard]] CatalogName NameOf(const VolumeContext& volume, std::string_view shown);

/// A volume that is opened for changes, changed, and opened anew.
class TestVolume {
  public:
    /// What was not flushed before is forgotten. False when it can only be read, or not even that.
    [[nodiscard]] bool open(const std::string& path);
    [[nodiscard]] TreeResult flush(const Clock& clock = kClock) { return writable_->flush(clock); }

    /// Puts a file into the root folder, in place of one that is there.
    [[nodiscard]] StoreResult put(const std::string& name, ByteSource& data, ByteSource& resource,
                                  Progress&& progress = Progress());
    /// The same with forks of memory.
    [[nodiscard]] StoreResult put(const std::string& name, const Bytes& data,
                                  const Bytes& resource);
    /// Deletes an item of the root folder.
    [[nodiscard]] EditResult remove(const std::string& name);
    [[nodiscard]] std::optional<CatalogItem> find(std::string_view path);
    /// The bytes of a file's fork.
    [[nodiscard]] Bytes contents(std::string_view path, bool resource = false);

    VolumeContext* operator->() { return &context_; }
    operator VolumeContext&() { return context_; }
    operator WritableVolume&() { return *writable_; }
    [[nodiscard]] AllocationState& allocation() { return writable_->allocation(); }

  private:
    VolumeContext context_;
    std::optional<WritableVolume> writable_;
};

/// A big-endian field of an image.
struct Field {
    std::uint64_t offset;
    int width;
    std::uint64_t value;
};
[[nodiscard]] Bytes WithFields(Bytes bytes, const std::vector<Field>& fields);
/// An HFS+ volume in a wrapper of HFS whose blocks of 1,024 bytes begin at sector 16: by those it
/// lies at sector 20, by the clump size of 512 at sector 18.
[[nodiscard]] Bytes Wrapped(const Bytes& volume, std::size_t sector);

[[nodiscard]] Bytes BytesAt(const std::string& path, std::uint64_t offset, std::size_t count);
[[nodiscard]] std::uint64_t Big(const std::string& path, std::uint64_t offset, int width);

/// All files and folders by path: `visit(path, item)`. The result tells of the first folder that
/// could not be listed whole.
[[nodiscard]] TreeResult WalkVolume(
    VolumeContext& volume,
    const std::function<void(const std::string&, const CatalogItem&)>& visit);

/// The bytes of a fork; shorter than its size when they cannot be read.
[[nodiscard]] Bytes ReadFork(VolumeContext& volume, const CatalogItem& item, bool resource);

/// Holds the image against the independent readers of the end-to-end tests; nothing without
/// Python.
void ExpectReadersFindNoFault(const std::string& path);

}  // namespace vellmark::testing
