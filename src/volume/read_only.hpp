// Why a mounted volume may only be read, and how that is told.
#pragma once

#include <string>

#include "volume/volume_context.hpp"

namespace vellmark {

/// Adds the reasons that lie in a volume whose header and trees were just read. Reasons of the file
/// and the medium stay.
void JudgeVolume(VolumeContext& volume);

/// The reasons of an open volume, a sentence each; "" when it may be changed.
[[nodiscard]] std::string ReadOnlySentence(const VolumeContext& volume);

/// What a person who changes the volume should know although it stops nothing; "" for nothing.
[[nodiscard]] std::string VolumeRemark(const VolumeContext& volume);

}  // namespace vellmark
