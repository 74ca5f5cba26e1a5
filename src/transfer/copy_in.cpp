#include "transfer/copy_in.hpp"

#include <algorithm>

#include "containers/mac_binary.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "transfer/import_batch.hpp"
#include "transfer/import_folder.hpp"
#include "transfer/import_source.hpp"
#include "volume/edit_result.hpp"
#include "volume/file_store.hpp"

namespace vellmark {

namespace {

constexpr int kTextCopyOf = 1123;
constexpr int kTextNoContainer = 1158;
constexpr int kTextTooFragmented = 1159;
constexpr int kTextReplace = 1161;

constexpr std::string_view kVolumeIconName = ".VolumeIcon.icns";
constexpr std::string_view kFolderIconName = "Icon\r";

bool HasNoSignature(const FinderInfo& finder) {
    return std::all_of(finder.signature.begin(), finder.signature.end(),
                       [](char c) { return c == '\0'; });
}

bool KeepsDates(ImportClass importClass) {
    return importClass == ImportClass::MacBinary || importClass == ImportClass::BinHex;
}

/// One file on its way.
class FileImport {
  public:
    FileImport(CopyIn& batch, const std::string& path, const PcFacts& facts, std::uint32_t folderId)
        : batch_(batch), path_(path), facts_(facts), folderId_(folderId) {}

    [[nodiscard]] CopyInResult run();

  private:
    [[nodiscard]] CopyInResult copy();
    [[nodiscard]] std::optional<CopyInResult> openSource(PcFile file);
    [[nodiscard]] bool becomesFont();
    [[nodiscard]] Reason openForks(PcFile file);
    [[nodiscard]] bool acceptsDamage();
    void tellPlain(const Reason& wrong);
    [[nodiscard]] NewFile describe();
    [[nodiscard]] FinderInfo finderInfo() const;
    void setDates(NewFile& file) const;
    [[nodiscard]] std::optional<CatalogName> name();
    [[nodiscard]] CopyInResult putCustomIcon(NewFile file);
    [[nodiscard]] CopyInResult store(NewFile file);
    [[nodiscard]] std::optional<CopyInResult> settleExisting(NewFile& file);
    [[nodiscard]] CopyInResult leaveThere(EditResult reason, const NewFile& file);
    [[nodiscard]] CopyInResult resultOf(StoreResult result, const NewFile& file);

    CopyIn& batch_;
    const std::string& path_;
    PcFacts facts_;
    std::uint32_t folderId_;
    ImportClass class_ = ImportClass::Plain;
    ImportSource source_;
    bool isNameChanged_ = false;
};

CopyInResult FileImport::run() {
    const CopyInResult result = copy();
    // A wish to stop ends a question too, and looks like an answer there.
    return result == CopyInResult::LeftOut && !batch_.progress.mayGoOn() ? CopyInResult::Stopped
                                                                         : result;
}

CopyInResult FileImport::copy() {
    if (const Reason refusal = RefusalOf(batch_, path_, facts_))
        return LeaveOut(batch_, path_, refusal);
    PcFile opened(path_, PcFile::Mode::Read);
    if (!opened.isOpen())
        return LeaveOut(batch_, path_, Unreadable(opened.error()));
    const std::optional<ImportClass> found =
        ClassifyPcFile(opened, batch_.options.containers, batch_.answers, batch_.messages);
    if (!found)
        return LeaveOut(batch_, path_, Sentence::kNobodySaidTakeApart);
    // What could not be read may have been the head of a container.
    if (opened.error() != 0)
        return LeaveOut(batch_, path_, Unreadable(opened.error()));
    class_ = *found;
    if (!becomesFont())
        return LeaveOut(batch_, path_, Sentence::kNobodySaidConvert);
    if (batch_.options.mode == CopyMode::MacBinary && !KeepsDates(class_))
        return LeaveOut(batch_, path_, Reason::Told(kTextNoContainer, Printable(path_)));
    const bool isCut =
        class_ == ImportClass::Plain && batch_.options.containers != ContainerPolicy::Never &&
        ContainerOf(opened) == ContainerKind::MacBinary && !IsMacBinaryFile(opened) &&
        ReadMacBinary(opened).fault != ContainerFault::None;
    if (const auto end = openSource(std::move(opened)))
        return *end;
    if (isCut)
        tellPlain(FaultProblem(ContainerFault::DataForkCut));
    NewFile file = describe();
    if (KeepsDates(class_) && IsCustomIconFile(source_.info()))
        return putCustomIcon(std::move(file));
    std::optional<CatalogName> fileName = name();
    if (!fileName)
        return LeaveOut(batch_, path_, Sentence::kNameGotNoShorter);
    file.name = std::move(*fileName);
    return store(std::move(file));
}

// False when a person was asked whether the font is converted and gave no answer. What a file is
// by its bytes or its companion goes before its name.
bool FileImport::becomesFont() {
    const ImportClass font = FontByName(path_);
    const bool isOther = class_ != ImportClass::Plain && class_ != ImportClass::NamedStreams;
    if (font == ImportClass::Plain || isOther || batch_.options.mode == CopyMode::MacBinary)
        return true;
    const auto converts = ConvertsFont(batch_.options.fonts, PcNameOfPath(path_),
                                       batch_.answers.font, batch_.messages);
    if (converts && *converts)
        class_ = font;
    return converts.has_value();
}

Reason FileImport::openForks(PcFile file) {
    if (class_ != ImportClass::PostScriptFont && class_ != ImportClass::TrueTypeFont)
        return source_.open(std::move(file), class_, batch_.options.mode == CopyMode::ResourceFork,
                            batch_.temporary, batch_.progress);
    return source_.openFont(std::move(file), class_, batch_.nextFontId);
}

// Nothing when the source is open and may be used.
std::optional<CopyInResult> FileImport::openSource(PcFile file) {
    const Reason problem = openForks(std::move(file));
    if (source_.stopped())
        return CopyInResult::Stopped;
    // A device that fails is no damage of the container, and the file is not a plain one for it.
    if (source_.readError() != 0)
        return LeaveOut(batch_, path_, Unreadable(source_.readError()));
    const Reason wrong = problem ? problem : source_.damage();
    // A text that only quotes the first line of BinHex has nothing that could be taken.
    const bool isQuote = class_ == ImportClass::BinHex && !source_.isContainer();
    if (!wrong || (!problem && !isQuote && acceptsDamage()))
        return std::nullopt;
    if (class_ == ImportClass::Plain || source_.isContainer() ||
        batch_.options.mode == CopyMode::MacBinary)
        return LeaveOut(batch_, path_, wrong);
    class_ = ImportClass::Plain;
    source_.becomePlain(batch_.options.mode == CopyMode::ResourceFork);
    tellPlain(wrong);
    return std::nullopt;
}

// The file itself is copied, which is named all the same.
void FileImport::tellPlain(const Reason& wrong) {
    ++batch_.itemsLeftOut;
    batch_.messages.itemNoted(Printable(path_), Reason(Sentence::kCopiedAsPlain, wrong));
}

bool FileImport::acceptsDamage() {
    if (batch_.options.containers == ContainerPolicy::Always) {
        batch_.messages.showTimedMessage(
            Reason(Sentence::kTakesWhatIsThere, Printable(path_), source_.damage()));
        return true;
    }
    return batch_.messages.askYesNo(
        Reason(Sentence::kAsksWhatIsThere, Printable(path_), source_.damage()));
}

NewFile FileImport::describe() {
    NewFile file;
    file.parentId = folderId_;
    file.finder = finderInfo();
    setDates(file);
    file.data = &source_.data();
    file.resource = &source_.resource();
    file.hasSourceChanged = [this] { return source_.hasChanged(); };
    return file;
}

FinderInfo FileImport::finderInfo() const {
    FinderInfo finder = source_.info().finder;
    const std::string pcName = PcNameOfPath(path_);
    const bool isPcFile = class_ == ImportClass::Plain || class_ == ImportClass::NamedStreams;
    if (isPcFile && pcName.starts_with('.'))
        finder.flags = static_cast<std::uint16_t>(finder.flags | kFinderInvisible);
    if (!KeepsDates(class_) && HasNoSignature(finder)) {
        const std::string signature = batch_.signatures.SignatureOf(Utf8ToNarrow(pcName));
        std::copy_n(signature.begin(), std::min(signature.size(), finder.signature.size()),
                    finder.signature.begin());
    }
    if (batch_.options.type)
        std::copy(batch_.options.type->begin(), batch_.options.type->end(),
                  finder.signature.begin());
    if (batch_.options.creator)
        std::copy(batch_.options.creator->begin(), batch_.options.creator->end(),
                  finder.signature.begin() + 4);
    return finder;
}

// MacBinary has local time. No creation date there means now, no other one the creation date.
void FileImport::setDates(NewFile& file) const {
    const VolumeContext& volume = *batch_.volume;
    if (!KeepsDates(class_)) {
        file.created = file.modified = VolumeDate(volume, facts_.modified, batch_.clock);
        return;
    }
    const auto ofVolume = [&](MacSeconds local) {
        return local == 0 || !volume.isHfsPlus ? local
                                               : ToMacGmt(FromMacLocal(local, batch_.clock));
    };
    const MacFileInfo& info = source_.info();
    file.created =
        info.created != 0 ? ofVolume(info.created) : MacDateNow(batch_.clock, volume.isHfsPlus);
    file.modified = info.modified != 0 ? ofVolume(info.modified) : file.created;
}

std::optional<CatalogName> FileImport::name() {
    std::optional<ImportedName> imported =
        ImportContainerName(batch_.volume, source_.info().name, PcNameOfPath(path_), folderId_,
                            batch_.options.truncation, batch_.messages, batch_.clock);
    if (!imported)
        return std::nullopt;
    isNameChanged_ = imported->isChanged;
    return std::move(imported->name);
}

CopyInResult FileImport::putCustomIcon(NewFile file) {
    file.finder.flags = static_cast<std::uint16_t>(file.finder.flags | kFinderInvisible);
    if (folderId_ == kRootFolderId) {
        file.name = NameFromMacRoman(batch_.volume, kVolumeIconName).value_or(CatalogName{});
        if (const CopyInResult result = store(file); result != CopyInResult::Done)
            return result;
    }
    file.name = NameFromMacRoman(batch_.volume, kFolderIconName).value_or(CatalogName{});
    const CopyInResult result = store(std::move(file));
    if (result != CopyInResult::Done)
        return result;
    return MarkCustomIcon(batch_.volume, folderId_) == TreeResult::Done
               ? CopyInResult::Done
               : EndBatch(batch_, path_, Sentence::kCatalogOfVolumeDamaged);
}

CopyInResult FileImport::store(NewFile file) {
    if (IsEmptyName(batch_.volume, file.name))
        return LeaveOut(batch_, path_, Sentence::kNoNameLeft);
    if (const auto end = settleExisting(file))
        return *end;
    const std::uint64_t bytes = source_.sizeBytes();
    batch_.progress.text(batch_.messages.words(
        Reason::Told(kTextCopyOf, Printable(path_), ShownIn(batch_, file.name))));
    batch_.progress.fileStart(Printable(path_), bytes, 0);
    const StoreResult stored = AddFileToCatalog(batch_.volume, file, batch_.clock, batch_.progress);
    if (stored == StoreResult::Done) {
        ++batch_.filesCopied;
        batch_.bytesCopied += bytes;
        // The number of a font that was kept out is still to be had.
        if (class_ == ImportClass::TrueTypeFont)
            batch_.nextFontId = FontIdAfter(batch_.nextFontId);
        if (isNameChanged_)
            TellChangedName(batch_, path_, file.name);
    }
    return resultOf(stored, file);
}

// Nothing when the file may go there; what it is to replace is then noted in it.
std::optional<CopyInResult> FileImport::settleExisting(NewFile& file) {
    std::optional<CatalogItem> there;
    const TreeResult found = FindNamed(batch_.volume, folderId_, file.name, batch_.clock, there);
    if (found != TreeResult::Done)
        return EndBatch(batch_, path_, CatalogProblem(found, Sentence::kPlaceWhereFileGoes));
    if (!there)
        return std::nullopt;
    const std::string shown = ShownIn(batch_, file.name);
    if (there->isFolder)
        return LeaveOut(batch_, path_, Reason(Sentence::kFolderIsCalledSo, shown));
    if (there->id >= batch_.firstNewId)
        return LeaveOut(batch_, path_, Reason(Sentence::kAnotherGotName, shown));
    if (batch_.options.existing == ExistingFiles::Keep)
        return LeaveOut(batch_, path_,
                        Reason(Sentence::kExistsAlready, shown, batch_.options.keptHint));
    if (batch_.options.existing == ExistingFiles::Ask &&
        !batch_.answers.replace.ask(batch_.messages,
                                    batch_.messages.words(Reason::Told(kTextReplace, shown)))) {
        ++batch_.itemsLeftOut;
        return CopyInResult::LeftOut;
    }
    file.replaced = std::move(there);
    return std::nullopt;
}

// The file that is there already cannot go.
CopyInResult FileImport::leaveThere(EditResult reason, const NewFile& file) {
    return LeaveOut(batch_, path_, EditProblem(reason, ShownIn(batch_, file.name)));
}

CopyInResult FileImport::resultOf(StoreResult result, const NewFile& file) {
    switch (result) {
        case StoreResult::Done:
            if (source_.hasChanged())
                (void)LeaveOut(batch_, path_, Sentence::kMixedContents);
            return batch_.progress.fileEnd(0) ? CopyInResult::Done : CopyInResult::Stopped;
        case StoreResult::Exists:
            return LeaveOut(batch_, path_,
                            Reason(Sentence::kExistsAlready, ShownIn(batch_, file.name), ""));
        case StoreResult::NoRoom:
            return EndForRoom(batch_, path_,
                              (file.data != nullptr ? file.data->size() : 0) +
                                  (file.resource != nullptr ? file.resource->size() : 0));
        case StoreResult::TooFragmented:
            return LeaveOut(batch_, path_, ToldText{kTextTooFragmented});
        case StoreResult::FolderFull:
            return LeaveOut(batch_, path_, Sentence::kFolderFull);
        case StoreResult::ForkTooLong:
            return LeaveOut(batch_, path_, Sentence::kForkTooLongForHfs);
        case StoreResult::SourceFailed:
            return LeaveOut(batch_, path_, Sentence::kNotReadWhole);
        case StoreResult::SourceChanged:
            return LeaveOut(batch_, path_, Sentence::kChangedWhileCopied);
        case StoreResult::TargetFailed:
            return EndBatch(batch_, path_, Sentence::kImageNotWritten);
        case StoreResult::Protected:
            return leaveThere(EditResult::Protected, file);
        case StoreResult::Attributes:
            return leaveThere(EditResult::Attributes, file);
        case StoreResult::Damaged:
            return EndBatch(batch_, path_,
                            CatalogProblem(TreeResult::Damaged, Sentence::kPlaceWhereFileGoes));
        case StoreResult::Stopped:
            return CopyInResult::Stopped;
    }
    return CopyInResult::BatchEnds;
}

}  // namespace

CopyInResult CopyFileIn(CopyIn& batch, const std::string& path, const PcFacts& facts,
                        std::uint32_t folderId) {
    return FileImport(batch, path, facts, folderId).run();
}

CopyInResult CopyItemIn(CopyIn& batch, const std::string& path, std::uint32_t folderId) {
    const PcFacts facts = PcFactsOf(path);
    return facts.kind == PcKind::Folder ? CopyFolderIn(batch, path, folderId)
                                        : CopyFileIn(batch, path, facts, folderId);
}

}  // namespace vellmark
