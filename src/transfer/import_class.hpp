// What a file of the PC is as a Macintosh file: itself, or a container that is taken apart.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "containers/container_kind.hpp"
#include "support/messages.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

/// As which of them a file comes in.
using ImportClass = ContainerKind;

/// Whether containers are taken apart.
enum class ContainerPolicy {
    Ask,     ///< MacBinary and BinHex after a question, the others without one
    Always,  ///< also damaged ones, as far as they go
    Never    ///< every file is a plain one
};

/// What a person said about the items of a batch.
struct CopyAnswers {
    RememberedAnswer replace;
    RememberedAnswer macBinary;
    RememberedAnswer binHex;
    RememberedAnswer font;
};

/// A file is what its bytes are, else what stands beside it. A person's no to MacBinary or BinHex
/// makes it a plain one. Nothing when a person was asked and gave no answer.
[[nodiscard]] std::optional<ImportClass> ClassifyPcFile(PcFile& file, ContainerPolicy policy,
                                                        CopyAnswers& answers, Messages& messages);

}  // namespace vellmark
