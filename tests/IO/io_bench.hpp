// What the tests of this room and of the containers share: a progress that keeps what it was told,
// files with known bytes, and big- and little-endian writing into a byte array.
#pragma once

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "support/endian.hpp"
#include "support/pc_file.hpp"
#include "support/progress.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// Reasons as tests compare and print them.
[[nodiscard]] inline std::string Words(const Reason& reason) {
    return reason.words(Language::English);
}
inline std::ostream& operator<<(std::ostream& out, const Reason& reason) {
    return out << '"' << Words(reason) << '"';
}

}  // namespace vellmark

namespace vellmark::testing {

/// Keeps the calls; answers "stop" at the chunk or file end number `stopAt` (from 1).
class RecordedProgress final : public Progress {
  public:
    explicit RecordedProgress(int stopAt = 0) : stopAt_(stopAt) {}
    [[nodiscard]] bool chunk(std::uint64_t bytes) override {
        counted += bytes;
        return ++calls_ != stopAt_;
    }
    [[nodiscard]] bool fileEnd(std::uint64_t bytes) override { return chunk(bytes); }
    std::uint64_t counted = 0;

  private:
    int stopAt_;
    int calls_ = 0;
};

using Bytes = std::vector<std::uint8_t>;

/// Bytes that differ from place to place, long runs and markers of BinHex among them.
inline Bytes Pattern(std::size_t size, unsigned kind = 0) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i % 97 < 11   ? 0x90
                                             : i % 89 < 30 ? kind
                                                           : i * 7 + i / 251 + kind);
    return bytes;
}

inline Bytes BytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

/// The bytes from one place up to another, or to the end.
inline Bytes Slice(const Bytes& bytes, std::size_t from, std::size_t to) {
    return {bytes.begin() + static_cast<std::ptrdiff_t>(std::min(from, bytes.size())),
            bytes.begin() + static_cast<std::ptrdiff_t>(std::min(to, bytes.size()))};
}

inline Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// A file of the temporary folder that holds these bytes.
inline std::string MakeFile(const TemporaryFolder& folder, const std::string& name,
                            const Bytes& bytes) {
    const std::string path = folder.path() + "/" + name;
    PcFile file(path, PcFile::Mode::CreateTruncate);
    return file.writeAt(0, bytes) ? path : std::string{};
}

inline Bytes ReadFile(const std::string& path) {
    PcFile file(path, PcFile::Mode::Read);
    Bytes bytes(file.size());
    bytes.resize(file.readAt(0, bytes));
    return bytes;
}

/// Puts bytes, a text or a field at an offset, lengthening what is there as needed.
inline void PutText(Bytes& bytes, std::size_t offset, std::string_view text) {
    bytes.resize(std::max(bytes.size(), offset + text.size()));
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}
template <typename Field>
void Put(Bytes& bytes, std::size_t offset, const Field& field) {
    const auto view = AsBytes(field);
    PutText(bytes, offset, {reinterpret_cast<const char*>(view.data()), view.size()});
}

}  // namespace vellmark::testing
