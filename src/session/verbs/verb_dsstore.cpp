#include <algorithm>
#include <charconv>
#include <filesystem>
#include <memory>

#include "containers/hfs_plus_name.hpp"
#include "containers/name_order.hpp"
#include "layout/background_alias.hpp"
#include "layout/binary_plist.hpp"
#include "layout/project_layout.hpp"
#include "project/project_properties.hpp"
#include "session/file_modes.hpp"
#include "session/json_text.hpp"
#include "session/project_options.hpp"
#include "session/terminal.hpp"
#include "session/verbs/verbs.hpp"
#include "support/backup_path.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/targets.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "dsstore";
constexpr int kTextBecomesHfsPlus = 1542;
constexpr int kMostPixels = 32767;

struct LayoutOptions {
    std::string project;
    std::string shown;
    std::string window;
    std::string iconSize;
    std::string textSize;
    std::string spacing;
    std::vector<std::string> background;  ///< the last one counts, "" for none
    std::vector<std::string> places;
    std::string target;
    bool force = false;
    bool json = false;
    bool quiet = false;

    [[nodiscard]] bool changes() const {
        return !window.empty() || !iconSize.empty() || !textSize.empty() || !spacing.empty() ||
               !background.empty() || !places.empty() || !target.empty() || force;
    }
};

std::string ShownName(const std::u16string& name) {
    return Printable(WideToUtf8(HfsPlusNameToWide(name)));
}

std::optional<int> WholeNumber(std::string_view text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number)
                                                                    : std::nullopt;
}

// Numbers with commas between them; nothing when there are others, or too large ones.
std::optional<std::vector<int>> NumbersOf(std::string_view text) {
    std::vector<int> numbers;
    while (true) {
        const std::size_t comma = std::min(text.find(','), text.size());
        const auto number = WholeNumber(text.substr(0, comma));
        if (!number || *number < 0 || *number > kMostPixels)
            return std::nullopt;
        numbers.push_back(*number);
        if (comma == text.size())
            return numbers;
        text.remove_prefix(comma + 1);
    }
}

// --- What a file says.

// The entries of a list as newer systems keep them; of bytes their number.
struct JsonOf {
    nlohmann::ordered_json operator()(const PlistValue::Bytes& bytes) const {
        return {{"sizeBytes", bytes.size()}};
    }
    nlohmann::ordered_json operator()(const PlistValue::List& list) const {
        auto json = nlohmann::ordered_json::array();
        for (const PlistValue& each : list)
            json.push_back(std::visit(*this, each.value));
        return json;
    }
    nlohmann::ordered_json operator()(const PlistValue::Entries& entries) const {
        auto json = nlohmann::ordered_json::object();
        for (const auto& [name, each] : entries)
            json[name] = std::visit(*this, each.value);
        return json;
    }
    nlohmann::ordered_json operator()(std::monostate) const { return nullptr; }
    template <typename Plain>
    nlohmann::ordered_json operator()(const Plain& value) const {
        return value;
    }
};

void PutJson(const std::vector<StoreRecord>& records, CommandContext& context) {
    const StoredLayout stored = LayoutOf(records);
    const DsStoreLayout& layout = stored.layout;
    // What the file does not say is null.
    nlohmann::ordered_json json = {
        {"window", nullptr}, {"iconSize", nullptr}, {"textSize", nullptr}, {"spacing", nullptr}};
    if (stored.hasWindow)
        json["window"] = {{"left", layout.left},
                          {"top", layout.top},
                          {"right", layout.right},
                          {"bottom", layout.bottom}};
    if (stored.hasIconSize)
        json["iconSize"] = kIconSizes[layout.iconSize];
    if (stored.hasSpacing)
        json["spacing"] = layout.spacing;
    if (stored.hasTexts)
        json["textSize"] = kTextSizes[layout.textSize];
    json["background"] = FileOfAlias(stored.background);
    json["icons"] = nlohmann::ordered_json::array();
    for (const PlacedItem& item : layout.items)
        json["icons"].push_back({{"name", ShownName(item.name)}, {"x", item.x}, {"y", item.y}});
    json["records"] = nlohmann::ordered_json::array();
    for (const StoreRecord& record : records) {
        json["records"].push_back({{"name", ShownName(record.name)},
                                   {"id", record.id},
                                   {"type", record.type},
                                   {"sizeBytes", record.value.size()}});
        if (const auto list = ReadBinaryPlist(record.value))
            json["records"].back()["list"] = std::visit(JsonOf(), list->value);
    }
    context.output << JsonText(json) << '\n';
}

void PutText(const std::vector<StoreRecord>& records, CommandContext& context) {
    const StoredLayout stored = LayoutOf(records);
    const DsStoreLayout& layout = stored.layout;
    const auto line = [&](const Reason& reason) {
        context.output << reason.words(context.language) << '\n';
    };
    if (stored.hasWindow)
        line(Reason(Sentence::kStoreWindow, layout.left, layout.top, layout.right, layout.bottom,
                    layout.width(), layout.height()));
    if (stored.hasIconSize)
        line(Reason(Sentence::kStoreIconSize, kIconSizes[layout.iconSize]));
    if (stored.hasSpacing)
        line(Reason(Sentence::kStoreSpacing, layout.spacing));
    if (stored.hasTexts)
        line(Reason(Sentence::kStoreTexts, kTextSizes[layout.textSize]));
    if (!stored.background.empty())
        line(Reason(Sentence::kStoreBackground, Printable(FileOfAlias(stored.background))));
    for (const PlacedItem& item : layout.items)
        line(Reason(Sentence::kStoreIcon, item.x, item.y, ShownName(item.name)));
    for (const StoreRecord& record : records) {
        line(Reason(Sentence::kStoreRecord, Printable(record.id), Printable(record.type),
                    record.value.size(), ShownName(record.name)));
        if (const auto list = ReadBinaryPlist(record.value))
            context.output << "  " << PlistText(*list) << '\n';
    }
}

int Show(const LayoutOptions& options, CommandContext& context) {
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    const auto records = ReadStoreFile(options.shown);
    if (!records) {
        terminal.messages.showError(
            Reason(Sentence::kNamed, Printable(options.shown), records.error()));
        return kExitFailed;
    }
    if (options.json)
        PutJson(*records, context);
    else
        PutText(*records, context);
    return kExitDone;
}

// --- What a project gets.

template <std::size_t kCount>
Reason TakeSize(const std::string& typed, std::string_view what,
                const std::array<int, kCount>& sizes, std::size_t& index) {
    if (typed.empty())
        return {};
    const auto number = WholeNumber(typed);
    const auto found = number ? std::find(sizes.begin(), sizes.end(), *number) : sizes.end();
    if (found == sizes.end())
        return Reason(Sentence::kNoSuchSize, Printable(typed), std::string(what));
    index = static_cast<std::size_t>(found - sizes.begin());
    return {};
}

// Window, sizes and spacing; a change of any puts the icons into their grid.
Reason TakeGeometry(const LayoutOptions& options, DsStoreLayout& layout) {
    if (!options.window.empty()) {
        const auto edges = NumbersOf(options.window);
        if (!edges || edges->size() != 4 || (*edges)[0] >= (*edges)[2] ||
            (*edges)[1] >= (*edges)[3])
            return Reason(Sentence::kNoWindowEdges, Printable(options.window));
        layout.left = (*edges)[0];
        layout.top = (*edges)[1];
        layout.right = (*edges)[2];
        layout.bottom = (*edges)[3];
    }
    constexpr std::array<int, kSpacings.size()> kSteps = {0, 1, 2, 3, 4, 5, 6, 7};
    for (Reason refusal : {TakeSize(options.iconSize, "--icon-size", kIconSizes, layout.iconSize),
                           TakeSize(options.textSize, "--text-size", kTextSizes, layout.textSize),
                           TakeSize(options.spacing, "--spacing", kSteps, layout.spacing)})
        if (refusal)
            return refusal;
    if (!options.window.empty() || !options.iconSize.empty() || !options.textSize.empty() ||
        !options.spacing.empty())
        PlaceIcons(layout);
    return {};
}

// By its name as the Macintosh has it, or as listings and the PC do, with a colon for a slash;
// without regard to case where none is just so.
PlacedItem* FindIcon(DsStoreLayout& layout, const std::string& typed) {
    std::u16string name = WideToHfsPlusName(Utf8ToWide(typed));
    std::replace(name.begin(), name.end(), u':', u'/');
    const auto same = [&](const PlacedItem& each) { return each.name == name; };
    const auto alike = [&](const PlacedItem& each) {
        return CompareHfsPlusNames(each.name, name) == 0;
    };
    auto item = std::find_if(layout.items.begin(), layout.items.end(), same);
    if (item == layout.items.end())
        item = std::find_if(layout.items.begin(), layout.items.end(), alike);
    return item == layout.items.end() ? nullptr : &*item;
}

Reason TakePlaces(const LayoutOptions& options, DsStoreLayout& layout) {
    for (const std::string& place : options.places) {
        const std::size_t sign = place.rfind('=');
        const auto numbers =
            sign == place.npos ? std::nullopt : NumbersOf(std::string_view(place).substr(sign + 1));
        if (!numbers || numbers->size() != 2)
            return Reason(Sentence::kNoIconPlace, Printable(place));
        PlacedItem* const item = FindIcon(layout, place.substr(0, sign));
        if (!item)
            return Reason(Sentence::kNoIconToPlace, Printable(place.substr(0, sign)));
        item->x = numbers->front();
        item->y = numbers->back();
    }
    return {};
}

int LayOut(const LayoutOptions& options, CommandContext& context) {
    if (ProjectModeOf(options.project) == ProjectMode::IsoPlus)
        return UsageError(context, kName, Sentence::kLayoutIsHybrid);
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    Messages& messages = terminal.messages;
    std::optional<ProjectFile> project;
    if (!OpenForChange(options.project, context, messages, project))
        return kExitFailed;
    if (!PropertiesOf(*project).isHfsPlus) {
        messages.showMessage(Reason::Told(kTextBecomesHfsPlus));
        if (const Reason refusal = ChangeProject(*project, {.isHfsPlus = true})) {
            messages.showMessage(refusal);
            return kExitFailed;
        }
    }
    ProjectLayout wanted = LayoutOfProject(*project, messages);
    Reason refusal = TakeGeometry(options, wanted.layout);
    if (!refusal)
        refusal = TakePlaces(options, wanted.layout);
    if (!options.background.empty()) {
        wanted.background = options.background.back();
        if (!refusal && !wanted.background.empty())
            refusal = BackgroundRefusal(wanted.background);
    }
    if (refusal) {
        messages.showMessage(refusal);
        return kExitFailed;
    }
    std::error_code ignored;
    const std::string target =
        std::filesystem::absolute(options.target.empty()
                                      ? WithExtension(project->path(), kStoreName.substr(1))
                                      : options.target,
                                  ignored)
            .string();
    for (const std::string& needed : {project->path(), wanted.background})
        if (AreSameFile(target, needed)) {
            messages.showMessage(Reason(Sentence::kStoreReplacesSource, Printable(target)));
            return kExitFailed;
        }
    // Nothing but an older layout gives way unasked.
    if (!MayMakeFile(target, options.force || ReadStoreFile(target).has_value(), messages))
        return kExitFailed;
    if (!SetLayout(*project, wanted, target, {messages, terminal.progress, context.clock}) ||
        !SaveWithBackup(*project, context, messages))
        return kExitFailed;
    if (!options.quiet)
        context.output << messages.words(Reason(Sentence::kLayoutDone, Printable(options.project),
                                                wanted.layout.items.size(), Printable(target)))
                       << '\n';
    return kExitDone;
}

int Run(const LayoutOptions& options, CommandContext& context) {
    if (options.shown.empty() == options.project.empty() ||
        (!options.shown.empty() && options.changes()) || (options.shown.empty() && options.json))
        return UsageError(context, kName, Sentence::kStoreOrProject);
    return options.shown.empty() ? LayOut(options, context) : Show(options, context);
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<LayoutOptions>();
    arguments.add("PROJECT", options->project, Sentence::kHelpLayoutProject);
    arguments.add("--show", options->shown, Sentence::kHelpShowStore);
    arguments.add("--window", options->window, Sentence::kHelpLayoutWindow);
    arguments.add("--icon-size", options->iconSize, Sentence::kHelpIconSize);
    arguments.add("--text-size", options->textSize, Sentence::kHelpTextSize);
    arguments.add("--spacing", options->spacing, Sentence::kHelpSpacing);
    arguments.add("--background", options->background, Sentence::kHelpBackground);
    arguments.add("--place", options->places, Sentence::kHelpPlace);
    arguments.add("-o,--output", options->target, Sentence::kHelpStoreTarget);
    arguments.flag(option::kForceFile, options->force);
    arguments.flag(option::kJson, options->json);
    arguments.flag(option::kQuiet, options->quiet);
    run = [options](CommandContext& context) { return Run(*options, context); };
}

}  // namespace

const Verb kVerbDsStore = {
    kName, "", Sentence::kSummaryDsStore,
    "vellmark dsstore disc.vlpr --background sea.jpg --place \"Read me=80,60\"", SetUp};

}  // namespace vellmark
