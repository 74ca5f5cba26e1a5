#include "project/project_record.hpp"

namespace vellmark {

bool ProjectRecord::isIn(ProjectView view) const {
    switch (view) {
        case ProjectView::Iso:
            return isoInclusion() != 0;
        case ProjectView::Hfs:
            return hfsInclusion() != 0;
        case ProjectView::Hybrid:
            break;
    }
    return isoInclusion() != 0 || hfsInclusion() != 0;
}

}  // namespace vellmark
