// Resource forks of one type, byte by byte: those of fonts and aliases.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vellmark::test {

inline std::string Be(std::uint64_t number, int width) {
    std::string bytes;
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift);
    return bytes;
}

inline std::string ForkOf(const std::string& type, const std::vector<std::string>& resources) {
    std::string data;
    std::string map =
        std::string(28, '\0') + Be(0, 2) + type + Be(resources.size() - 1, 2) + Be(10, 2);
    for (const std::string& resource : resources) {
        map += Be(501, 2) + Be(0xFFFF, 2) + Be(data.size(), 4) + Be(0, 4);
        data += Be(resource.size(), 4) + resource;
    }
    return Be(16, 4) + Be(16 + data.size(), 4) + Be(data.size(), 4) + Be(map.size(), 4) + data +
           map;
}

/// The fork of an alias file of version 2, for a file. Names and path are MacRoman.
inline std::string AliasFork(const std::string& volume, const std::string& name,
                             std::uint32_t folder, std::uint32_t id, const std::string& path) {
    const auto text = [](const std::string& words, std::size_t place) {
        std::string padded = static_cast<char>(words.size()) + words;
        padded.resize(place);
        return padded;
    };
    std::string record =
        Be(0, 6) + Be(2, 2) + Be(0, 2) + text(volume, 28) + Be(0, 8) + Be(folder, 4);
    record += text(name, 64) + Be(id, 4);
    record.resize(150);
    record += Be(2, 2) + Be(path.size(), 2) + path + std::string(path.size() % 2, '\0');
    return ForkOf("alis", {record + Be(0xFFFF, 2) + Be(0, 2)});
}

/// A printer font of that name, all its program in clear text.
inline std::string PrinterFontFork(const std::string& name) {
    return ForkOf("POST", {Be(0x100, 2) + "%!\n/FontName /" + name + " def\n", Be(0x500, 2)});
}

/// What a program needs to know a TrueType font by its name, and bytes of its own.
inline std::string TrueType(const std::string& name, const std::string& rest) {
    return Be(0x10000, 4) + Be(1, 2) + Be(0, 6) + "name" + Be(0, 4) + Be(28, 4) + Be(18, 4) +
           Be(0, 2) + Be(1, 2) + Be(18, 2) + Be(1, 2) + Be(0, 4) + Be(6, 2) + Be(name.size(), 2) +
           Be(0, 2) + name + rest;
}

}  // namespace vellmark::test
