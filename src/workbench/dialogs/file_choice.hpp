// Which file or folder of the PC: the desktop's own dialogs, with the titles, filters and folders
// of each use.
#pragma once

#include <QString>
#include <optional>
#include <string>
#include <string_view>

#include "compiler/build_request.hpp"
#include "project/project_file.hpp"
#include "session/session.hpp"

class QWidget;

namespace vellmark {

class TVellmark;

/// Where a document is to be kept. That a file of that name is there is the asker's business.
[[nodiscard]] std::optional<std::string> AskDocumentPath(const PathRequest& request,
                                                         Language language, QWidget* owner);
/// Where the plain image of a compressed one is to be kept.
[[nodiscard]] std::optional<std::string> AskExpandedPath(std::string_view proposal,
                                                         Language language, QWidget* owner);
/// A document of the mode that is worked in.
[[nodiscard]] std::optional<std::string> AskFileToOpen(TVellmark& window);
/// The image to make of a project.
[[nodiscard]] std::optional<std::string> AskImageTarget(TVellmark& window,
                                                        const ProjectFile& project, ImageKind kind);
/// An ISO image that is there.
[[nodiscard]] std::optional<std::string> AskIsoImage(TVellmark& window);
/// `Name [*.a]|*.a;*.b|Other|*` as the toolkit's dialogs want filters.
[[nodiscard]] QString DialogFilter(std::string_view filter);

}  // namespace vellmark
