#pragma once
// The graph event codes the engine posts to the interface. Only kEcComplete
// is acted on there; the numbers are fixed (EC_COMPLETE is 1 everywhere in
// the player).

namespace zelvaro {

inline constexpr long kEcComplete = 1;    // every stream reached its end
inline constexpr long kEcErrorAbort = 3;  // playback stopped on an error

}  // namespace zelvaro
