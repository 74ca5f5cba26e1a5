// The folder that is shown, on paper.
#pragma once

namespace vellmark {

class TVellmark;

/// Asks for a printer and prints the list as a table, as many pages as it takes.
void PrintFolder(TVellmark& window);

}  // namespace vellmark
