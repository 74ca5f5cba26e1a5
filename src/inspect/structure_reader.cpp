#include "inspect/structure_reader.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "inspect/field_values.hpp"
#include "inspect/structure_table.hpp"
#include "support/sentences.hpp"

namespace vellmark {
namespace {

constexpr int kTextUnknown = 3200;

// The sector with zeros behind the end of what is there; none when nothing is.
std::vector<std::uint8_t> ReadSector(const InspectedBytes& inspected, std::uint64_t sector) {
    std::vector<std::uint8_t> bytes(kSectorBytes);
    if (!inspected.source || sector > (~std::uint64_t{0}) / kSectorBytes ||
        inspected.source->readAt(sector * kSectorBytes, bytes) == 0)
        bytes.clear();
    return bytes;
}

}  // namespace

const StructureTable& TableOf(StructureCode code) {
    static constexpr StructureTable kNone;
    for (const auto tables :
         {VolumeTables(), NodeTables(), DiscTables(), PcDiskTables(), ContainerTables()})
        for (const StructureTable& table : tables)
            if (table.code == code)
                return table;
    return kNone;
}

Result<Analysis> AnalyseSector(const InspectedImage& image, const InspectedBytes& inspected,
                               const AnalysisRequest& request) {
    SectorScene scene{image,
                      inspected,
                      request.sector,
                      inspected.imageSector(request.sector).value_or(request.sector),
                      request.language,
                      ReadSector(inspected, request.sector)};
    if (scene.bytes.empty())
        return Failed(Sentence::kSectorNotThere, request.sector);
    const StructureCode code = request.as != StructureCode::Unknown
                                   ? request.as
                                   : IdentifySector(scene.bytes, request.sector);
    const StructureTable& table = TableOf(code);
    if (code == StructureCode::Unknown || table.code != code)
        return Failed(Reason(ToldText{kTextUnknown}));
    if (table.readWhole != nullptr)
        scene.bytes = table.readWhole(scene);
    Analysis analysis;
    analysis.code = code;
    analysis.form = table.form;
    analysis.title = table.title.reason();
    analysis.sector = scene.imageSector;
    for (const Caption& caption : table.pages)
        analysis.pages.push_back({caption.reason(), {}, std::nullopt});
    for (const FieldRow& row : table.fields)
        for (AnalysedField& field : FieldsOf(scene, code, row))
            analysis.pages[row.page].fields.push_back(std::move(field));
    if (table.addMore != nullptr)
        table.addMore(scene, analysis);
    return analysis;
}

}  // namespace vellmark
