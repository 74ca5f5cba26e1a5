// From an open project to a finished image.
#pragma once

#include "compiler/compile_context.hpp"

namespace vellmark {

/// Compiles the project into the image that the context names. What is settled on the way is left
/// in the context and, where it belongs to the project (its turn to HFS+, its labels), in the
/// project's file. Everything but `Done` has been told to the user; the target is then as it was.
[[nodiscard]] CompileResult CompileProject(CompileContext& context);

}  // namespace vellmark
