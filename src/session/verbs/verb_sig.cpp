#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <memory>

#include "session/session_state.hpp"
#include "session/signature_file.hpp"
#include "session/user_options.hpp"
#include "session/verbs/image_verbs.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "sig";
constexpr std::size_t kCodeBytes = 4;

struct SigOptions {
    std::vector<std::string> names;
    std::string type;
    std::string creator;
    std::string file;
    std::string registered;
    bool list = false;
    bool json = false;
};

// A row that answers for `subject`, which is empty where the table itself is shown.
struct Found {
    std::string subject;
    const SignatureRow* row;
};

std::string PartOf(const SignatureRow& row, std::size_t at) {
    return NarrowToUtf8(
        std::string_view(row.signature).substr(std::min(at, row.signature.size()), kCodeBytes));
}

nlohmann::ordered_json RowJson(const Found& found) {
    nlohmann::ordered_json json;
    if (!found.subject.empty())
        json["name"] = found.subject;
    json["extension"] = NarrowToUtf8(found.row->extension);
    json["type"] = PartOf(*found.row, 0);
    json["creator"] = PartOf(*found.row, kCodeBytes);
    json["comment"] = NarrowToUtf8(found.row->comment);
    return json;
}

std::string RowLine(const Found& found) {
    const std::string comment = NarrowToUtf8(found.row->comment);
    return fmt::format(
        "{:<4}  {:<9}{}{}{}{}\n", Printable(NarrowToUtf8(found.row->extension)),
        Printable(fmt::format("{:4}/{:4}", PartOf(*found.row, 0), PartOf(*found.row, kCodeBytes))),
        comment.empty() ? "" : "  ", Printable(comment), found.subject.empty() ? "" : "  ",
        Printable(found.subject));
}

// Four bytes of a table; shorter codes are filled with blanks. Nothing when it is too long.
std::optional<std::string> CodeOf(const std::string& text) {
    std::string code = Utf8ToNarrow(text);
    if (code.empty() || code.size() > kCodeBytes)
        return std::nullopt;
    code.resize(kCodeBytes, ' ');
    return code;
}

// Type and creator; without --creator, eight letters of --type are both.
std::array<std::string, 2> CodesOf(const SigOptions& options) {
    const std::u16string type = Utf8ToWide(options.type);
    if (!options.creator.empty() || type.size() != 2 * kCodeBytes)
        return {options.type, options.creator};
    return {WideToUtf8(type.substr(0, kCodeBytes)), WideToUtf8(type.substr(kCodeBytes))};
}

// What speaks against the options.
Reason Refusal(const SigOptions& options) {
    const int jobs =
        !options.names.empty() + !options.type.empty() + options.list + !options.registered.empty();
    if (jobs != 1)
        return Sentence::kSigOneJob;
    if (!options.creator.empty() && options.type.empty())
        return Sentence::kSigCreatorAlone;
    for (const std::string& code : CodesOf(options))
        if (!code.empty() && !CodeOf(code))
            return Reason(Sentence::kSigCodeTooLong, Printable(code));
    return {};
}

std::vector<Found> Find(const SigOptions& options, const SignatureTable& table,
                        bool extendUnknown) {
    std::vector<Found> found;
    for (const std::string& name : options.names)
        found.push_back({name, &table.RowOfName(Utf8ToNarrow(name))});
    if (options.list)
        for (const SignatureRow& row : table.rows())
            found.push_back({{}, &row});
    if (!options.type.empty()) {
        const auto [type, creator] = CodesOf(options);
        const std::string signature = *CodeOf(type) + CodeOf(creator).value_or("");
        if (const SignatureRow* row = table.RowOfSignature(signature, extendUnknown))
            found.push_back({{}, row});
    }
    return found;
}

int Sig(const SigOptions& options, CommandContext& context) {
    const StopSignals signals;
    ViewRun run(context, false);
    if (const Reason refusal = Refusal(options))
        return UsageError(context, kName, refusal);
    if (!options.registered.empty())
        return RegisterSignatures(context.session->store, options.registered, run.terminal.messages)
                   ? kExitDone
                   : kExitFailed;
    SignatureTable given;
    if (!options.file.empty()) {
        const auto bytes = ReadSigFile(options.file, run.terminal.messages);
        if (!bytes)
            return kExitFailed;
        given = SignatureTable::Parse(*bytes, context.language == Language::French);
    }
    const SignatureTable& table =
        options.file.empty() ? SignaturesOf(context, run.terminal.messages) : given;
    const std::vector<Found> found = Find(options, table, OptionsOf(context).naming.extendsUnknown);
    if (found.empty())
        run.problem(Reason(Sentence::kSigNotFound,
                           Printable(options.type) +
                               (options.creator.empty() ? "" : "/" + Printable(options.creator))));
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (const Found& each : found)
        if (options.json)
            rows.push_back(RowJson(each));
        else if (!run.put(RowLine(each)))
            break;
    if (options.json)
        run.putJson({{"signatures", std::move(rows)}});
    return run.exitStatus();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<SigOptions>();
    arguments.add("NAME", options->names, Sentence::kHelpSigNames);
    arguments.add("-t,--type", options->type, Sentence::kHelpSigType);
    arguments.add("-c,--creator", options->creator, Sentence::kHelpSigCreator);
    arguments.flag("-l,--list", options->list, Sentence::kHelpSigList);
    arguments.add("--file", options->file, Sentence::kHelpSigFile);
    arguments.add("--register", options->registered, Sentence::kHelpSigRegister);
    arguments.flag(option::kJson, options->json);
    run = [options](CommandContext& context) { return Sig(*options, context); };
}

}  // namespace

const Verb kVerbSig = {kName, "", Sentence::kSummarySig, "vellmark sig photo.jpg letter.txt",
                       SetUp};

}  // namespace vellmark
