// What is known of an image as a whole, so that a sector leads on: its volumes, where the nodes of
// their trees lie, the blocks of its partition map and of its disc.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "IO/iso_structures.hpp"
#include "support/pc_file.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

enum class TreeRole : std::uint8_t { Catalog, Extents, Attributes };

/// A B-tree and its nodes, which may lie in several runs.
struct InspectedTree {
    TreeRole role = TreeRole::Catalog;
    std::uint32_t nodeSize = 0;  ///< bytes
    std::vector<BlockRun> runs;
};

struct InspectedVolume {
    Sector512 start;
    Sector512 blocksStart;
    std::uint32_t sectorsPerBlock = 0;
    std::uint64_t sectors = 0;    ///< from `start` on
    std::uint64_t alternate = 0;  ///< sector of the second header; 0 when none was found
    bool isHfsPlus = false;
    std::vector<InspectedTree> trees;
    /// Open for reading; null for a wrapper, which holds another volume and no trees.
    std::unique_ptr<VolumeContext> context;

    [[nodiscard]] bool holds(std::uint64_t sector) const {
        return sector >= start.number() && sector - start.number() < sectors;
    }
    [[nodiscard]] std::uint64_t headerSector() const { return start.number() + 2; }
};

/// A node that a sector begins or lies in.
struct NodeAt {
    const InspectedVolume* volume = nullptr;
    const InspectedTree* tree = nullptr;  ///< null: no tree of a volume is there
    std::uint32_t number = 0;
    bool isStart = false;  ///< the sector is the first of the node
};

class InspectedImage {
  public:
    /// The image is read while this lives.
    explicit InspectedImage(std::shared_ptr<PcFile> image);

    [[nodiscard]] const std::shared_ptr<PcFile>& image() const { return image_; }
    [[nodiscard]] const std::vector<InspectedVolume>& volumes() const { return volumes_; }
    /// The innermost volume around a sector; null when none is.
    [[nodiscard]] const InspectedVolume* volumeAt(std::uint64_t sector) const;
    /// The volume with that sector as one of its headers; null when there is none.
    [[nodiscard]] const InspectedVolume* volumeOfHeader(std::uint64_t sector) const;
    [[nodiscard]] NodeAt nodeAt(std::uint64_t sector) const;
    /// Sector of the image in which a node begins; nothing behind the end of the tree.
    [[nodiscard]] static std::optional<std::uint64_t> NodeSector(const InspectedVolume& volume,
                                                                 const InspectedTree& tree,
                                                                 std::uint32_t number);

    /// Sectors of 512 bytes of a block of the partition map; 1 without a map.
    [[nodiscard]] std::uint32_t mapBlockSectors() const { return mapBlockSectors_; }
    /// First sector behind the partition that begins at that one; 0 when no map names it.
    [[nodiscard]] std::uint64_t partitionEnd(std::uint64_t start) const;
    /// Sectors of 512 bytes of a logical block of the disc; 4 without a descriptor.
    [[nodiscard]] std::uint32_t discBlockSectors() const;
    /// The descriptors of the disc: the primary one, then that of the Joliet tree.
    [[nodiscard]] const std::optional<IsoVolumeDescriptor>& descriptor(bool joliet) const {
        return descriptors_[joliet ? 1 : 0];
    }

  private:
    void addVolume(Sector512 start, Sector512 end);
    void addWrapper(const MasterDirectoryBlock& mdb, Sector512 start, Sector512 end);
    void readDescriptors();
    [[nodiscard]] std::uint64_t findAlternate(std::uint16_t signature, std::uint64_t byBlocks,
                                              Sector512 end);

    struct Part {
        Sector512 start;
        Sector512 end;
    };

    std::shared_ptr<PcFile> image_;
    std::vector<Part> parts_;
    std::vector<InspectedVolume> volumes_;
    std::uint32_t mapBlockSectors_ = 1;
    std::array<std::optional<IsoVolumeDescriptor>, 2> descriptors_;
};

}  // namespace vellmark
