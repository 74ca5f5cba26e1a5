// Bytes of a disk image that go by in pieces: blocks that are too long for the memory, and what the
// checksums of the trailer are of.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "IO/disk_image_codecs.hpp"
#include "IO/disk_image_format.hpp"
#include "support/byte_source.hpp"
#include "support/progress.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// A run of a file.
class SourcePieces final : public StoredPieces {
  public:
    SourcePieces(ByteSource& source, std::uint64_t offset, std::uint64_t length)
        : source_(source), at_(offset), end_(offset + length) {}
    [[nodiscard]] std::span<const std::uint8_t> next() override;
    /// The file gave less than it has.
    [[nodiscard]] bool failed() const { return failed_; }

  private:
    ByteSource& source_;
    std::uint64_t at_;
    std::uint64_t end_;
    std::vector<std::uint8_t> buffer_;
    bool failed_ = false;
};

/// A place of so many bytes that are handed on with their offset in it; what takes them says false
/// to be given no more.
class TargetPieces final : public PlainPieces {
  public:
    using Take = std::function<bool(std::uint64_t offset, std::span<const std::uint8_t> bytes)>;
    TargetPieces(std::uint64_t size, Take take) : left_(size), take_(std::move(take)) {}
    [[nodiscard]] std::span<std::uint8_t> room() override;
    [[nodiscard]] bool put(std::size_t count) override;
    [[nodiscard]] std::uint64_t left() const { return left_; }

  private:
    std::uint64_t offset_ = 0;
    std::uint64_t left_;
    Take take_;
    std::vector<std::uint8_t> buffer_;
};

/// As the bytes are.
[[nodiscard]] BlockEnd CopyPieces(StoredPieces& stored, PlainPieces& plain);

/// How the checksums of the trailer compare with the file.
struct TrailerComparison {
    Reason problem = {};  ///< none when they agree
    unsigned compared = 0;
    unsigned unknown = 0;  ///< of a kind that is not compared
    bool isStopped = false;
};
[[nodiscard]] TrailerComparison CompareTrailer(ByteSource& source, const DiskImageTrailer& trailer,
                                               Progress& progress);

}  // namespace vellmark
