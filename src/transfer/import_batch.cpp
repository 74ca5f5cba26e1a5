#include "transfer/import_batch.hpp"

#include <fmt/core.h>

#include <filesystem>
#include <system_error>

#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "transfer/import_source.hpp"
#include "volume/room_remark.hpp"

namespace vellmark {

namespace {

constexpr int kTextNoRoom = 1073;

constexpr int kTextCopied = 1122;

constexpr std::uint64_t kMegabyte = 1024 * 1024;

std::uint32_t NextId(const VolumeContext& volume) {
    return volume.isHfsPlus ? volume.vhb.nextCatalogId : volume.mdb.nextCatalogId;
}

PcFacts FactsOfOwn(const std::string& path) {
    return path.empty() ? PcFacts{} : PcFactsOf(path);
}

bool IsFile(const PcFacts& own, const PcFacts& facts) {
    return facts.kind == PcKind::File && own.kind == PcKind::File && facts.device == own.device &&
           facts.inode == own.inode;
}

}  // namespace

CopyIn::CopyIn(WritableVolume& openVolume, CopyInOptions copyOptions,
               const SignatureTable& signatureTable, Messages& partner, Progress& watcher,
               const Clock& zone)
    : volume(openVolume),
      options(std::move(copyOptions)),
      signatures(signatureTable),
      messages(partner),
      progress(watcher),
      clock(zone),
      nextFontId(options.firstFontId),
      image(FactsOfOwn(options.imagePath)),
      journal(FactsOfOwn(options.journalPath)),
      firstNewId(NextId(openVolume)) {
    options.truncation.replaces = options.existing == ExistingFiles::Replace;
    options.truncation.firstNewId = firstNewId;
}

CopyInResult EndForRoom(CopyIn& batch, const std::string& path, std::uint64_t wantedBytes) {
    return EndBatch(
        batch, path,
        Reason::Joined({ToldText{kTextNoRoom}, RoomRemark(batch.volume, wantedBytes)}, "\n"));
}

CopyInResult LeaveOut(CopyIn& batch, const std::string& path, const Reason& reason) {
    ++batch.itemsLeftOut;
    batch.messages.itemSkipped(Printable(path), reason);
    return CopyInResult::LeftOut;
}

CopyInResult EndBatch(CopyIn& batch, const std::string& path, const Reason& reason) {
    (void)LeaveOut(batch, path, reason);
    return CopyInResult::BatchEnds;
}

std::string PcNameOfPath(const std::string& path) {
    std::string name = std::filesystem::path(path).filename().string();
    if (!name.empty() && name != "." && name != "..")
        return name;
    std::error_code error;
    return std::filesystem::canonical(path, error).filename().string();
}

bool IsJournal(const CopyIn& batch, const PcFacts& facts) {
    return IsFile(batch.journal, facts);
}

Reason RefusalOf(const CopyIn& batch, const std::string& path, const PcFacts& facts) {
    if (facts.kind == PcKind::Missing)
        return facts.isLink ? Sentence::kLinkLeadsNowhere : Sentence::kPcNotFound;
    if (facts.kind == PcKind::Special)
        return Sentence::kSpecialFile;
    if (IsFile(batch.image, facts))
        return Sentence::kImageItself;
    if (IsJournal(batch, facts))
        return Sentence::kOpenJournalItself;
    if (facts.kind == PcKind::Folder)
        if (const int error = ReadRefusal(path); error != 0)
            return Unreadable(error);
    return {};
}

std::string ShownIn(const CopyIn& batch, const CatalogName& name) {
    return Printable(ShownName(batch.volume, name));
}

void TellChangedName(CopyIn& batch, const std::string& path, const CatalogName& name) {
    batch.messages.nameChanged(
        Printable(path),
        fmt::format("{} \"{}\"", batch.volume->isHfsPlus ? "HFS+" : "HFS", ShownIn(batch, name)));
}

Reason CopiedText(const CopyIn& batch) {
    const std::uint64_t thousandths = batch.bytesCopied % kMegabyte * 1000 / kMegabyte;
    return Reason::Told(kTextCopied, batch.filesCopied, batch.bytesCopied / kMegabyte, thousandths);
}

}  // namespace vellmark
