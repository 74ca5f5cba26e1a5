#include "session/signature_file.hpp"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "session/session_state.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr int kTextSelectSigFile = 1312;
constexpr std::uint64_t kMostBytes = 1 << 20;  // two sections of full lines and many comments
constexpr std::string_view kSigExtension = ".SIG";

// Digital signatures bear the same extension: they are binary, or hold no entry. An entry has a
// comma and eight characters behind it.
bool IsSigText(std::string_view bytes) {
    if (bytes.find('\0') != bytes.npos)
        return false;
    const SignatureTable table = SignatureTable::Parse(bytes, false);
    return std::ranges::any_of(table.rows().subspan(1), [](const SignatureRow& row) {
        return row.extension != " " && row.signature.size() == 8;
    });
}

std::vector<std::string> SigFilesHere() {
    std::vector<std::string> names;
    std::string ignored;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(".", error)) {
        std::string name = entry.path().filename().string();
        if (!AsciiUpper(name).ends_with(kSigExtension) || PcFactsOf(name).kind != PcKind::File)
            continue;
        const auto bytes = ReadSigFile(name, ignored);
        if (bytes && IsSigText(*bytes))
            names.push_back(std::move(name));
    }
    std::ranges::sort(names);
    return names;
}

// The name of the file to take from the current folder, "" for none.
std::string ChosenHere(TerminalMessages& messages) {
    const std::vector<std::string> names = SigFilesHere();
    if (names.size() < 2)
        return names.empty() ? "" : names.front();
    const auto choice = messages.askChoice(messages.text(kTextSelectSigFile), names);
    return choice ? names[*choice] : "";
}

std::optional<std::string> RegisteredBytes(CommandContext& context, TerminalMessages& messages) {
    const std::string path = OpenRegisteredSigFile(context.session->store);
    if (path.empty())
        return std::nullopt;
    std::string reason;
    auto bytes = ReadSigFile(path, reason);
    if (!bytes)
        FileOpenError(messages, path, reason);
    return bytes;
}

}  // namespace

std::string OpenRegisteredSigFile(const SettingsStore& store) {
    return store.read(setting::kSignatures).value_or("");
}

std::string RegisterSigFile(SettingsStore& store, const std::string& path) {
    std::error_code error;
    const std::filesystem::path full = std::filesystem::absolute(path, error);
    return error ? error.message() : store.write(setting::kSignatures, full.string());
}

std::optional<std::string> ReadSigFile(const std::string& path, std::string& reason) {
    const PcFacts facts = PcFactsOf(path);
    if (facts.kind == PcKind::Folder || facts.kind == PcKind::Special) {
        reason = "It is no file";
        return std::nullopt;
    }
    if (facts.sizeBytes > kMostBytes) {
        reason = "It is too large for a signature table";
        return std::nullopt;
    }
    PcFile file(path, PcFile::Mode::Read);
    std::string bytes(static_cast<std::size_t>(facts.sizeBytes), '\0');
    if (file.isOpen())
        bytes.resize(file.readAt(0, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
    if (file.error() == 0)
        return bytes;
    reason = file.errorText();
    return std::nullopt;
}

SignatureTable LoadSignatureTable(CommandContext& context, TerminalMessages& messages) {
    const bool french = messages.language() == Language::French;
    if (const auto bytes = RegisteredBytes(context, messages))
        return SignatureTable::Parse(*bytes, french);
    std::string reason;
    if (const std::string name = ChosenHere(messages); !name.empty())
        if (const auto bytes = ReadSigFile(name, reason)) {
            // What cannot be kept is looked for again next time.
            (void)RegisterSigFile(context.session->store, name);
            return SignatureTable::Parse(*bytes, french);
        }
    for (const std::string& path : context.shippedSignatures)
        if (const auto bytes = ReadSigFile(path, reason))
            return SignatureTable::Parse(*bytes, french);
    return {};
}

const SignatureTable& SignaturesOf(CommandContext& context, TerminalMessages& messages) {
    std::optional<SignatureTable>& kept = context.session->signatures;
    if (!kept)
        kept = LoadSignatureTable(context, messages);
    return *kept;
}

SignatureLookup SignatureLookupOf(CommandContext& context, TerminalMessages& messages) {
    const SignatureTable& table = SignaturesOf(context, messages);
    return [&table](std::string_view name) { return table.SignatureOf(name); };
}

}  // namespace vellmark
