// From a row of a structure table to what is shown of it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "inspect/structure_table.hpp"

namespace vellmark {

/// The fields of a row, whose offset counts from byte `base` of the structure: several for
/// extents, none for a value that cannot be computed.
[[nodiscard]] std::vector<AnalysedField> FieldsOf(const SectorScene& scene, StructureCode code,
                                                  const FieldRow& row, std::size_t base = 0);

/// Bytes of the structure, as far as they are there.
[[nodiscard]] std::string_view TextAt(const SectorScene& scene, std::size_t offset,
                                      std::size_t width);
/// MacRoman in UTF-8, printable.
[[nodiscard]] std::string MacTextShown(std::string_view bytes);
/// `{C12A7328-f81f-...}` as the published form has it.
[[nodiscard]] std::string GuidShown(const Guid& guid);

}  // namespace vellmark
