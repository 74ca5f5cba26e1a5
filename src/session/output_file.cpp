#include "session/output_file.hpp"

#include <algorithm>
#include <cerrno>
#include <ostream>
#include <vector>

#include "session/terminal.hpp"
#include "support/sentences.hpp"
#include "support/targets.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kStandardOutput = "-";
constexpr std::uint64_t kPieceBytes = 1u << 20;

}  // namespace

OutputFile::OutputFile(const std::string& named, std::string_view standIn) {
    if (named != kStandardOutput) {
        path_ = FollowLink(named);
        return;
    }
    folder_.emplace();
    if (!folder_->path().empty())
        path_ = folder_->path() + "/" + std::string(standIn.empty() ? "image" : standIn);
}

bool OutputFile::isReady(Messages& messages) const {
    const bool isReady = !isStandardOutput() || !folder_->path().empty();
    if (!isReady)
        messages.showMessage(Sentence::kNoTemporaryFolder);
    return isReady;
}

bool OutputFile::send(CommandContext& context, Messages& messages) const {
    if (!isStandardOutput())
        return true;
    PcFile file(path_, PcFile::Mode::Read);
    std::vector<std::uint8_t> piece;
    errno = 0;
    for (std::uint64_t done = 0; done < file.size() && context.output.good();) {
        piece.resize(
            static_cast<std::size_t>(std::min<std::uint64_t>(kPieceBytes, file.size() - done)));
        if (StopSignals::requested() || !file.readExactly(done, piece)) {
            messages.showMessage(StopSignals::requested() ? Reason(Sentence::kStoppedAsWished)
                                                          : Reason(Sentence::kOutputUnreadable,
                                                                   SystemError{file.error()}));
            return false;
        }
        context.output.write(reinterpret_cast<const char*>(piece.data()),
                             static_cast<std::streamsize>(piece.size()));
        done += piece.size();
    }
    if (!context.output.good() && context.outputError == 0)
        context.outputError = errno;
    return context.output.good();
}

}  // namespace vellmark
