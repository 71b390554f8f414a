#pragma once
// The graph event codes the engine posts to the interface: the end of the
// input, an error that ends it, and the network buffer's level while a
// network address fills it (GraphManager::BufferingPercent). The numbers are
// fixed (EC_COMPLETE is 1 everywhere in the player).

namespace zelvaro {

inline constexpr long kEcComplete = 1;       // every stream reached its end
inline constexpr long kEcErrorAbort = 3;     // playback stopped on an error
inline constexpr long kEcBuffering = 0x103;  // the network buffer's level changed

}  // namespace zelvaro
