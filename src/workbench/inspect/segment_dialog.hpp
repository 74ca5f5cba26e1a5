// TSSegm: saves or prints a piece of what the viewer shows.
#pragma once

#include <QString>
#include <functional>

#include "inspect/fork_page.hpp"
#include "support/progress.hpp"
#include "support/reason.hpp"

class QWidget;

namespace vellmark {

class TVellmark;

struct SegmentJob {
    ByteSource& source;
    PageStyle style;
    std::uint64_t sector = 0;  ///< the current one
    std::uint64_t last = 0;
    int points = 0;   ///< of what is printed
    QString heading;  ///< the same
};

/// Runs work that only looks, beside the window; false when it did not run.
using RunLook = std::function<bool(const std::function<void(Progress& progress)>& work)>;

/// Asks which piece, and what is to be done with it, and does it.
void SaveDataSegment(TVellmark& window, const SegmentJob& job, QWidget* owner, const RunLook& look);

/// Asks for the name of a file and fills it: not the image that is open, an older one after a
/// question, whole or not at all. A name without an extension gets that of the proposal. `fill`
/// says what went wrong, or nothing. True when the file is there.
bool SaveBytesAs(TVellmark& window, const QString& title, const QString& filter,
                 const QString& proposal, QWidget* owner, const RunLook& look,
                 const std::function<Reason(ByteSink& file, Progress& progress)>& fill);

}  // namespace vellmark
