// Bytes that are put together of others, as they are read: nothing is copied for it.
#pragma once

#include <cstring>
#include <utility>
#include <vector>

#include "containers/fork_pair.hpp"
#include "support/byte_source.hpp"

namespace vellmark {

/// What the slices are of must outlive it.
class PiecedSource final : public ByteSource {
  public:
    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override;

    void addBytes(std::vector<std::uint8_t> bytes);
    void addSlice(SliceSource slice);
    template <typename Record>
    void addRecord(const Record& record) {
        static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) == 1);
        std::vector<std::uint8_t> bytes(sizeof record);
        std::memcpy(bytes.data(), &record, sizeof record);
        addBytes(std::move(bytes));
    }

  private:
    struct Piece {
        std::uint64_t offset = 0;
        MemoryBytes bytes;  ///< empty for a slice
        SliceSource slice;
    };
    std::vector<Piece> pieces_;
    std::uint64_t size_ = 0;
};

}  // namespace vellmark
