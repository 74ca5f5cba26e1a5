// What the tests of this room share.
#pragma once

#include <numeric>

#include "IO/io_bench.hpp"
#include "support/byte_source.hpp"
#include "support/sentences.hpp"

namespace vellmark::testing {

/// A source that counts what is read of it and gives nothing from `readable` on.
class CountedSource final : public ByteSource {
  public:
    explicit CountedSource(Bytes bytes, std::uint64_t readable = ~std::uint64_t{0})
        : bytes_(std::move(bytes)), readable_(readable) {}
    [[nodiscard]] std::uint64_t size() const override { return bytes_.size(); }
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
        const std::uint64_t end =
            std::min<std::uint64_t>({offset + out.size(), bytes_.size(), readable_});
        const std::size_t count = end > offset ? static_cast<std::size_t>(end - offset) : 0;
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(offset), count, out.begin());
        read += count;
        return count;
    }
    std::uint64_t read = 0;

  private:
    Bytes bytes_;
    std::uint64_t readable_;
};

/// Numbers that look random and are the same in every run.
class Noise {
  public:
    explicit Noise(std::uint32_t seed) : state_(seed * 2 + 1) {}
    std::uint32_t next() {
        state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<std::uint32_t>(state_ >> 33);
    }
    Bytes bytes(std::size_t count) {
        Bytes bytes(count);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(next());
        return bytes;
    }

  private:
    std::uint64_t state_;
};

}  // namespace vellmark::testing
