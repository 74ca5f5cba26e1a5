// What the structure in a sector holds, as values: pages of named fields, lists, and the sectors
// that they lead to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/structure_code.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// The way to a sector of the image.
struct SectorLink {
    std::string name;                           ///< of the button: `go_posext1`
    std::uint64_t sector = 0;                   ///< of 512 bytes, from the start of the image
    StructureCode as = StructureCode::Unknown;  ///< what is to be shown there unasked
};

/// Bytes of the structure, counted from the start of the sector; they may lie behind its end.
struct ByteRange {
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
};

struct AnalysedField {
    std::string key;  ///< the same in every language: `blockSize`
    Reason caption;
    std::string value;                    ///< as it is shown
    std::optional<std::uint64_t> number;  ///< of a value that is one
    ByteRange bytes;                      ///< none of a value that is computed
    bool isUnused = false;                ///< of an extent that has no blocks
    std::vector<SectorLink> links;
};

struct AnalysedRow {
    std::vector<std::string> cells;  ///< one a column
    ByteRange bytes;
    std::optional<SectorLink> link;
};

struct AnalysedList {
    std::vector<Reason> columns;
    std::vector<AnalysedRow> rows;
};

struct AnalysedPage {
    Reason caption;
    std::vector<AnalysedField> fields;
    std::optional<AnalysedList> list;
};

struct Analysis {
    StructureCode code = StructureCode::Unknown;
    std::string_view form;  ///< name of the structure's dialog: `TSectBD`
    Reason title;
    std::uint64_t sector = 0;  ///< of the image
    std::vector<AnalysedPage> pages;
    std::vector<SectorLink> links;  ///< of the structure as a whole, such as the other header
    bool hasTree = false;           ///< the nodes of a tree can be listed from here
    Reason problem;                 ///< what of it cannot be right; the rest is shown
};

}  // namespace vellmark
