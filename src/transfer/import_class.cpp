#include "transfer/import_class.hpp"

#include "containers/mac_binary.hpp"
#include "support/pc_file.hpp"
#include "transfer/font_policy.hpp"

namespace vellmark {

namespace {

constexpr int kTextMacBinary = 1258;
constexpr int kTextBinHex = 1259;

std::string NameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

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
    const ContainerKind kind = ContainerOf(file);
    // The lengths of the header may go beyond the file, which makes it a plain one.
    if (kind == ContainerKind::MacBinary && IsMacBinaryFile(file))
        return settle(kind, answers.macBinary, kTextMacBinary);
    if (kind == ContainerKind::BinHex)
        return settle(kind, answers.binHex, kTextBinHex);
    return kind == ContainerKind::AppleSingle ? kind : ContainerBeside(path);
}

}  // namespace vellmark
