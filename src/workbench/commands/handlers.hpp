// What the commands do. Each is one call of an operation, with what it needs from the person before
// it and what it shows afterwards.
#pragma once

namespace vellmark {

class TVellmark;

// document_commands.cpp
void NewDocument(TVellmark& window);
void OpenDocument(TVellmark& window);
void SaveDocument(TVellmark& window);
void SaveDocumentAs(TVellmark& window);
void CloseDocument(TVellmark& window);
void ShowDocumentProperties(TVellmark& window);
void EditLabel(TVellmark& window);
void PrintList(TVellmark& window);
void Quit(TVellmark& window);

// compile_command.cpp
void CompileOrAbort(TVellmark& window);

// item_commands.cpp
void DeleteSelected(TVellmark& window);
void RenameSelected(TVellmark& window);
void ShowItemProperties(TVellmark& window);
void MakeNewFolder(TVellmark& window);
void Paste(TVellmark& window);
void SelectAll(TVellmark& window);
void InvertSelection(TVellmark& window);
void SearchItems(TVellmark& window);

// contents_command.cpp
void ShowContents(TVellmark& window);

// project_commands.cpp
void RebuildProject(TVellmark& window);
void HideExtensionsOfAll(TVellmark& window);

// refresh_commands.cpp
void RefreshProject(TVellmark& window);
void ChangePathsOfProject(TVellmark& window);
void ReplaceSignatureOfFiles(TVellmark& window);

// volume_commands.cpp
void CopySelectedOut(TVellmark& window);
void CopyFilesIn(TVellmark& window);
void SwapSelectedForks(TVellmark& window);
void JoinVolume(TVellmark& window);
void SplitImage(TVellmark& window);

// signatures/
void EditSignatures(TVellmark& window);
void ManageSignatureKey(TVellmark& window);

// layout/
void ShowLayoutEditor(TVellmark& window);

// dialogs/file_types_dialog.cpp
void ManageFileTypes(TVellmark& window);

// view_commands.cpp
void ChooseProjectMode(TVellmark& window);
void ChoosePartitionMode(TVellmark& window);
void ChooseIsoPlusMode(TVellmark& window);
void ChooseNextMode(TVellmark& window);
void ViewIso(TVellmark& window);
void ViewHybrid(TVellmark& window);
void ViewHfs(TVellmark& window);
void ViewNext(TVellmark& window);
void ToggleToolBar(TVellmark& window);
void CopyDataFork(TVellmark& window);
void CopyResourceFork(TVellmark& window);
void CopyMacBinary(TVellmark& window);
void CopyAppleDouble(TVellmark& window);
void CopyAppleSingle(TVellmark& window);
void SpeakEnglish(TVellmark& window);
void SpeakFrench(TVellmark& window);
void ManageJournal(TVellmark& window);
void LaunchFileManager(TVellmark& window);
void LaunchIconComposer(TVellmark& window);
void ShowParent(TVellmark& window);
void ShowAgain(TVellmark& window);
void ShowHelp(TVellmark& window);
void ShowModeHelp(TVellmark& window);
void ShowHelpOnHelp(TVellmark& window);
void ShowHelpIndex(TVellmark& window);
void SearchInHelp(TVellmark& window);
void ShowSupport(TVellmark& window);
void ShowAbout(TVellmark& window);

// settings_commands.cpp
void EditPreferences(TVellmark& window);
void EditColumns(TVellmark& window);

[[nodiscard]] bool IsProjectMode(const TVellmark& window);
[[nodiscard]] bool IsPartitionMode(const TVellmark& window);
[[nodiscard]] bool IsIsoPlusMode(const TVellmark& window);
[[nodiscard]] bool IsIsoView(const TVellmark& window);
[[nodiscard]] bool IsHybridView(const TVellmark& window);
[[nodiscard]] bool IsHfsView(const TVellmark& window);
[[nodiscard]] bool IsToolBarHidden(const TVellmark& window);
[[nodiscard]] bool IsDataForkMode(const TVellmark& window);
[[nodiscard]] bool IsResourceForkMode(const TVellmark& window);
[[nodiscard]] bool IsMacBinaryMode(const TVellmark& window);
[[nodiscard]] bool IsAppleDoubleMode(const TVellmark& window);
[[nodiscard]] bool IsAppleSingleMode(const TVellmark& window);
[[nodiscard]] bool IsEnglish(const TVellmark& window);
[[nodiscard]] bool IsFrench(const TVellmark& window);
[[nodiscard]] bool IsJournalOpen(const TVellmark& window);

}  // namespace vellmark
