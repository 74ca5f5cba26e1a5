// Copies the files of a plan to their places in the image, out of their containers where the image
// shows the forks.
#pragma once

#include <optional>
#include <string>

#include "compiler/disc_plan.hpp"
#include "compiler/image_writer.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

class ItemCopier {
  public:
    ItemCopier(CompileContext& context, const DiscPlan& plan, PcFile& image, const FileArea& area);

    /// Every piece to the place that the plan gave it. `problem` is what failed, apart from a
    /// target that could not be written.
    [[nodiscard]] CopyResult run();
    [[nodiscard]] const Reason& problem() const { return problem_; }

  private:
    [[nodiscard]] CopyResult copy(const DiscItem& item);
    [[nodiscard]] CopyResult copyForks(const DiscItem& item, const std::string& path);
    [[nodiscard]] CopyResult copyFile(const DiscItem& item, const std::string& path);
    [[nodiscard]] CopyResult tellChanged(const std::string& path);
    [[nodiscard]] std::string pathOf(const ProjectRecord& record);

    CompileContext& context_;
    const DiscPlan& plan_;
    ImageWriter writer_;
    FileArea area_;
    PcPathResolver resolver_;
    std::optional<TemporaryFolder> temporary_;
    Reason problem_;
};

}  // namespace vellmark
