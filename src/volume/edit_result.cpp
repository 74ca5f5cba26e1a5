#include "volume/edit_result.hpp"

#include <fmt/core.h>

namespace vellmark {

namespace {

constexpr int kTextCatalogFull = 1080;
constexpr int kTextIntoItself = 1407;

}  // namespace

EditResult ToEditResult(TreeResult result) {
    switch (result) {
        case TreeResult::Done:
            return EditResult::Done;
        case TreeResult::Exists:
            return EditResult::Exists;
        case TreeResult::Missing:
            return EditResult::Missing;
        case TreeResult::Full:
            return EditResult::Full;
        case TreeResult::FolderFull:
            return EditResult::FolderFull;
        case TreeResult::Damaged:
            return EditResult::Damaged;
        case TreeResult::Failed:
            break;
    }
    return EditResult::Failed;
}

std::string EditSentence(EditResult result, std::string_view item, Language language) {
    switch (result) {
        case EditResult::Done:
        case EditResult::Declined:
        case EditResult::Stopped:
            return {};
        case EditResult::Missing:
            return fmt::format("The volume has no {}.", item);
        case EditResult::Exists:
            return fmt::format("The folder has an item {} already.", item);
        case EditResult::IntoItself:
            return FormatText(kTextIntoItself, language, std::string(item));
        case EditResult::BadName:
            return fmt::format(
                "{} is no name that this volume can have: it is too long, or has "
                "characters that the volume's format lacks.",
                item);
        case EditResult::Protected:
            return fmt::format(
                "{} is a hard link or a compressed file of a later system, which is not changed.",
                item);
        case EditResult::Attributes:
            return fmt::format(
                "{} has extended attributes of a later system, which would be left "
                "behind without it.",
                item);
        case EditResult::Overflow:
            return fmt::format("{} is too fragmented for that.", item);
        case EditResult::Full:
            return fmt::format("{}: {}", item, Text(kTextCatalogFull, language));
        case EditResult::FolderFull:
            return fmt::format("{}: {}", item, kFolderFullSentence);
        case EditResult::Damaged:
            return fmt::format("{}: the volume's catalog is damaged there; nothing was changed.",
                               item);
        case EditResult::Failed:
            break;
    }
    return fmt::format("{}: the image cannot be read or written.", item);
}

}  // namespace vellmark
