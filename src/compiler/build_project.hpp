// From an open project to a finished image.
#pragma once

#include <cstdint>
#include <string>

#include "compiler/build_preparation.hpp"
#include "support/ports.hpp"

namespace vellmark {

/// What one side of an image shows.
struct SideCounts {
    std::uint32_t folders = 0;
    std::uint32_t files = 0;
};

/// What would be built, or was.
struct BuildSummary {
    CompileMode mode = CompileMode::HybridHfs;
    std::uint64_t imageBytes = 0;   ///< with a postgap that was asked for
    std::uint64_t sourceBytes = 0;  ///< of all forks
    std::uint32_t blockBytes = 0;   ///< of an allocation block
    std::string isoLabel;           ///< UTF-8; "" without that side
    std::string macLabel;
    SideCounts iso;
    SideCounts macintosh;
    std::size_t leftOut = 0;  ///< items that are not, or not wholly, in the image
};

/// One build, which can be looked at before it is made.
class Build {
  public:
    Build(ProjectFile& project, const BuildRequest& request, const Ports& ports);
    Build(const Build&) = delete;
    Build& operator=(const Build&) = delete;

    /// Rebuilds the project where that is asked for, and settles everything: the project changes in
    /// memory, nothing is written but the copy of a rebuilt project. What is left out, and
    /// everything but `Done`, has been reported.
    [[nodiscard]] CompileResult prepare();
    /// Of a build that is prepared.
    [[nodiscard]] BuildSummary summary() const;
    [[nodiscard]] const SettledProject& settled() const { return settled_; }
    /// Items left out so far, each reported through `Messages::itemSkipped`.
    [[nodiscard]] std::int64_t skipped() const { return skipped_; }
    /// Writes a build that is prepared. Everything but `Done` has been reported; the target is then
    /// as it was.
    [[nodiscard]] CompileResult write();

  private:
    [[nodiscard]] bool rebuild();
    [[nodiscard]] bool hasRoom();
    [[nodiscard]] CompileResult writeTo(TargetFile& target, const std::string& tableFolder);
    [[nodiscard]] CompileResult copyFiles(PcFile& image);
    [[nodiscard]] bool writeDescriptors(PcFile& image);
    CompileResult fail(CompileResult result, const Reason& reason);
    CompileResult targetFailed(int error);

    Ports ports_;
    BuildRequest request_;
    CompileContext context_;
    PreparedImage image_;
    SettledProject settled_;
    std::int64_t skipped_ = 0;
};

/// How a build ended.
struct BuildOutcome {
    CompileResult result = CompileResult::Done;
    BuildSummary summary;    ///< when it is done
    SettledProject settled;  ///< to be saved when it is done, see `SaveAfterBuild`
    std::int64_t skipped = 0;
};

/// Builds the image of a project in one go.
[[nodiscard]] BuildOutcome BuildProject(ProjectFile& project, const BuildRequest& request,
                                        const Ports& ports);

/// Why the project cannot be built into that target; none when nothing speaks against it.
[[nodiscard]] Reason TargetRefusal(const ProjectFile& project, const std::string& targetPath);

}  // namespace vellmark
