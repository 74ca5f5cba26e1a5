// What the tests of copying share: a person with prepared answers, and containers made by hand
// after their published formats.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "containers/codec_bench.hpp"
#include "volume/volume_bench.hpp"

namespace vellmark::testing {

class ScriptedMessages final : public KeptMessages {
  public:
    void itemSkipped(std::string_view item, std::string_view reason) override {
        skipped.push_back(std::filesystem::path(item).filename().string() + ": " +
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
        if (names.empty())
            return std::nullopt;
        const std::string name = names.front();
        names.erase(names.begin());
        return name;
    }
    [[nodiscard]] TruncationAnswer askTruncation(TruncatedName, std::string_view,
                                                 std::string_view proposal) override {
        proposals.emplace_back(proposal);
        return truncation;
    }
    bool hides = false;
    bool confirms = true;
    Answer answer = Answer::Yes;
    std::vector<std::string> names;  ///< typed one after the other
    TruncationAnswer truncation;
    std::vector<std::string> skipped;
    std::vector<std::string> proposals;
};

/// `finder`: the first bytes of the Finder's information. Parts fill blocks of 128 bytes.
inline Bytes MacBinaryOf(std::string_view name, const Bytes& finder, const Bytes& data,
                         const Bytes& resource, std::uint32_t created, std::uint32_t modified) {
    Bytes bytes = {0, static_cast<std::uint8_t>(name.size())};
    Append(bytes, BytesOf(name));
    bytes.resize(65);
    Append(bytes, finder);
    bytes.resize(83);
    for (const std::size_t field :
         {data.size(), resource.size(), std::size_t{created}, std::size_t{modified}})
        Append(bytes, Be(field, 4));
    bytes.resize(128);
    for (const Bytes* fork : {&data, &resource}) {
        Append(bytes, *fork);
        bytes.resize((bytes.size() + 127) / 128 * 128);
    }
    return bytes;
}

/// AppleSingle or AppleDouble with those entries: number and contents.
inline Bytes AppleFileOf(bool isSingle, const std::vector<std::pair<int, Bytes>>& entries) {
    Bytes bytes = Be(isSingle ? 0x00051600 : 0x00051607, 4);
    Append(bytes, Be(0x00020000, 4));
    bytes.resize(24);
    Append(bytes, Be(entries.size(), 2));
    std::size_t offset = 26 + 12 * entries.size();
    for (const auto& [id, contents] : entries) {
        for (const std::size_t field : {static_cast<std::size_t>(id), offset, contents.size()})
            Append(bytes, Be(field, 4));
        offset += contents.size();
    }
    for (const auto& [id, contents] : entries)
        Append(bytes, contents);
    return bytes;
}

}  // namespace vellmark::testing
