#include "session/verbs/image_verbs.hpp"

#include <fmt/core.h>

#include <cerrno>
#include <ostream>

#include "session/json_text.hpp"
#include "session/reading_ports.hpp"
#include "session/verbs/verbs.hpp"
#include "session/volume_options.hpp"
#include "support/encoding.hpp"
#include "support/mac_dates.hpp"
#include "support/sentences.hpp"

namespace vellmark {

void AddViewOptions(OptionSet& arguments, ViewOptions& options, Sentence otherwise) {
    arguments.add(option::kImage, options.image).required();
    arguments.add("-a,--as", options.as, Reason(Sentence::kHelpTree, otherwise))
        .oneOf({"iso", "joliet", "hfs"});
    AddPartitionNumber(arguments, options.partition);
}

bool ViewRun::open(const ViewOptions& options) {
    image = OpenPlainImage(options.image, Access::Read, context, terminal);
    if (image)
        view = ImageView::Open(*image, options.partition, context.clock, terminal.messages);
    if (!view)
        return false;
    std::string present;
    for (const auto& tree : view->trees()) {
        const std::string_view keyword = TreeKeyword(tree->facts().kind);
        present.append(present.empty() ? "" : ", ").append(keyword);
        if (options.as.empty() || options.as == keyword)
            trees.push_back(tree.get());
    }
    if (view->hasDamagedVolume() && (options.as.empty() || options.as == "hfs"))
        problem(Reason(Sentence::kVolumeIsDamaged, Printable(options.image)));
    else if (trees.empty())
        terminal.messages.showMessage(
            Reason(Sentence::kHasNoSuchTree, Printable(options.image), options.as, present));
    return !trees.empty();
}

void ViewRun::problem(const Reason& reason) {
    failed = true;
    terminal.messages.showMessage(reason);
}

bool ViewRun::put(std::string_view text) {
    errno = 0;
    context.output.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (!context.output.good() && context.outputError == 0)
        context.outputError = errno;
    return context.output.good() && !StopSignals::requested();
}

void ViewRun::putJson(const nlohmann::ordered_json& value) {
    (void)put(JsonText(value) + "\n");
}

int ViewRun::exitStatus() const {
    if (failed || StopSignals::requested())
        return kExitFailed;
    return leftOut ? kExitSkipped : kExitDone;
}

std::vector<FoundEntry> ViewRun::find(const std::string& path) {
    FoundEntries found = FindInTrees(trees, path, terminal.messages);
    failed = failed || found.hasFailed;
    return std::move(found.entries);
}

std::string TreeHeading(const TreeFacts& facts) {
    return fmt::format("{}: {} ({})", TreeKeyword(facts.kind), Printable(facts.label),
                       facts.format);
}

std::string DateText(const std::optional<UnixSeconds>& date) {
    if (!date)
        return "-";
    const CivilTime time = ToCivil(*date);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}", time.year, time.month, time.day, time.hour,
                       time.minute);
}

nlohmann::ordered_json DateJson(const std::optional<UnixSeconds>& date) {
    if (!date)
        return nullptr;
    const CivilTime time = ToCivil(*date);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", time.year, time.month, time.day,
                       time.hour, time.minute, time.second);
}

nlohmann::ordered_json TreeJson(const TreeFacts& facts) {
    return {{"tree", TreeKeyword(facts.kind)}, {"format", facts.format}, {"label", facts.label}};
}

}  // namespace vellmark
