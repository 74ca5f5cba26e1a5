// What a file of the PC is as a Macintosh file: itself, or a container that is taken apart.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "support/messages.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

/// In the order in which they are told; a file has one class.
enum class ImportClass {
    Plain,
    MacBinary,
    BinHex,
    NamedStreams,
    AppleSingle,
    AppleDouble,  ///< the file has a companion `._NAME`
};

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
};

/// A name for a question: up to 40 characters of it, fit to be shown.
[[nodiscard]] std::string NameForQuestion(std::string_view pcName);

/// Tests in the order MacBinary, BinHex, AppleSingle, AppleDouble, streams. A person's no to one of
/// the first two ends them. Nothing when a person was asked and gave no answer.
[[nodiscard]] std::optional<ImportClass> ClassifyPcFile(PcFile& file, ContainerPolicy policy,
                                                        CopyAnswers& answers, Messages& messages);

}  // namespace vellmark
