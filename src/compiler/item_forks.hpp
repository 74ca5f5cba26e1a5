// The forks of an item: where they are on the PC, and how long they are now. What a record has of
// them is what they were when it was made.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "compiler/disc_plan.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

class ImportSource;

/// The file on the PC is a container that both forks lie in; else it is the data fork.
[[nodiscard]] constexpr bool HoldsBothForks(ImportClass source) {
    return source == ImportClass::AppleSingle || source == ImportClass::MacBinary ||
           source == ImportClass::BinHex;
}

/// The piece `File` is the file as it lies on the PC. In a tree with the Apple extension, the data
/// fork out of a container stands in its place.
[[nodiscard]] constexpr bool IsFileOfPc(ImportClass source, bool appleExtension) {
    return !appleExtension || !HoldsBothForks(source);
}

class ForkPlanner {
  public:
    enum class Result {
        Planned,
        LeftOut,  ///< of the whole image
        Refused,  ///< cannot be read, which has been shown
        Stopped   ///< by the user
    };

    ForkPlanner(CompileContext& context, DiscPlan& plan) : context_(context), plan_(plan) {}

    /// Settles the source, the pieces and the Finder flags of a file of `fileSize` bytes at `path`.
    /// Containers are opened when the image shows their forks. One that is damaged stays as it lies
    /// on the PC: in the ISO trees alone, or where there are none, or it is no container any more,
    /// in the Macintosh volume as a plain file. Of a file whose companion or stream is damaged the
    /// data fork stays. Each is listed in `DiscPlan::leftOut`.
    [[nodiscard]] Result measure(DiscItem& item, const std::string& path, std::uint32_t fileSize);

  private:
    [[nodiscard]] Result withoutForks(DiscItem& item, const std::string& path,
                                      const Reason& problem, bool isContainer);
    void keep(DiscItem& item, std::shared_ptr<ImportSource> forks);
    void leaveOut(const std::string& path, const Reason& reason);

    CompileContext& context_;
    DiscPlan& plan_;
    std::optional<TemporaryFolder> temporary_;
    std::size_t kept_ = 0;  ///< of `DiscItem::decoded`, and so the next one
    std::uint64_t keptBytes_ = 0;
};

}  // namespace vellmark
