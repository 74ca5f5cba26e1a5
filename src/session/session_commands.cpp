#include "session/session_commands.hpp"

#include <algorithm>
#include <iterator>

namespace vellmark {

namespace {

/// What must be so.
enum Need : unsigned {
    kOpen = 1,       ///< a document of the mode
    kNamed = 2,      ///< no project without a name
    kWritable = 4,   ///< no image that may only be read
    kNoCompile = 8,  ///< none runs
};

struct Row {
    SessionCommand command;
    const char* modes;  ///< P Project, V Partition, I ISO+
    unsigned needs;
};

constexpr Row kRows[] = {
    {SessionCommand::New, "PVI", kNoCompile},
    {SessionCommand::Open, "PVI", kNoCompile},
    {SessionCommand::Close, "PVI", kOpen | kNoCompile},
    {SessionCommand::SaveAs, "PVI", kOpen | kWritable | kNoCompile},
    {SessionCommand::Save, "PVI", kOpen | kNamed | kWritable | kNoCompile},
    {SessionCommand::Properties, "PVI", kOpen | kNoCompile},
    {SessionCommand::Label, "PVI", kOpen | kWritable | kNoCompile},
    {SessionCommand::Compile, "PI", kOpen | kNoCompile},
    {SessionCommand::Join, "V", kOpen},
    {SessionCommand::Split, "V", 0},
    {SessionCommand::Layout, "P", kOpen | kNoCompile},
    {SessionCommand::Refresh, "PI", kOpen | kNoCompile},
    {SessionCommand::Rebuild, "PI", kOpen | kNoCompile},
    {SessionCommand::HideExtensions, "P", kOpen | kNoCompile},
    {SessionCommand::ReplaceSignature, "PI", kOpen | kNoCompile},
    {SessionCommand::ChangePaths, "PI", kOpen | kNoCompile},
    {SessionCommand::ChooseView, "P", 0},
    {SessionCommand::CopyOut, "V", kOpen},
    {SessionCommand::CopyIn, "V", kOpen | kWritable},
    {SessionCommand::ChooseCopyMode, "V", 0},
    {SessionCommand::SwapForks, "V", kOpen | kWritable},
    {SessionCommand::ShowContents, "V", kOpen},
    // Something dropped where no project is open makes one.
    {SessionCommand::Drop, "PI", kNoCompile},
    {SessionCommand::Drop, "V", kOpen | kWritable},
    {SessionCommand::Rename, "PVI", kOpen | kWritable | kNoCompile},
    {SessionCommand::Delete, "PVI", kOpen | kWritable | kNoCompile},
    {SessionCommand::MakeFolder, "PVI", kOpen | kWritable | kNoCompile},
    {SessionCommand::Search, "PVI", kOpen},
};

const Row* RowOf(FileMode mode, SessionCommand command) {
    if (mode == FileMode::Unknown)
        return nullptr;
    const char letter = "PVI"[static_cast<int>(mode)];
    const Row* row = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& each) {
        return each.command == command &&
               std::string_view(each.modes).find(letter) != std::string_view::npos;
    });
    return row == std::end(kRows) ? nullptr : row;
}

}  // namespace

bool MayDo(const Documents& documents, SessionCommand command) {
    const Row* row = RowOf(documents.mode, command);
    if (!row)
        return false;
    const ProjectDocument* project = documents.projectOfMode();
    const bool lacks[] = {
        (row->needs & kOpen) != 0 && !documents.isOpen(),
        (row->needs & kNamed) != 0 && project && project->isUntitled,
        (row->needs & kWritable) != 0 && documents.partition && documents.partition->isReadOnly(),
        (row->needs & kNoCompile) != 0 && project && documents.compile == CompileState::Runs};
    return std::none_of(std::begin(lacks), std::end(lacks), [](bool lack) { return lack; });
}

}  // namespace vellmark
