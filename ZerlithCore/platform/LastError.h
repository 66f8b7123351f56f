/// @file
/// Why the system refused: one number a thread, in the system's own values.
#pragma once

namespace KZPlatform {

/// The number that the last failing function of the seam left on this thread; 0 at first. Success leaves it alone.
[[nodiscard]] int LastErrorNumber() noexcept;
void SetLastErrorNumber(int number) noexcept;

} // namespace KZPlatform
