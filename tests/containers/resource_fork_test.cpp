#include "containers/resource_fork.hpp"

#include <gtest/gtest.h>

#include "containers/codec_bench.hpp"
#include "support/sentences.hpp"

namespace vellmark {
namespace {

using testing::Be;
using testing::Bytes;
using testing::BytesOf;
using testing::operator+;

// Header, data and map of a fork as the system writes them, with what the case makes of it.
struct ForkMaker {
    std::uint32_t dataOffset = 256;
    Bytes data;
    std::uint32_t types = 0;  ///< counted
    Bytes typeList;           ///< entries, then references
    std::uint32_t claimedMap = 0;

    [[nodiscard]] Bytes bytes() const {
        Bytes map = Bytes(24) + Be(28, 2) + Be(0, 2) + Be(types - 1, 2) + typeList;
        const std::size_t length = claimedMap != 0 ? claimedMap : map.size();
        Bytes head = Be(dataOffset, 4) + Be(dataOffset + data.size(), 4) + Be(data.size(), 4) +
                     Be(length, 4);
        head.resize(dataOffset);
        return head + data + map;
    }
};

Bytes Type(std::string_view letters, std::uint32_t count, std::uint32_t list) {
    return BytesOf(letters) + Be(count - 1, 2) + Be(list, 2);
}
Bytes Reference(std::uint32_t id, std::uint32_t name, std::uint32_t attributesAndData) {
    return Be(id, 2) + Be(name, 2) + Be(attributesAndData, 4) + Bytes(4);
}
Bytes Data(const Bytes& contents) {
    return Be(contents.size(), 4) + contents;
}

// Two types; of the resources one has attributes, one is empty.
ForkMaker TwoTypes() {
    ForkMaker fork;
    fork.data = Data(BytesOf("icon")) + Data({}) + Data(BytesOf("text"));
    fork.types = 2;
    fork.typeList = Type("ICON", 2, 18) + Type("STR ", 1, 42) + Reference(128, 0, 0x20000000) +
                    Reference(0xFFFF, 0xFFFF, 8) + Reference(7, 0xFFFF, 12);
    return fork;
}

std::string Listed(const ResourceTree& tree) {
    std::string text;
    for (const ResourceType& type : tree.types) {
        text += ResourceTypeName(type) + ":";
        for (const Resource& resource : type.resources)
            text += " " + ResourceLabel(resource) + "@" + std::to_string(resource.position);
        text += "\n";
    }
    return text;
}

TEST(ResourceForkTest, ListsTypesAndResourcesInTheOrderOfTheMap) {
    for (const std::uint64_t base : {0U, 82U}) {
        const std::uint64_t at = 256 + base;
        MemoryBytes fork(Bytes(static_cast<std::size_t>(base)) + TwoTypes().bytes());
        const ResourceTree tree = WalkResourceMap(fork, base);
        EXPECT_EQ(Listed(tree), "ICON: id=0x0080, lg=4@" + std::to_string(at) +
                                    " id=0xffff, lg=0@" + std::to_string(at + 8) +
                                    "\nSTR : id=0x0007, lg=4@" + std::to_string(at + 12) + "\n");
        EXPECT_FALSE(tree.problem) << tree.problem;
        EXPECT_EQ(tree.types[0].resources[0].attributes, 0x20);
        EXPECT_EQ(tree.types[0].resources[0].nameOffset, 0);
        SliceSource text = tree.find("STR ", 7)->contents(fork);
        EXPECT_EQ(testing::Contents(text), BytesOf("text"));
        SliceSource none = tree.find("ICON", 0xFFFF)->withLength(fork);
        EXPECT_EQ(testing::Contents(none), Be(0, 4));
        EXPECT_EQ(tree.find("STR ", 128), nullptr);
    }
}

TEST(ResourceForkTest, FindsTheForkOfAnAppleDoubleFile) {
    const Bytes magic = Be(0x00051607, 4) + Be(0x00020000, 4) + Bytes(16);
    const auto base = [](const Bytes& bytes) {
        MemoryBytes source(bytes);
        return ResourceBaseOffset(source);
    };
    EXPECT_EQ(base(TwoTypes().bytes()), 0U);
    EXPECT_EQ(base(magic + Be(0, 2) + Bytes(90)), 82U);
    EXPECT_EQ(base(magic + Be(2, 2) + Be(9, 4) + Be(50, 4) + Be(32, 4) + Be(2, 4) + Be(110, 4) +
                   Be(4, 4) + Bytes(90)),
              110U);
    EXPECT_EQ(base(magic + Be(1, 2) + Be(2, 4) + Be(0xFFFFFF, 4) + Be(4, 4) + Bytes(90)), 82U);
}

TEST(ResourceForkTest, ShowsWhatIsThereOfADamagedMapAndSaysWhatIsWrong) {
    struct Case {
        Sentence said;
        std::size_t resources;
        std::function<void(ForkMaker&)> damage;
        std::size_t kept = 1000;  ///< bytes of the fork
    };
    const std::vector<Case> cases = {
        {Sentence::kNone, 3, [](ForkMaker&) {}},
        {Sentence::kNone, 0, [](ForkMaker& fork) { fork.types = 0; }},
        {Sentence::kNone, 0, [](ForkMaker&) {}, 0},
        {Sentence::kResourceHeaderCut, 0, [](ForkMaker&) {}, 15},
        {Sentence::kResourceMapOutside, 0, [](ForkMaker&) {}, 276},
        {Sentence::kResourceMapOutside, 3, [](ForkMaker& fork) { fork.claimedMap = 5000; }},
        {Sentence::kResourceMapOutside, 0, [](ForkMaker& fork) { fork.claimedMap = 29; }},
        {Sentence::kResourceListsOutside, 3,
         [](ForkMaker& fork) { fork.typeList[13] = 200; }},  // references of the second type
        {Sentence::kResourceListsOutside, 1,
         [](ForkMaker& fork) { fork.typeList[7] = fork.typeList[6] = 0xFF; }},
        {Sentence::kResourcesCut, 3, [](ForkMaker& fork) { fork.data[3] = 200; }},
        {Sentence::kResourcesCut, 3, [](ForkMaker& fork) { fork.typeList[22] = 0xFF; }}};
    for (const Case& each : cases) {
        ForkMaker maker = TwoTypes();
        each.damage(maker);
        Bytes bytes = maker.bytes();
        bytes.resize(std::min(bytes.size(), each.kept));
        MemoryBytes fork(bytes);
        const ResourceTree tree = WalkResourceMap(fork, 0);
        const auto number = &each - cases.data();
        EXPECT_EQ(tree.problem.sentence(), each.said) << number << tree.problem;
        EXPECT_EQ(tree.count(), each.resources) << number;
    }
}

TEST(ResourceForkTest, EndsWhereTypesWithoutNumberShareOneList) {
    ForkMaker maker;
    maker.types = 0xFFFF;
    for (int i = 0; i < 1000; ++i)
        maker.typeList = std::move(maker.typeList) + Type("LOOP", 0x10000, 2);
    MemoryBytes fork(maker.bytes());
    const ResourceTree tree = WalkResourceMap(fork, 0);
    EXPECT_EQ(tree.types.size(), 1000U);
    EXPECT_LE(tree.count(), maker.bytes().size() / 12);
    EXPECT_NE(Words(tree.problem).find("counts 65535 types and has room for 1000"),
              std::string::npos)
        << tree.problem;
}

}  // namespace
}  // namespace vellmark
