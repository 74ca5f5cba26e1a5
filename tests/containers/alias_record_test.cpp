#include "containers/alias_record.hpp"

#include <gtest/gtest.h>

#include "containers/codec_bench.hpp"
#include "support/sentences.hpp"

namespace vellmark {
namespace {

using testing::Be;
using testing::Bytes;
using testing::BytesOf;
using testing::operator+;

Bytes Name(std::string_view name, std::size_t place) {
    return Be(name.size(), 1) + BytesOf(name) + Bytes(place - 1 - name.size());
}
Bytes Entry(std::uint64_t tag, const Bytes& contents) {
    return Be(tag, 2) + Be(contents.size(), 2) + contents + Bytes(contents.size() % 2);
}

// The head as the Alias Manager writes it, for the file `Caf\x8E` in the folder 17.
Bytes Head() {
    return Bytes(6) + Be(2, 2) + Be(0, 2) + Name("Vol/1", 28) + Be(0xB0000000, 4) + BytesOf("H+") +
           Be(0, 2) + Be(17, 4) + Name("Caf\x8E", 64) + Be(23, 4) + Be(0xB0000001, 4) +
           BytesOf("TEXTttxt") + Be(0xFFFF, 2) + Be(0xFFFF, 2) + Bytes(16);
}
Bytes Entries() {
    return Entry(0, BytesOf("Odd")) + Entry(9, BytesOf("else")) +
           Entry(2, BytesOf("Vol/1:Odd:Caf\x8E")) + Entry(0xFFFF, {});
}
Bytes Fork(const Bytes& record, std::uint64_t length) {
    const Bytes map = Bytes(24) + Be(28, 2) + Be(0, 2) + Be(0, 2) + BytesOf("alis") + Be(0, 2) +
                      Be(10, 2) + Be(0, 2) + Be(0xFFFF, 2) + Bytes(8);
    const Bytes data = Be(length, 4) + record;
    return Be(16, 4) + Be(16 + data.size(), 4) + Be(data.size(), 4) + Be(map.size(), 4) + data +
           map;
}
Bytes Fork(const Bytes& record) {
    return Fork(record, record.size());
}

TEST(AliasRecordTest, ReadsTheHeadAndTheEntries) {
    MemoryBytes fork(Fork(Head() + Entries()));
    const Result<AliasRecord> alias = LoadAliasRecord(fork);
    ASSERT_TRUE(alias) << alias.error();
    EXPECT_FALSE(alias->problem) << alias->problem;
    EXPECT_EQ(alias->volumeName, "Vol:1");
    EXPECT_EQ(alias->volumeCreated, 0xB0000000U);
    EXPECT_EQ(alias->targetName, "Café");
    EXPECT_EQ(alias->parentName, "Odd");
    EXPECT_EQ(alias->macPath, "Vol/1:Odd:Café");
    EXPECT_EQ(alias->parentId, 17U);
    EXPECT_EQ(alias->targetId, 23U);
    EXPECT_FALSE(alias->isFolder);

    // Names that MacRoman has not, in letters and marks; the count of the second one lies.
    MemoryBytes unicode(Head() + Entry(14, Be(2, 2) + Be(0x263A, 2) + Be('/', 2)) +
                        Entry(15, Be(0xFFFF, 2) + Be('E', 2) + Be(0x301, 2) + Be(0x3B1, 2)));
    const Result<AliasRecord> wide = ReadAliasRecord(unicode);
    ASSERT_TRUE(wide);
    EXPECT_EQ(wide->targetName, "☺:");
    EXPECT_EQ(wide->volumeName, "Éα");
    EXPECT_FALSE(wide->problem);
}

TEST(AliasRecordTest, ShowsWhatIsThereOfADamagedRecordAndSaysWhatIsWrong) {
    struct Case {
        Bytes fork;
        Sentence said;
        bool isRead;
    };
    const Bytes record = Head() + Entries();
    const auto with = [&](std::size_t at, std::uint8_t byte) {
        Bytes changed = record;
        changed[at] = byte;
        return Fork(changed);
    };
    Bytes longest = Head() + Entry(0, BytesOf("Odd")) + Entry(9, Bytes(1000 - 150 - 8 - 4));
    const std::vector<Case> cases = {
        {Fork(record), Sentence::kNone, true},
        {{}, Sentence::kNoAlias, false},
        {Fork(Head()), Sentence::kNone, true},
        {with(10, 28), Sentence::kAliasLengthsLie, true},
        {with(50, 255), Sentence::kAliasLengthsLie, true},
        {with(152, 255), Sentence::kAliasLengthsLie, true},
        {with(7, 3), Sentence::kAliasOtherVersion, false},
        {Fork(Bytes(record.begin(), record.begin() + 149)), Sentence::kAliasCut, false},
        {Fork(record, 900), Sentence::kAliasLengthsLie, true},
        {Fork(record, 0xFFFFFFFF), Sentence::kAliasTooLong, false},
        {Fork(longest), Sentence::kNone, true},
        {Fork(longest + Bytes(1)), Sentence::kAliasTooLong, false}};
    for (const Case& each : cases) {
        MemoryBytes fork(each.fork);
        const Result<AliasRecord> alias = LoadAliasRecord(fork);
        const Reason said = alias ? alias->problem : alias.error();
        const auto number = &each - cases.data();
        EXPECT_EQ(said.sentence(), each.said) << number << ": " << said;
        ASSERT_EQ(alias.has_value(), each.isRead) << number;
        if (alias) {
            EXPECT_TRUE(alias->targetName.starts_with("Café")) << number << alias->targetName;
        }
    }
}

}  // namespace
}  // namespace vellmark
