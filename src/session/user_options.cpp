#include "session/user_options.hpp"

#include "compiler/automatic_label.hpp"
#include "session/session_state.hpp"
#include "support/sentences.hpp"

namespace vellmark {

UserOptions OptionsOf(const Settings& settings, Language language) {
    const bool shortens = settings.has(kVlShortenNames);
    const bool opensRoot = settings.has(kVlOpenRoot);
    return {
        .newProject = {.openRoot = opensRoot,
                       .rebuild = settings.has(kVlRebuild),
                       .isHfsPlus = settings.has(kVlNewHfsPlus),
                       .label = UntitledLabel(language)},
        .shortenInViews = {shortens, shortens, shortens},
        .backsUpProjects = !settings.has(kVlNoBackup),
        .shortensImported = settings.has(kOptionShortenImported),
        .addsCrc = settings.has(kOptionAddedCrc),
        .naming = {NamingPolicyOf(settings.options), settings.extension,
                   settings.has(kOptionExtendUnknown)},
        .choseNaming = (settings.options & kOptionNamingMask) != 0,
        .deletesSilently = settings.has(kOptionDeleteSilently),
        .opensRoot = opensRoot,
    };
}

UserOptions OptionsOf(const CommandContext& context) {
    return OptionsOf(context.session ? context.session->settings : Settings{}, context.language);
}

ExistingFiles ExistingFilesOf(bool force, const CommandContext& context) {
    return force ? ExistingFiles::Replace : context.asks ? ExistingFiles::Ask : ExistingFiles::Keep;
}

FontPolicy FontPolicyOf(std::string_view word, const CommandContext& context) {
    if (word == "yes" || word == "no")
        return word == "yes" ? FontPolicy::Always : FontPolicy::Never;
    return context.asks ? FontPolicy::Ask : FontPolicy::Never;
}

CopyOutOptions CopyOutOptionsOf(const CommandContext& context) {
    const UserOptions user = OptionsOf(context);
    const bool canAsk = user.naming.policy != NamingPolicy::Ask || context.asks;
    CopyOutOptions copy;
    copy.naming = user.naming;
    if (!user.choseNaming || !canAsk)
        copy.naming.policy = NamingPolicy::Catalog;
    copy.fonts = FontPolicyOf("", context);
    copy.existing = ExistingFilesOf(false, context);
    copy.keptHint = Sentence::kForceHint;
    return copy;
}

CopyInOptions CopyInOptionsOf(const CommandContext& context) {
    const UserOptions user = OptionsOf(context);
    return {.fonts = FontPolicyOf("", context),
            .firstFontId = context.settings ? NextFontId(*context.settings) : kFirstFontId,
            .existing = ExistingFilesOf(false, context),
            .keptHint = Sentence::kForceHint,
            .truncation = {.automatic = user.shortensImported,
                           .addsCrc = user.addsCrc || !context.asks,
                           .asks = context.asks}};
}

void KeepFontIds(const CopyIn& batch, const CommandContext& context) {
    if (context.settings && batch.nextFontId != batch.options.firstFontId)
        KeepNextFontId(batch.nextFontId, *context.settings);
}

ProjectDefaults NewProjectDefaults(const CommandContext& context, ProjectMode mode) {
    ProjectDefaults defaults = OptionsOf(context).newProject;
    if (mode == ProjectMode::IsoPlus)
        defaults.isHfsPlus = false;
    return defaults;
}

}  // namespace vellmark
