// Why a mounted volume may only be read, and the reasons as values.
#pragma once

#include "support/reason.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

/// Adds the reasons that lie in a volume whose header and trees were just read. Reasons of the file
/// and the medium stay.
void JudgeVolume(VolumeContext& volume);

/// Why a volume with those reasons cannot be changed, and what helps where anything does; none when
/// nothing speaks against it.
[[nodiscard]] Reason ChangeRefusal(const ReadOnlyReasons& reasons);

[[nodiscard]] bool IsVolumeLocked(const VolumeContext& volume);
/// Locks the volume, or takes every lock off it.
void SetVolumeLock(WritableVolume& volume, bool isLocked);

/// What a person who changes the volume should know although it stops nothing; none for nothing.
[[nodiscard]] Reason VolumeRemark(const VolumeContext& volume);

}  // namespace vellmark
