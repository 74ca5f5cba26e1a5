// A volume beside a plain map that is changed in the same way: random operations on both, and what
// must be equal afterwards.
#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "volume/volume_bench.hpp"

namespace vellmark::testing {

/// A small volume that fills the whole image, with a catalog that soon becomes full.
struct VolumeShape {
    const char* name;
    bool isHfsPlus;
    std::uint32_t blockSize;
    std::uint32_t totalBlocks;
    std::uint32_t catalogNodes;
    bool hasPcSide = false;  ///< files of an ISO 9660 tree come to lie in it
    bool isWrapped = false;  ///< it lies in a wrapper of HFS
    bool isHfsx = false;     ///< of the kind that compares names without regard to case

    [[nodiscard]] bool isPlain() const { return !hasPcSide && !isWrapped && !isHfsx; }
    /// Bytes of the image in front of the volume, and behind it.
    [[nodiscard]] std::size_t frontBytes() const { return isWrapped ? 20 * 512 : 0; }
    [[nodiscard]] std::size_t tailBytes() const { return isWrapped ? 40 * 512 : 0; }
};
inline std::ostream& operator<<(std::ostream& out, const VolumeShape& shape) {
    return out << shape.name;
}
/// Where the ISO 9660 tree of a volume lies: descriptors from sector 16 on, then its one directory.
inline constexpr std::uint64_t kPcTableStart = 16 * 2048;
inline constexpr std::uint64_t kPcTableEnd = 19 * 2048;
/// Makes the image; false when a write failed.
[[nodiscard]] bool MakeVolume(const std::string& path, const VolumeShape& shape);
/// Writes the tables of an ISO 9660 tree whose files begin at those sectors.
[[nodiscard]] bool WritePcTable(PcFile& image, const std::map<std::uint32_t, Bytes>& files);

/// All that an operation which fails must leave as it was: headers, bitmap, nodes and node maps.
[[nodiscard]] std::vector<Bytes> StateOf(WritableVolume& volume);

/// What is wrong with the blocks: used twice, used and not marked, or marked for nothing; or "".
[[nodiscard]] std::string FaultOfBlocks(WritableVolume& volume);

/// A fork that may end before the length that it tells.
class CutSource final : public ByteSource {
  public:
    explicit CutSource(const Bytes& bytes, bool isCut = false)
        : bytes_(bytes), end_(isCut ? bytes.size() / 2 : bytes.size()) {}
    [[nodiscard]] std::uint64_t size() const override { return bytes_.size(); }
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override;

  private:
    const Bytes& bytes_;
    std::size_t end_;
};

/// One step of a script: everything else about it follows from its seed and the volume of the
/// moment, so that a script stays one when steps are dropped.
struct Step {
    std::size_t kind = 0;  ///< in a table of the model
    std::uint32_t seed = 0;
};
using Script = std::vector<Step>;
[[nodiscard]] Script RandomScript(unsigned seed, std::size_t steps, bool hasPcSide);
[[nodiscard]] std::string NameOf(const Step& step);

class VolumeModel {
  public:
    VolumeModel(const std::string& path, const VolumeShape& shape);

    /// Carries a step out on both sides; what is wrong with its outcome, or "".
    [[nodiscard]] std::string apply(const Step& step);
    /// Flushes, mounts anew and compares all; what differs, or "".
    [[nodiscard]] std::string compare();

    /// Whether the script came to the borders of the volume: refusals, a catalog that has grown,
    /// and in HFS a file in many pieces.
    [[nodiscard]] bool wasHard();

  private:
    friend Script RandomScript(unsigned seed, std::size_t steps, bool hasPcSide);
    friend std::string NameOf(const Step& step);

    enum class Outcome { Done, Refused, NoRoom, Wrong };
    struct Kind {
        const char* name;
        std::size_t weight;  ///< how often it comes
        Outcome (VolumeModel::*carryOut)(std::mt19937& random);
    };
    static const std::vector<Kind> kKinds;

    struct Item {
        std::string name;
        std::uint32_t id = 0;
        bool isFolder = false;
        std::string signature = "TEXTttxt";
        Bytes data = {};
        Bytes resource = {};
    };
    /// Parent, and name in small letters: both formats order letters and digits alike.
    using Key = std::pair<std::uint32_t, std::string>;
    using Items = std::map<Key, Item>;

    Outcome makeFolder(std::mt19937& random);
    Outcome putFile(std::mt19937& random);
    Outcome deleteItem(std::mt19937& random);
    Outcome rename(std::mt19937& random);
    Outcome move(std::mt19937& random);
    Outcome relabel(std::mt19937& random);
    Outcome swapForks(std::mt19937& random);
    Outcome mark(std::mt19937& random);
    Outcome share(std::mt19937& random);

    /// Judges what an operation came to, and does the same to the map when it was done.
    template <typename Result, typename Change>
    Outcome follow(Result result, Result expected, Change change);
    [[nodiscard]] std::string randomName(std::mt19937& random, std::size_t mostOfHfs = 31) const;
    [[nodiscard]] Items::iterator randomItem(std::mt19937& random, bool fileOnly = false);
    [[nodiscard]] std::uint32_t randomFolder(std::mt19937& random) const;
    [[nodiscard]] bool liesInside(std::uint32_t folder, std::uint32_t outer) const;
    [[nodiscard]] CatalogName nameOf(const Items::value_type& entry) {
        return NameOf(volume_, entry.second.name);
    }
    void rekey(Items::iterator item, const Key& to);
    void forget(Items::iterator item);

    [[nodiscard]] std::string compareFolder(std::uint32_t id);
    [[nodiscard]] std::string compareItem(const CatalogItem& got, const Item& item);
    /// What lies around the volume, and the files of the PC in it.
    [[nodiscard]] Bytes surroundings() const;

    std::string path_;
    VolumeShape shape_;
    Bytes surroundings_;
    std::map<std::uint32_t, Bytes> pcFiles_;  ///< of the ISO 9660 tree, by first sector
    TestVolume volume_;
    std::string label_ = "model";
    Items items_;
    int refusals_ = 0;
    std::uint32_t overflow_ = 0;      ///< records of the extents tree, at most
    std::uint32_t blocksWanted_ = 0;  ///< by the step under way
};

}  // namespace vellmark::testing
