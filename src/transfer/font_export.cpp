#include "transfer/font_export.hpp"

#include <string_view>
#include <utility>
#include <vector>

#include "containers/container_kind.hpp"
#include "containers/fonts/pfm_file.hpp"
#include "containers/fonts/true_type_font.hpp"
#include "containers/fonts/type1_font.hpp"
#include "containers/names.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "support/watched_source.hpp"
#include "transfer/export_batch.hpp"
#include "transfer/font_policy.hpp"

namespace vellmark {

namespace {

constexpr int kTextNoFonts = 1126;
constexpr int kTextCreating = 1127;

constexpr std::string_view kPrinterFont = "LWFN";
constexpr std::string_view kSuitcases[] = {"tfil", "FFIL"};
constexpr std::string_view kTrueType = "sfnt";
constexpr std::string_view kPrinterFile = ".pfb";
constexpr std::string_view kMetrics = ".pfm";
constexpr std::string_view kTrueTypeFile = ".ttf";
/// What names of files on a PC do not have.
constexpr std::string_view kPcForbiddenChars = "/\\|:<>*?\"";

enum class FontFile { None, Printer, Suitcase };

FontFile KindOf(const CatalogItem& item) {
    const std::string_view type(item.signature.data(), 4);
    if (item.isFolder || item.isCompressed)
        return FontFile::None;
    if (type == kPrinterFont)
        return FontFile::Printer;
    return type == kSuitcases[0] || type == kSuitcases[1] ? FontFile::Suitcase : FontFile::None;
}

std::string GivenName(const CopyOut& batch, const std::string& target) {
    const bool isGiven =
        batch.options.naming.policy == NamingPolicy::Ask || target == batch.namedTarget;
    return isGiven ? target.substr(target.rfind('/') + 1) : std::string{};
}

/// One font file on its way.
class FontExport {
  public:
    FontExport(CopyOut& batch, const CatalogItem& item, const std::string& path,
               const std::string& target, ByteSource& fork)
        : batch_(batch),
          item_(item),
          path_(path),
          own_(target),
          folder_(target.substr(0, target.rfind('/') + 1)),
          given_(GivenName(batch, target)),
          fork_(fork),
          tree_(WalkResourceMap(fork, 0)) {}

    [[nodiscard]] CopyOutResult run(FontFile kind) {
        if (tree_.problem)
            skip(tree_.problem);
        splitGiven(kind);
        if (const auto end = kind == FontFile::Printer ? takePrinterFont() : takeSuitcase())
            return *end;
        return isWhole_ ? CopyOutResult::Done : CopyOutResult::LeftOut;
    }

  private:
    using End = std::optional<CopyOutResult>;

    void skip(const Reason& reason) {
        (void)LeaveOut(batch_, path_, reason);
        isWhole_ = false;
    }
    void skipWithoutFonts() {
        isWhole_ = false;
        ++batch_.itemsLeftOut;
        if (!batch_.hidesNoFonts)
            batch_.hidesNoFonts = batch_.messages.showRememberable(
                batch_.messages.words(Reason::Told(kTextNoFonts, ShownPath(path_))));
    }
    void splitGiven(FontFile kind) {
        if (FontByName(given_) != (kind == FontFile::Printer ? ContainerKind::PostScriptFont
                                                             : ContainerKind::TrueTypeFont))
            return;
        const std::size_t end = given_.size() - kTrueTypeFile.size();
        givenEnd_ = given_.substr(end);
        given_.resize(end);
    }
    // The second one of a file has a number in its name.
    [[nodiscard]] std::string targetOf(const std::string& name, std::string_view extension,
                                       unsigned number = 1) const {
        const std::string end = (number == 1 ? "" : "-" + std::to_string(number));
        if (given_.empty())
            return folder_ +
                   PcFileName(ReplaceChars(name + end, kPcForbiddenChars).append(extension));
        return folder_ + given_ + end +
               std::string(givenEnd_.empty() || extension == kMetrics ? extension : givenEnd_);
    }
    [[nodiscard]] bool claim(const std::string& target) {
        const bool isOwn = target == own_ && !std::exchange(isOwnUsed_, true);
        return isOwn || batch_.targets.claim(target);
    }
    template <typename IsTaken>
    [[nodiscard]] unsigned freeNumber(const std::string& target, const IsTaken& isTaken);
    [[nodiscard]] End takePrinterFont();
    [[nodiscard]] End takeSuitcase();
    [[nodiscard]] End takeTrueType(ByteSource& font);
    [[nodiscard]] End write(const std::string& target, ByteSource& font,
                            const std::string& companion, std::span<const std::uint8_t> beside);

    CopyOut& batch_;
    const CatalogItem& item_;
    const std::string& path_;
    std::string own_;       ///< the target of the file itself, claimed for it
    std::string folder_;    ///< with `/` at its end, or empty
    std::string given_;     ///< the name that a person chose; empty for none
    std::string givenEnd_;  ///< its extension, if it is that of the font
    bool isOwnUsed_ = false;
    bool isGivenUsed_ = false;
    ByteSource& fork_;
    ResourceTree tree_;
    bool isWhole_ = true;
};

FontExport::End FontExport::write(const std::string& target, ByteSource& font,
                                  const std::string& companion,
                                  std::span<const std::uint8_t> beside) {
    if (const auto refused = RefuseTargets(batch_, path_, target, companion)) {
        isWhole_ = false;
        return *refused == CopyOutResult::LeftOut ? End() : *refused;
    }
    if (!HasRoom(batch_, target, font.size() + beside.size()))
        return EndWithoutRoom(batch_);
    const std::string told = batch_.messages.words(Reason::Told(kTextCreating, Printable(target)));
    batch_.progress.text(told);
    batch_.messages.log(2, told);
    batch_.progress.fileStart(ShownPath(path_), font.size(), 0);
    WatchedSource watched(font, batch_.progress);
    const bool replaces = PcTargets::exists(target) || PcTargets::exists(companion);
    const End end = WriteOut(
        batch_, path_, {target, companion, replaces, GivenDate(item_.modified)},
        [&](PcFile& file, PcFile* second) -> Reason {
            const ContainerFault fault = CopyFork(watched, file, 0);
            if (fault == ContainerFault::None && second != nullptr)
                (void)second->writeAt(0, beside);
            return FormProblem(fault);
        },
        [&] { return watched.stopped(); });
    if (!end)
        return batch_.progress.fileEnd(0) ? End() : CopyOutResult::Stopped;
    isWhole_ = false;
    return *end == CopyOutResult::LeftOut ? End() : *end;
}

// Of two fonts with one name both are kept.
template <typename IsTaken>
unsigned FontExport::freeNumber(const std::string& target, const IsTaken& isTaken) {
    // A name that was chosen is not given up for another.
    if (!given_.empty() && !std::exchange(isGivenUsed_, true))
        return 1;
    unsigned& last = batch_.fontNumbers[target];
    do
        ++last;
    while (isTaken(last));
    return last;
}

FontExport::End FontExport::takePrinterFont() {
    Result<std::optional<PiecedSource>> pfb = PfbOf(fork_, tree_);
    if (!pfb) {
        skip(pfb.error());
        return std::nullopt;
    }
    if (!*pfb) {
        skipWithoutFonts();
        return std::nullopt;
    }
    const std::string text = ClearTextOfPfb(**pfb);
    const std::string name = FontNameOfType1(text);
    if (name.empty()) {
        skip(Sentence::kFontNoName);
        return std::nullopt;
    }
    const std::optional<std::vector<std::uint8_t>> metrics = PfmOf(text, name);
    // What was there before is no other font of this batch.
    const auto isGone = [&](const std::string& target) {
        return batch_.targets.refusalOf(target).sentence() == Sentence::kPcTargetSameName ||
               !claim(target);
    };
    const unsigned number = freeNumber(targetOf(name, kPrinterFile), [&](unsigned each) {
        return isGone(targetOf(name, kPrinterFile, each)) ||
               (metrics && isGone(targetOf(name, kMetrics, each)));
    });
    const std::string companion = metrics ? targetOf(name, kMetrics, number) : std::string{};
    return write(targetOf(name, kPrinterFile, number), **pfb, companion,
                 metrics ? *metrics : std::vector<std::uint8_t>{});
}

FontExport::End FontExport::takeTrueType(ByteSource& font) {
    const std::string name = FontNameOfTrueType(font);
    if (name.empty()) {
        skip(Sentence::kFontNoName);
        return std::nullopt;
    }
    const std::uint64_t leftOut = batch_.itemsLeftOut;
    const auto isTaken = [&](unsigned each) {
        const std::string target = targetOf(name, kTrueTypeFile, each);
        const bool stays =
            PcTargets::exists(target) &&
            (batch_.options.existing != ExistingFiles::Replace || batch_.targets.refusalOf(target));
        return stays || !claim(target);
    };
    const unsigned number = freeNumber(targetOf(name, kTrueTypeFile), isTaken);
    const End end = write(targetOf(name, kTrueTypeFile, number), font, {}, {});
    // Where the chosen name is not to be had, the others of its file do not come without it.
    const bool isRefused = !given_.empty() && batch_.itemsLeftOut > leftOut;
    return !end && isRefused ? CopyOutResult::LeftOut : end;
}

FontExport::End FontExport::takeSuitcase() {
    bool hasFonts = false;
    std::uint64_t bytes = 0;
    for (const ResourceType& type : tree_.types) {
        if (std::string_view(type.letters.data(), type.letters.size()) != kTrueType)
            continue;
        for (const Resource& resource : type.resources) {
            hasFonts = true;
            bytes += resource.length;
            SliceSource font = resource.contents(fork_);
            // More than the fork has: resources share their bytes.
            if (!resource.isWhole || bytes > fork_.size())
                skip(Sentence::kFontCut);
            else if (const End end = takeTrueType(font))
                return end;
        }
    }
    if (!hasFonts)
        skipWithoutFonts();
    return std::nullopt;
}

}  // namespace

std::optional<CopyOutResult> CopyFontOut(CopyOut& batch, const CatalogItem& item,
                                         const std::string& path, const std::string& target) {
    const FontFile kind = KindOf(item);
    if (kind == FontFile::None)
        return std::nullopt;
    const auto converts =
        ConvertsFont(batch.options.fonts, item.name, batch.fontAnswer, batch.messages);
    if (!converts)
        return LeaveOut(batch, path, Sentence::kNobodySaidConvert);
    if (!*converts)
        return std::nullopt;
    const Result<OpenForks> forks = OpenFormForks(batch.volume, item, CopyMode::ResourceFork);
    if (!forks)
        return LeaveOut(batch, path, forks.error());
    return FontExport(batch, item, path, target, *forks->resource).run(kind);
}

}  // namespace vellmark
