// Items that no way leads to from the root of their project.
#pragma once

#include "compiler/disc_plan.hpp"

namespace vellmark {

/// Adds to `DiscPlan::leftOut` the items of the views built whose folder the project lacks or which
/// lie in a circle of folders, and folders with a number that another one has: a project file from
/// elsewhere may hold anything, and what is lost of it must be told.
void FindStrayRecords(const CompileContext& context, DiscPlan& plan);

}  // namespace vellmark
