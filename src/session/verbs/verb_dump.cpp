#include <algorithm>
#include <memory>

#include "inspect/data_segment.hpp"
#include "inspect/fork_page.hpp"
#include "inspect/fork_search.hpp"
#include "session/verbs/inspect_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "dump";
constexpr int kTextNoMatch = 3052;

struct DumpOptions {
    InspectOptions inspect;
    std::string count = "1";
    std::string base = "10";
    std::string table = "mac";
    std::string text;
    std::string digits;
    bool atStarts = false;
    bool raw = false;

    bool searches = false;

    [[nodiscard]] PageStyle style() const {
        return {base == "16" ? kHexadecimal : kDecimal, table == "dos" ? CharTable::Dos
                                                        : table == "windows"
                                                            ? CharTable::Windows
                                                            : CharTable::Macintosh};
    }
};

// The standard output as a target that is written from its start to its end.
class DumpSink final : public ByteSink {
  public:
    explicit DumpSink(ViewRun& run) : run_(run) {}
    [[nodiscard]] bool writeAt(std::uint64_t, std::span<const std::uint8_t> bytes) override {
        return run_.put({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }

  private:
    ViewRun& run_;
};

// What is to be looked for; nothing after a message.
std::optional<std::vector<std::uint8_t>> Wanted(InspectRun& inspect, const DumpOptions& options) {
    if (options.text.empty()) {
        if (const auto bytes = BytesOfHexDigits(options.digits))
            return std::vector<std::uint8_t>(bytes->begin(), bytes->end());
        inspect.run.problem(Reason(Sentence::kNoHexDigits, Printable(options.digits)));
        return std::nullopt;
    }
    auto bytes = BytesOfText(options.text, options.style().table);
    if (!bytes)
        inspect.run.problem(
            Reason(Sentence::kTextNotInTable, Printable(options.text), options.table));
    return bytes;
}

// The sector with the first match from that one on; nothing after a message.
std::optional<std::uint64_t> SectorOfMatch(InspectRun& inspect, const DumpOptions& options,
                                           std::uint64_t from) {
    const auto wanted = Wanted(inspect, options);
    if (!wanted)
        return std::nullopt;
    Terminal& terminal = inspect.run.terminal;
    const SearchResult found = SearchFork(
        *inspect.bytes.source, {*wanted, from * kSectorBytes, options.atStarts}, terminal.progress);
    terminal.progress.clear();
    switch (found.end) {
        case SearchEnd::Found:
            // Bytes as they are have no line of words among them.
            if (!options.raw)
                (void)inspect.run.put(
                    terminal.messages.words(Reason(
                        Sentence::kFoundAtByte, NumberText(found.offset, options.style().base))) +
                    "\n");
            return found.offset / kSectorBytes;
        case SearchEnd::NotFound:
            inspect.run.problem(Reason::Joined(
                {Reason(ToldText{kTextNoMatch}),
                 Reason::Plain(Printable(options.text.empty() ? options.digits : options.text))},
                ""));
            break;
        case SearchEnd::Stopped:
            inspect.run.problem(Sentence::kStoppedAsWished);
            break;
        case SearchEnd::Failed:
            inspect.run.problem(Reason(Sentence::kSectorNotThere, found.offset / kSectorBytes));
            break;
    }
    return std::nullopt;
}

bool PutPage(InspectRun& inspect, std::uint64_t sector, const DumpOptions& options) {
    const PageStyle style = options.style();
    const ForkPage page = ReadPage(*inspect.bytes.source, sector, style);
    if (page.lines.empty()) {
        inspect.run.problem(Reason(Sentence::kSectorNotThere, sector));
        return false;
    }
    const auto placed = inspect.bytes.imageSector(sector);
    std::string text =
        inspect.run.terminal.messages.words(
            placed && options.inspect.hasPath
                ? Reason(Sentence::kPageOfFork, NumberText(sector, style.base),
                         NumberText(page.offset(), style.base), NumberText(*placed, style.base))
                : Reason(Sentence::kPageOfImage, NumberText(sector, style.base),
                         NumberText(page.offset(), style.base))) +
        '\n';
    for (const std::string& line : page.lines)
        text += line + '\n';
    return inspect.run.put(text);
}

// The first number that is not asked for any more; nothing after a message.
std::optional<std::uint64_t> EndOf(InspectRun& inspect, const DumpOptions& options,
                                   std::uint64_t first) {
    const std::uint64_t all = LastSector(*inspect.bytes.source) + 1;
    if (options.count == "all")
        return all;
    const auto count = TypedNumber(options.count);
    if (!count)
        return std::nullopt;
    return first + std::min(*count, all - first);
}

int Dump(const DumpOptions& options, CommandContext& context) {
    if (!options.text.empty() && !options.digits.empty())
        return UsageError(context, kName, Sentence::kSearchTextOrDigits);
    if (options.count != "all" && !TypedNumber(options.count))
        return UsageError(context, kName, Reason(Sentence::kNoCount, Printable(options.count)));
    const StopSignals signals;
    InspectRun inspect(context, false);
    if (!inspect.open(options.inspect, false))
        return kExitFailed;
    auto first = inspect.sectorOf(options.inspect.sector);
    if (first && options.searches)
        first = SectorOfMatch(inspect, options, *first);
    const auto end = first ? EndOf(inspect, options, *first) : std::nullopt;
    if (!end)
        return kExitFailed;
    if (options.raw) {
        if (*end == *first)
            return inspect.run.exitStatus();
        DumpSink sink(inspect.run);
        Progress silent;
        if (SaveSegment(*inspect.bytes.source,
                        SegmentOfSectors(*inspect.bytes.source, *first, *end - 1), sink, 0,
                        silent) == SegmentEnd::ReadFailed)
            inspect.run.problem(Reason(Sentence::kSectorNotThere, *first));
        return inspect.run.exitStatus();
    }
    for (std::uint64_t sector = *first; sector < *end; ++sector)
        if (!PutPage(inspect, sector, options))
            break;
    return inspect.run.exitStatus();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<DumpOptions>();
    const Option path = AddInspectOptions(arguments, options->inspect, Sentence::kHelpInspectPath);
    arguments.add("-s,--sector", options->inspect.sector, Sentence::kHelpSector).showDefault();
    arguments.add("-n,--count", options->count, Sentence::kHelpSectorCount).showDefault();
    arguments.add("--base", options->base, Sentence::kHelpBase).oneOf({"10", "16"}).showDefault();
    arguments.add("--table", options->table, Sentence::kHelpTable)
        .oneOf({"mac", "windows", "dos"})
        .showDefault();
    const Option text = arguments.add("--search", options->text, Sentence::kHelpSearchText);
    const Option digits = arguments.add("--search-hex", options->digits, Sentence::kHelpSearchHex);
    arguments.flag("--at-start", options->atStarts, Sentence::kHelpAtStart);
    arguments.flag("--raw", options->raw, Sentence::kHelpRaw);
    run = [options, path, text, digits](CommandContext& context) {
        options->inspect.hasPath = path.wasGiven();
        options->searches = text.wasGiven() || digits.wasGiven();
        return Dump(*options, context);
    };
}

}  // namespace

const Verb kVerbDump = {kName, "", Sentence::kSummaryDump,
                        "vellmark dump photos.iso \"Holiday/Day 1\" --sector 3 --base 16", SetUp};

}  // namespace vellmark
