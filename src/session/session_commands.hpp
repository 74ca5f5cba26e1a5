// What a person may do in which mode, with what is open in it. Menus, tool bars and shortcuts ask
// here, so that none of them decides by itself.
#pragma once

#include <cstdint>

#include "session/documents.hpp"

namespace vellmark {

enum class SessionCommand : std::uint8_t {
    New,
    Open,
    Close,
    SaveAs,
    Save,
    Properties,
    Label,
    Compile,
    Join,   ///< of the volume with an ISO image
    Split,  ///< of a joined image
    Layout,
    Refresh,
    Rebuild,
    HideExtensions,
    ReplaceSignature,
    ChangePaths,
    ChooseView,
    CopyOut,
    CopyIn,
    ChooseCopyMode,
    SwapForks,
    ShowContents,
    Drop,
    Rename,
    Delete,
    MakeFolder,
    Search
};

/// Whether the mode has the command and it can be given now. What it acts on, such as a selection,
/// is the caller's.
[[nodiscard]] bool MayDo(const Documents& documents, SessionCommand command);

}  // namespace vellmark
