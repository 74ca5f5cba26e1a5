#include "session/signature_file.hpp"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "session/session_state.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextSelectSigFile = 1312;
constexpr std::uint64_t kMostBytes = 1 << 20;  // two sections of full lines and many comments
constexpr std::string_view kSigExtension = ".SIG";

std::vector<std::string> SigFilesHere() {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(".", error)) {
        std::string name = entry.path().filename().string();
        if (!AsciiUpper(name).ends_with(kSigExtension) || PcFactsOf(name).kind != PcKind::File)
            continue;
        const Result<std::string> bytes = ReadSigFile(name);
        // Digital signatures bear the same extension.
        if (bytes && bytes->find('\0') == bytes->npos && HasSignatures(*bytes))
            names.push_back(std::move(name));
    }
    std::ranges::sort(names);
    return names;
}

// The name of the file to take from the current folder, "" for none.
std::string ChosenHere(Messages& messages) {
    const std::vector<std::string> names = SigFilesHere();
    if (names.size() < 2)
        return names.empty() ? "" : names.front();
    const auto choice = messages.askChoice(messages.text(kTextSelectSigFile), names);
    return choice ? names[*choice] : "";
}

std::optional<std::string> RegisteredBytes(CommandContext& context, Messages& messages) {
    const std::string path = OpenRegisteredSigFile(context.session->store);
    return path.empty() ? std::nullopt : ReadSigFile(path, messages);
}

}  // namespace

std::string OpenRegisteredSigFile(const SettingsStore& store) {
    return store.read(setting::kSignatures).value_or("");
}

bool HasSignatures(std::string_view bytes) {
    constexpr std::size_t kSignatureBytes = 8;
    const SignatureTable table = SignatureTable::Parse(bytes, false);
    return std::ranges::any_of(table.rows().subspan(1), [](const SignatureRow& row) {
        return row.extension.find(' ') == std::string::npos &&
               row.signature.size() == kSignatureBytes;
    });
}

Reason RegisterSigFile(SettingsStore& store, const std::string& path) {
    std::error_code error;
    const std::filesystem::path full = std::filesystem::absolute(path, error);
    return error ? Reason(SystemError{error.value()})
                 : store.write(setting::kSignatures, full.string());
}

bool RegisterSignatures(SettingsStore& store, const std::string& path, Messages& messages) {
    const auto bytes = ReadSigFile(path, messages);
    if (!bytes)
        return false;
    if (!HasSignatures(*bytes)) {
        messages.showMessage(Reason(Sentence::kSigNoEntry, Printable(path)));
        return false;
    }
    const Reason reason = RegisterSigFile(store, path);
    if (reason)
        messages.showMessage(Reason(Sentence::kSettingNotKept, reason));
    return !reason;
}

Result<std::string> ReadSigFile(const std::string& path) {
    const PcFacts facts = PcFactsOf(path);
    if (facts.kind == PcKind::Folder || facts.kind == PcKind::Special)
        return Failed(Sentence::kSignaturesNoFile);
    if (facts.sizeBytes > kMostBytes)
        return Failed(Sentence::kSignaturesTooLarge);
    PcFile file(path, PcFile::Mode::Read);
    std::string bytes(static_cast<std::size_t>(facts.sizeBytes), '\0');
    if (file.isOpen())
        bytes.resize(file.readAt(0, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
    if (file.error() != 0)
        return Failed(SystemError{file.error()});
    return bytes;
}

std::optional<std::string> ReadSigFile(const std::string& path, Messages& messages) {
    Result<std::string> bytes = ReadSigFile(path);
    if (bytes)
        return std::move(*bytes);
    FileOpenError(messages, path, bytes.error());
    return std::nullopt;
}

SignatureTable LoadSignatureTable(CommandContext& context, Messages& messages) {
    const bool french = messages.language() == Language::French;
    if (const auto bytes = RegisteredBytes(context, messages))
        return SignatureTable::Parse(*bytes, french);
    if (const std::string name = ChosenHere(messages); !name.empty())
        if (const auto bytes = ReadSigFile(name)) {
            // What cannot be kept is looked for again next time.
            (void)RegisterSigFile(context.session->store, name);
            return SignatureTable::Parse(*bytes, french);
        }
    for (const std::string& folder : context.shippedFolders)
        if (const auto bytes = ReadSigFile(folder + "default.sig"))
            return SignatureTable::Parse(*bytes, french);
    return {};
}

const SignatureTable& SignaturesOf(CommandContext& context, Messages& messages) {
    std::optional<SignatureTable>& kept = context.session->signatures;
    if (!kept)
        kept = LoadSignatureTable(context, messages);
    return *kept;
}

SignatureLookup SignatureLookupOf(CommandContext& context, Messages& messages) {
    const SignatureTable& table = SignaturesOf(context, messages);
    return [&table](std::string_view name) { return table.SignatureOf(name); };
}

}  // namespace vellmark
