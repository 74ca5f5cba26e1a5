// The `<data>` sections of a disk image's property list, Base64 texts that are decoded while they
// are read. The list is not taken apart as XML, and never lies in memory whole.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "support/byte_source.hpp"
#include "support/progress.hpp"

namespace vellmark {

class DataSections {
  public:
    /// The list lies at `offset` of the file; `length` bytes from there are in it. `progress` is
    /// asked for each piece that is read.
    DataSections(ByteSource& file, std::uint64_t offset, std::uint64_t length, Progress& progress)
        : file_(file), progress_(progress), next_(offset), end_(offset + length) {}

    /// Goes to the next section. False when no further one begins and ends.
    [[nodiscard]] bool next();
    /// There is nothing at all between its two tags.
    [[nodiscard]] bool isEmpty() const { return begin_ == sectionEnd_; }
    /// Reads on in what the section's text stands for; fewer bytes than asked for at its end. The
    /// text is taken in groups of four characters, those of an unfinished last group count as 0,
    /// and so does the padding: up to two bytes more than were encoded.
    [[nodiscard]] std::size_t read(std::span<std::uint8_t> out);
    /// Back to the first byte of the section.
    void rewind();
    /// `Progress` said no: the list ends where it was read to.
    [[nodiscard]] bool isStopped() const { return isStopped_; }

  private:
    [[nodiscard]] std::optional<std::uint64_t> find(std::string_view tag, std::uint64_t from);
    [[nodiscard]] std::string_view windowFrom(std::uint64_t offset, std::size_t least);
    [[nodiscard]] bool decodeGroup();

    ByteSource& file_;
    Progress& progress_;
    bool isStopped_ = false;
    std::uint64_t next_;            ///< where the next section is looked for
    std::uint64_t end_;             ///< of the list
    std::uint64_t begin_ = 0;       ///< of the section's text
    std::uint64_t sectionEnd_ = 0;  ///< behind it
    std::uint64_t textAt_ = 0;      ///< what is decoded next

    std::array<char, 16384> window_{};  ///< a part of the list
    std::uint64_t windowStart_ = 0;     ///< where it begins in the file
    std::size_t windowSize_ = 0;
    std::array<std::uint8_t, 3> decoded_{};
    std::size_t decodedLeft_ = 0;
};

}  // namespace vellmark
