// Bytes at an offset, wherever they lie: a PC file, a fork on a volume, an entry of a container,
// memory. A codec that is written over these two works in every direction.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <vector>

namespace vellmark {

class PcFile;

/// The least that is worth asking `ByteSource::copyTo` for, and the most at once: long enough that
/// the call does not count, short enough for progress to be seen.
inline constexpr std::uint64_t kLeastDirectCopy = 64 << 10;
inline constexpr std::uint64_t kMostDirectCopy = 8 << 20;

/// Bytes that go from a place of one file to a place of another.
struct ByteMove {
    std::uint64_t from = 0;
    std::uint64_t to = 0;
    std::uint64_t count = 0;
};

/// Bytes that can be read at any offset.
class ByteSource {
  public:
    virtual ~ByteSource() = default;

    /// Length in bytes.
    [[nodiscard]] virtual std::uint64_t size() const = 0;

    /// Reads up to `out.size()` bytes from `offset`. Returns the number of bytes read; fewer than
    /// asked for means the end of the bytes or a failure of the medium.
    [[nodiscard]] virtual std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) = 0;

    /// Copies up to `count` bytes of this source into a file of the PC, where they lie in another
    /// one: the system does that without our memory. Returns the bytes copied; what is missing is
    /// to be read, also when it is all of them.
    [[nodiscard]] virtual std::uint64_t copyTo(PcFile& /*target*/, ByteMove /*move*/) { return 0; }

    /// Reads exactly `out.size()` bytes; false when the source ends or fails before that.
    [[nodiscard]] bool readExactly(std::uint64_t offset, std::span<std::uint8_t> out) {
        return readAt(offset, out) == out.size();
    }

    /// Reads one packed record of the disk; false when it is not wholly there.
    template <typename Record>
    [[nodiscard]] bool readRecord(std::uint64_t offset, Record& record) {
        static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) == 1);
        return readExactly(offset, {reinterpret_cast<std::uint8_t*>(&record), sizeof(Record)});
    }
};

/// Bytes that can be written at any offset.
class ByteSink {
  public:
    virtual ~ByteSink() = default;

    /// Writes all of `bytes` at `offset`, growing the target as needed; false when some were not
    /// written.
    [[nodiscard]] virtual bool writeAt(std::uint64_t offset,
                                       std::span<const std::uint8_t> bytes) = 0;

    /// Writes one packed record of the disk.
    template <typename Record>
    [[nodiscard]] bool writeRecord(std::uint64_t offset, const Record& record) {
        static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) == 1);
        return writeAt(offset, {reinterpret_cast<const std::uint8_t*>(&record), sizeof(Record)});
    }
};

/// Bytes in memory, growing as they are written.
class MemoryBytes final : public ByteSource, public ByteSink {
  public:
    MemoryBytes() = default;
    explicit MemoryBytes(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}

    [[nodiscard]] std::uint64_t size() const override { return bytes_.size(); }
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override;
    [[nodiscard]] bool writeAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override;
    [[nodiscard]] const std::vector<std::uint8_t>& bytes() const { return bytes_; }

  private:
    std::vector<std::uint8_t> bytes_;
};

/// The bytes of a packed record, for a call that takes a span.
template <typename Record>
[[nodiscard]] std::span<const std::uint8_t> AsBytes(const Record& record) {
    static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) == 1);
    return {reinterpret_cast<const std::uint8_t*>(&record), sizeof(Record)};
}

}  // namespace vellmark
