#include "compiler/iso_descriptors.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <string_view>

#include "compiler/iso_tables.hpp"
#include "containers/names.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kPrimaryLabelLength = 12;
constexpr std::array<char, 5> kStandardId = {'C', 'D', '0', '0', '1'};

template <std::size_t N>
void Put(std::array<char, N>& field, std::string_view text) {
    field.fill(' ');
    std::copy_n(text.begin(), std::min(text.size(), N), field.begin());
}

// Big-endian UCS-2, the rest filled with blanks of two bytes.
template <std::size_t N>
void PutWide(std::array<char, N>& field, std::string_view text) {
    std::u16string units = AnsiToJolietUnits(text);
    units.resize(N / 2, u' ');
    for (std::size_t i = 0; i < N / 2; ++i) {
        field[2 * i] = static_cast<char>(units[i] >> 8);
        field[2 * i + 1] = static_cast<char>(units[i] & 0xFF);
    }
}

// The digits given, then zeros; in UTC.
IsoLongDate LongDate(std::string_view digits) {
    IsoLongDate date{};
    auto* text = reinterpret_cast<char*>(&date);
    std::fill_n(text, sizeof date - 1, '0');
    std::copy(digits.begin(), digits.end(), text);
    return date;
}

std::string SystemText(const ProjectHeader& header) {
    return std::string(FieldText(header.system));
}

IsoDirectoryRecord RootRecord(const IsoTreeLayout& layout, const Clock& clock) {
    IsoDirectoryRecord root{};
    root.length = kDotRecordLength;
    root.extent = layout.rootDirectory.number();
    root.sizeBytes = layout.sectorsOf.front() * kIsoSectorBytes;
    root.date = ToIsoDate(clock.now());
    root.flags = kIsoFlagFolder;
    root.volumeSequence = std::uint16_t{1};
    root.nameLength = 1;
    return root;
}

void SetTables(IsoVolumeDescriptor& descriptor, const IsoTreeLayout& layout) {
    descriptor.pathTableBytes = layout.pathTableBytes;
    descriptor.pathTableL = layout.pathTableL.number();
    descriptor.pathTableM = layout.pathTableM.number();
}

}  // namespace

std::string ProductName() {
    return "Vellmark - " VELLMARK_VERSION;
}

IsoVolumeDescriptor MakePrimaryDescriptor(const ProjectHeader& header, const IsoLayout& layout,
                                          std::uint32_t sectors, const Clock& clock) {
    IsoVolumeDescriptor descriptor{};
    descriptor.type = kIsoDescriptorPrimary;
    descriptor.standard = kStandardId;
    descriptor.version = 1;
    const std::string system = SystemText(header);
    Put(descriptor.systemId, system.empty() ? ProductName() : IsoNormalizeName(system));
    Put(descriptor.volumeId, IsoNormalizeName(header.isoLabel()).substr(0, kPrimaryLabelLength));
    descriptor.spaceSize = sectors;
    descriptor.setSize = std::uint16_t{1};
    descriptor.sequenceNumber = std::uint16_t{1};
    descriptor.blockSize = static_cast<std::uint16_t>(kIsoSectorBytes);
    SetTables(descriptor, layout.iso);
    descriptor.root = RootRecord(layout.iso, clock);
    // Without a system text none of the others is used.
    const auto text = [&](std::string_view field) {
        return system.empty() ? std::string_view{} : field;
    };
    Put(descriptor.volumeSetId, IsoNormalizeName(text(FieldText(header.volumeSet))));
    Put(descriptor.publisher, IsoNormalizeName(text(FieldText(header.publisher))));
    Put(descriptor.preparer, IsoNormalizeName(text(FieldText(header.dataPreparer))));
    Put(descriptor.application, IsoNormalizeName(text(FieldText(header.application))));
    Put(descriptor.copyrightFile, IsoUpperFold(text(FieldText(header.copyrightFile))));
    Put(descriptor.abstractFile, IsoUpperFold(text(FieldText(header.abstractFile))));
    Put(descriptor.bibliographicFile, IsoUpperFold(text(FieldText(header.bibliographicFile))));
    const CivilTime now = ToCivil(clock.now());
    descriptor.created =
        LongDate(fmt::format("{:04}{:02}{:02}{:02}", now.year, now.month, now.day, now.hour));
    descriptor.modified = LongDate("");
    descriptor.expires = LongDate("");
    descriptor.effective = LongDate("");
    descriptor.fileStructureVersion = 1;
    return descriptor;
}

IsoVolumeDescriptor MakeJolietDescriptor(const IsoVolumeDescriptor& primary,
                                         const ProjectHeader& header, const IsoLayout& layout) {
    IsoVolumeDescriptor descriptor = primary;
    descriptor.type = kIsoDescriptorSupplementary;
    descriptor.escapes[0] = '%';
    descriptor.escapes[1] = '/';
    descriptor.escapes[2] = '@';
    const std::string system = SystemText(header);
    PutWide(descriptor.systemId, system.empty() ? "Vellmark" : system);
    PutWide(descriptor.volumeId, header.isoLabel());
    SetTables(descriptor, layout.joliet);
    descriptor.root.extent = layout.joliet.rootDirectory.number();
    descriptor.root.sizeBytes = layout.joliet.sectorsOf.front() * kIsoSectorBytes;
    descriptor.volumeSetId = {};
    descriptor.publisher = {};
    descriptor.preparer = {};
    descriptor.application = {};
    descriptor.copyrightFile = {};
    descriptor.abstractFile = {};
    descriptor.bibliographicFile = {};
    if (!system.empty()) {
        PutWide(descriptor.volumeSetId, FieldText(header.volumeSet));
        PutWide(descriptor.publisher, FieldText(header.publisher));
        PutWide(descriptor.preparer, FieldText(header.dataPreparer));
        PutWide(descriptor.application, FieldText(header.application));
    }
    return descriptor;
}

IsoVolumeDescriptor MakeTerminator() {
    IsoVolumeDescriptor descriptor{};
    descriptor.type = kIsoDescriptorTerminator;
    descriptor.standard = kStandardId;
    descriptor.version = 1;
    return descriptor;
}

}  // namespace vellmark
