// What the tests of this room share: a progress that keeps what it was told, files with known bytes
// and big- and little-endian writing into a byte array.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/endian.hpp"
#include "support/pc_file.hpp"
#include "support/progress.hpp"

namespace vellmark::testing {

/// Keeps the calls; answers "stop" at the chunk or file end number `stopAt` (from 1).
class RecordedProgress final : public Progress {
  public:
    explicit RecordedProgress(int stopAt = 0) : stopAt_(stopAt) {}
    [[nodiscard]] bool chunk(std::uint64_t bytes) override {
        counted += bytes;
        return ++calls_ != stopAt_;
    }
    [[nodiscard]] bool fileEnd(std::uint64_t bytes) override {
        counted += bytes;
        return ++calls_ != stopAt_;
    }
    std::uint64_t counted = 0;

  private:
    int stopAt_;
    int calls_ = 0;
};

using Bytes = std::vector<std::uint8_t>;

/// Bytes that differ from sector to sector and from place to place.
inline Bytes Pattern(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 512 * 13 + 1);
    return bytes;
}

inline Bytes BytesOf(std::string_view text) {
    return {text.begin(), text.end()};
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

/// Puts a field or text at an offset, lengthening the bytes as needed.
template <typename Field>
void Put(Bytes& bytes, std::size_t offset, const Field& field) {
    if (bytes.size() < offset + sizeof(field))
        bytes.resize(offset + sizeof(field));
    const auto view = AsBytes(field);
    std::copy(view.begin(), view.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}
inline void PutText(Bytes& bytes, std::size_t offset, std::string_view text) {
    if (bytes.size() < offset + text.size())
        bytes.resize(offset + text.size());
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

}  // namespace vellmark::testing
