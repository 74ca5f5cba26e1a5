#include "compiler/compile_journal.hpp"

#include <array>
#include <string_view>

namespace vellmark {

namespace {

constexpr int kStepLevel = 1;

constexpr std::string_view kNone;
constexpr std::string_view kIsoFile = "==>Creating the ISO file./Création du fichier ISO.";
constexpr std::string_view kHfsFile = "==>Creating the HFS file./Création du fichier HFS.";
constexpr std::string_view kHfsPlusFile = "==>Creating the HFS+ file./Création du fichier HFS+.";
constexpr std::string_view kIso = "==>Computing the ISO catalog./Calcul du catalogue ISO";
constexpr std::string_view kHfs = "==>Computing the HFS catalog./Calcul du catalogue HFS";
constexpr std::string_view kHfsPlus = "==>Computing the HFS+ catalog./Calcul du catalogue HFS+";
constexpr std::string_view kTables = "==>Creating the temp files./Création des fichiers temp.";
constexpr std::string_view kHybridImage =
    "==>Creating the hybrid image./Création de l'image hybride.";
constexpr std::string_view kIsoImage = "==>Creating the ISO image./Création de l'image ISO.";
constexpr std::string_view kHfsImage = "==>Creating the HFS image./Création de l'image HFS.";
constexpr std::string_view kHfsPlusImage = "==>Creating the HFS+ image./Création de l'image HFS+.";
constexpr std::string_view kFolder =
    "==>Entry point of creation_volume./Point d'entrée de creation_volume.";
constexpr std::string_view kCopyHfs =
    "==>Copying the temp. HFS files./Copie des fichiers temp. HFS";
constexpr std::string_view kCopyIso =
    "==>Copying the temp. ISO files./Copie des fichiers temp. ISO.";
// Beside HFS+ the two differ by a point alone.
constexpr std::string_view kCopyHfsPlus = "==>Copying the temp files./Copie des fichiers temp.";
constexpr std::string_view kCopyIsoBesideHfsPlus =
    "==>Copying the temp. files./Copie des fichiers temp.";

// A row for each step, in their order; a column for each mode, in theirs: hybrid HFS, hybrid HFS+,
// ISO+, pure ISO, pure HFS, pure HFS+.
using Columns = std::array<std::string_view, 6>;
constexpr Columns kLines[] = {
    {kIsoFile, kIsoFile, kIsoFile, kIsoFile, kHfsFile, kHfsPlusFile},
    {kIso, kIso, kIso, kIso, kNone, kNone},
    {kHfs, kHfsPlus, kNone, kNone, kHfs, kHfsPlus},
    {kTables, kTables, kTables, kTables, kNone, kNone},
    {kHybridImage, kHybridImage, kIsoImage, kIsoImage, kHfsImage, kHfsPlusImage},
    {kFolder, kFolder, kFolder, kFolder, kFolder, kFolder},
    {kCopyHfs, kCopyHfsPlus, kNone, kNone, kCopyHfs, kCopyHfsPlus},
    {kCopyIso, kCopyIsoBesideHfsPlus, kCopyIso, kCopyIso, kNone, kNone},
};

}  // namespace

void JournalStep(const CompileContext& context, CompileStep step) {
    const std::string_view line =
        kLines[static_cast<std::size_t>(step)][static_cast<std::size_t>(context.mode)];
    if (!line.empty())
        context.progress.journal(kStepLevel, line);
}

}  // namespace vellmark
