// The journal: opened, closed, emptied.
#pragma once

namespace vellmark {

class TVellmark;

void ShowJournalDialog(TVellmark& window);

}  // namespace vellmark
