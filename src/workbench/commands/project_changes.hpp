// Changes of the open project: each is one operation of the engine, written and shown afterwards.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "project/refresh.hpp"
#include "project/view_names.hpp"
#include "support/progress.hpp"

namespace vellmark {

class TVellmark;

void AddToProject(TVellmark& window, const std::vector<std::string>& paths);
void DeleteFromProject(TVellmark& window, const std::vector<std::int32_t>& numbers);
void MoveInProject(TVellmark& window, const std::vector<std::int32_t>& numbers);
void RenameInProject(TVellmark& window, std::int32_t number, const QString& name);
void MakeProjectFolder(TVellmark& window, const std::string& name);

/// Takes differences between the project and the disk over; those that it was done with.
[[nodiscard]] std::vector<ProjectChange> AcceptDifferences(
    TVellmark& window, const std::vector<ProjectChange>& differences);
/// Makes an item come from another place; false after a message.
[[nodiscard]] bool ReplaceItemSource(TVellmark& window, std::int32_t number,
                                     const std::string& path);

/// Runs a change of the project, which is kept where it says that there is something to keep. The
/// window looks at nothing of it meanwhile: a change may ask a question in its middle.
void ChangeProjectFile(TVellmark& window, const std::function<bool(Progress& progress)>& change);

/// For which views names are shortened without a question, now and until the program ends.
[[nodiscard]] TruncationAnswers& NameAnswers(TVellmark& window);

/// Writes what was changed in the project, and shows it.
void KeepProject(TVellmark& window);
/// Within a job: takes back what a change that ended half-way has done, as half a change is nothing
/// that anybody asked for. Not where the file lacks what was done before, which would go too.
void TakeBack(TVellmark& window);

}  // namespace vellmark
