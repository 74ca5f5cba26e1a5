// The lines that a compile writes to a journal: what it does, in both languages at once.
#pragma once

#include "compiler/compile_context.hpp"

namespace vellmark {

/// The steps of a compile in their order.
enum class CompileStep {
    CreateFile,
    ComputeIso,    ///< sizes of the ISO and Joliet tables
    ComputeHfs,    ///< the catalog
    CreateTables,  ///< temporary files for the ISO and Joliet tables
    CreateImage,   ///< map and descriptors; the folders follow
    EnterFolder,   ///< a line for each folder, before its files
    WriteVolume,   ///< headers, bitmap and trees of the Macintosh side
    WriteTables    ///< the ISO and Joliet tables, out of their temporary files
};

/// Writes the line of a step, as the kind of the image has it; nothing for one that it lacks.
void JournalStep(const CompileContext& context, CompileStep step);

}  // namespace vellmark
