// What the tests of volumes share: formatted images, an open volume, big-endian fields of a file,
// and other programs as judges.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/messages.hpp"
#include "volume/catalog.hpp"
#include "volume/formatter.hpp"
#include "volume/mount.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark::testing {

using Bytes = std::vector<std::uint8_t>;

/// 2001-09-09 01:46:40 UTC.
inline constexpr UnixSeconds kNow = 1'000'000'000;
inline const FixedClock kClock(kNow, 3600);

/// Keeps what was said; answers no.
class KeptMessages : public Messages {
  public:
    void showMessage(std::string_view text) override { texts.emplace_back(text); }
    void itemSkipped(std::string_view, std::string_view) override {}
    [[nodiscard]] bool askYesNo(std::string_view) override { return false; }
    [[nodiscard]] Answer askYesNoRemember(std::string_view) override { return Answer::No; }
    [[nodiscard]] TruncationAnswer askTruncation(TruncatedName, std::string_view,
                                                 std::string_view proposal) override {
        return {true, false, std::string(proposal)};
    }
    std::vector<std::string> texts;
};

/// Makes an image of the temporary folder; its path, "" when that failed.
[[nodiscard]] std::string FormatImage(const TemporaryFolder& folder, const FormatInput& input);
/// A small one of either format.
[[nodiscard]] std::string FormatSmall(const TemporaryFolder& folder, bool isHfsPlus);

/// Opens and mounts; false after the messages were put into the test's output.
[[nodiscard]] bool Open(VolumeContext& volume, const std::string& path);

/// A volume that is opened for changes, changed, and opened anew.
class TestVolume {
  public:
    /// What was not flushed before is forgotten.
    [[nodiscard]] bool open(const std::string& path, bool writable = true);
    [[nodiscard]] TreeResult flush() { return writable_->flush(kClock); }

    VolumeContext* operator->() { return &context_; }
    operator VolumeContext&() { return context_; }
    operator WritableVolume&() { return *writable_; }
    [[nodiscard]] AllocationState& allocation() { return writable_->allocation(); }

  private:
    VolumeContext context_;
    std::optional<WritableVolume> writable_;
};

[[nodiscard]] Bytes BytesAt(const std::string& path, std::uint64_t offset, std::size_t count);
[[nodiscard]] std::uint64_t Big(const std::string& path, std::uint64_t offset, int width);
void WriteAt(const std::string& path, std::uint64_t offset, const Bytes& bytes);

/// CRC-32 of ISO 3309, as zip archives have it.
[[nodiscard]] std::uint32_t Crc32(const Bytes& bytes);

/// All files and folders by path: `visit(path, item)`. At most `most` items are listed, and the
/// result tells of the first folder that could not be listed whole.
[[nodiscard]] TreeResult WalkVolume(
    VolumeContext& volume, std::size_t most,
    const std::function<void(const std::string&, const CatalogItem&)>& visit);

/// The bytes of a fork; shorter than its size when they cannot be read.
[[nodiscard]] Bytes ReadFork(VolumeContext& volume, const CatalogItem& item, bool resource);

struct CommandResult {
    int status = -1;
    std::string output;  ///< both streams
};
/// Runs a shell command with HOME set to `home`.
[[nodiscard]] CommandResult RunCommand(const std::string& home, const std::string& command);
[[nodiscard]] bool IsInstalled(const std::string& program);

/// Holds the image against the independent readers of the end-to-end tests; nothing without
/// Python.
void ExpectReadersFindNoFault(const std::string& path);

}  // namespace vellmark::testing
