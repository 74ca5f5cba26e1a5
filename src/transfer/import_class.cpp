#include "transfer/import_class.hpp"

#include "containers/apple_single.hpp"
#include "containers/bin_hex.hpp"
#include "containers/mac_binary.hpp"
#include "containers/named_streams.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr int kTextMacBinary = 1258;
constexpr int kTextBinHex = 1259;

constexpr std::size_t kQuestionUnits = 40;

std::string NameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

std::string NameForQuestion(std::string_view pcName) {
    std::u16string wide = Utf8ToWide(Printable(pcName));
    CutAtLetter(wide, kQuestionUnits);
    return WideToUtf8(wide);
}

std::optional<ImportClass> ClassifyPcFile(PcFile& file, ContainerPolicy policy,
                                          CopyAnswers& answers, Messages& messages) {
    if (policy == ContainerPolicy::Never)
        return ImportClass::Plain;
    const std::string& path = file.path();
    const auto settle = [&](ImportClass container, RememberedAnswer& kept,
                            int text) -> std::optional<ImportClass> {
        if (policy == ContainerPolicy::Always)
            return container;
        const Answer answer = kept.answer(
            messages, FormatText(text, messages.language(), NameForQuestion(NameOf(path))));
        if (answer == Answer::None)
            return std::nullopt;
        return answer == Answer::Yes || answer == Answer::YesToAll ? container : ImportClass::Plain;
    };
    if (IsMacBinaryFile(file))
        return settle(ImportClass::MacBinary, answers.macBinary, kTextMacBinary);
    if (IsBinHexFile(file))
        return settle(ImportClass::BinHex, answers.binHex, kTextBinHex);
    if (IsAppleSingleFile(file))
        return ImportClass::AppleSingle;
    // A companion that is a pipe would be waited for.
    if (PcFactsOf(SidecarPath(path)).kind == PcKind::File && IsAppleDoublePair(path))
        return ImportClass::AppleDouble;
    return HasNamedStreams(path) ? ImportClass::NamedStreams : ImportClass::Plain;
}

}  // namespace vellmark
