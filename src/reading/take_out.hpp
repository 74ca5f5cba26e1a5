// Items of an image taken out to the PC, whatever tree they lie in.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "containers/signatures.hpp"
#include "reading/image_view.hpp"
#include "reading/ports.hpp"
#include "support/byte_source.hpp"
#include "transfer/copy_out.hpp"

namespace vellmark {

struct TakeOutRequest {
    std::vector<std::string> paths;  ///< `/` between the names; the root is `/`
    std::string target;              ///< a folder, or what the one item becomes
    bool intoFolder = false;         ///< the target is a folder, which is there
    CopyOutOptions copy;             ///< form and names are those of files of a Macintosh volume
};

struct TakeOutOutcome {
    /// An item that was asked for is not there now, or a part of a tree cannot be read.
    bool hasFailed = false;
    /// Items in the folders that were asked for are left out, after a message or a question for
    /// each.
    bool hasLeftOut = false;
    bool isStopped = false;  ///< by the person, or as nothing more can be written
};

/// Takes the items out one after the other, each from the tree that knows most about it, with all
/// that is in folders; into `output`, where that is given, from its start to its end. One run
/// writes each target once. Messages say all that is odd.
[[nodiscard]] TakeOutOutcome TakeOut(ImageView& view, std::span<TreeView* const> trees,
                                     const TakeOutRequest& request,
                                     const SignatureTable& signatures, const ReadingPorts& ports,
                                     ByteSink* output);

}  // namespace vellmark
