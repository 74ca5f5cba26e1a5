// Why a mounted volume may only be read, and how that is told.
#pragma once

#include <string>

#include "volume/volume_context.hpp"

namespace vellmark {

/// Adds the reasons that lie in a volume whose header and trees were just read. Reasons of the file
/// and the medium stay.
void JudgeVolume(VolumeContext& volume);

/// The reasons, a sentence each; "" when there are none.
[[nodiscard]] std::string ReadOnlySentence(const ReadOnlyReasons& reasons);

/// The one for `CutImage`, which also keeps a volume from being opened at all.
[[nodiscard]] std::string CutImageSentence();

[[nodiscard]] bool IsVolumeLocked(const VolumeContext& volume);
/// Locks the volume, or takes every lock off it; between `LoadAllocationState` and `FlushVolume`.
void SetVolumeLock(VolumeContext& volume, bool isLocked);

/// What a person who changes the volume should know although it stops nothing; "" for nothing.
[[nodiscard]] std::string VolumeRemark(const VolumeContext& volume);

}  // namespace vellmark
