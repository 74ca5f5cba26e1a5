// What the verbs that look into images share: the choice of a tree, results that a reader may stop
// reading, and the way from what went wrong to an exit status.
#pragma once

#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "reading/tree_search.hpp"
#include "session/command_context.hpp"
#include "session/options.hpp"
#include "session/terminal.hpp"

namespace vellmark {

struct ViewOptions {
    std::string image;
    std::string as;                     ///< keyword of a tree; empty for all
    std::optional<unsigned> partition;  ///< for the Macintosh tree, from 1
};

/// Declares IMAGE, `--partition` and `--as`, whose meaning without it is `otherwise`.
void AddViewOptions(OptionSet& arguments, ViewOptions& options, Sentence otherwise);

/// One run of such a verb.
struct ViewRun {
    ViewRun(CommandContext& commandContext, bool quiet)
        : context(commandContext), terminal(commandContext, TerminalOptionsOf(context, quiet)) {}

    /// Opens the image and settles the trees that are asked for. False after a message.
    [[nodiscard]] bool open(const ViewOptions& options);
    /// What the path names in each of the trees that has it. When none has it, or one is damaged on
    /// the way, a message says so and the run fails.
    [[nodiscard]] std::vector<FoundEntry> find(const std::string& path);
    /// A sentence about something damaged: the run goes on and fails at its end.
    void problem(const Reason& reason);
    /// Writes a part of the result. False when nobody reads it any more or it cannot be written.
    [[nodiscard]] bool put(std::string_view text);
    /// Writes a value as JSON (session/json_text.hpp).
    void putJson(const nlohmann::ordered_json& value);
    [[nodiscard]] int exitStatus() const;

    CommandContext& context;
    Terminal terminal;
    std::optional<PlainImage> image;  ///< what is opened in place of the image that was named
    std::unique_ptr<ImageView> view;
    std::vector<TreeView*> trees;
    bool failed = false;
    bool leftOut = false;  ///< items, after a message for each
};

/// `iso: LABEL (ISO 9660)`.
[[nodiscard]] std::string TreeHeading(const TreeFacts& facts);
/// `2026-11-21 10:46`, in UTC; `-` for none.
[[nodiscard]] std::string DateText(const std::optional<UnixSeconds>& date);
/// `2026-11-21T10:46:05Z`, or null.
[[nodiscard]] nlohmann::ordered_json DateJson(const std::optional<UnixSeconds>& date);
/// The keys that say which tree it is: `tree`, `format`, `label`.
[[nodiscard]] nlohmann::ordered_json TreeJson(const TreeFacts& facts);

}  // namespace vellmark
