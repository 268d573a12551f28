// global_block.h - the movable global-memory block layer the records live in.
//
// A small stand-in for a platform global-memory interface: allocate (optionally zeroed),
// lock, find a block from its data address, read its flags and lock count, unlock, free.
// A thread-safe registry keeps every live block, so a stale or foreign pointer is recognised
// and refused instead of being released. Handles are never reused.
//
// Every block carries zeroed slack before and after its data (kSlackMin bytes or the caller's
// extra, whichever is larger), so reads that reach a row or a pixel beyond the data never leave
// memory the library owns. Large blocks are recycled through a small cache (fresh mappings cost
// page faults that dominate most kernels); recycled blocks are zeroed again before reuse.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quilp::block {

using Handle = std::uintptr_t;  // 0 is "no block"

inline constexpr unsigned kMoveable = 0x02;
inline constexpr unsigned kZeroInit = 0x40;
inline constexpr unsigned kInvalidHandle = 0x8000;  // Flags() of a handle that is not live
inline constexpr std::size_t kSlackMin = 64;

// Allocates `bytes` of data with `slack` (at least kSlackMin) zeroed bytes on each side.
// kZeroInit in flags zeroes the data too. Returns 0 on failure.
Handle Alloc(unsigned flags, std::size_t bytes, std::size_t slack = kSlackMin);
// Locks the block and returns its data address (null for a handle that is not live).
void* Lock(Handle h);
// The live block whose data starts at `data`, or 0.
Handle FromAddress(void const* data);
// Lock count in the low 8 bits, or kInvalidHandle for a handle that is not live.
unsigned Flags(Handle h);
// Drops one lock; false when the handle is not live or not locked.
bool Unlock(Handle h);
// Releases the block; false when the handle is not live.
bool Free(Handle h);

// Number of live blocks (tests use it to prove nothing leaks).
std::size_t LiveCount();

}  // namespace quilp::block
