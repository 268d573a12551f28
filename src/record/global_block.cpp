// global_block.cpp - registry of live blocks and the large-block recycling cache.
#include "record/global_block.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <unordered_map>
#include <vector>

namespace quilp::block {
namespace {

constexpr std::size_t kAlign = 64;
constexpr std::size_t kRecycleMin = std::size_t{1} << 20;   // blocks this large are kept
constexpr std::size_t kCacheBudget = std::size_t{256} << 20; // at most this much kept
constexpr std::size_t kCacheSlots = 8;

// The largest block: every byte offset inside it must fit a ptrdiff_t, which on a 32-bit host
// is 2 GiB; on 64-bit hosts a terabyte is more than any page needs.
constexpr uint64_t kLimit64 = uint64_t{1} << 40;
constexpr std::size_t kMaxCapacity =
    uint64_t(PTRDIFF_MAX) < kLimit64 ? std::size_t(PTRDIFF_MAX) : std::size_t(kLimit64);

std::size_t RoundUp(std::size_t n) { return (n + kAlign - 1) & ~(kAlign - 1); }

struct Block {
  unsigned char* raw = nullptr;  // slack + data + slack
  std::size_t capacity = 0;      // bytes at raw
  std::size_t slack = 0;         // bytes before the data
  std::size_t bytes = 0;         // data bytes
  unsigned locks = 0;
  unsigned char* data() const { return raw + slack; }
};

struct Spare {
  unsigned char* raw;
  std::size_t capacity;
};

struct Registry {
  std::mutex mutex;
  std::unordered_map<Handle, Block> byHandle;
  std::unordered_map<void const*, Handle> byData;
  std::vector<Spare> spares;
  std::size_t spareBytes = 0;
  Handle next = 1;
};

Registry& TheRegistry() {
  static Registry* registry = new Registry;  // never destroyed: safe at process exit
  return *registry;
}

// Takes a cached buffer of at least `capacity` bytes (the smallest that fits, if it is not
// wastefully large), or null. Caller holds the mutex.
unsigned char* TakeSpare(Registry& r, std::size_t capacity, std::size_t& got) {
  std::size_t best = r.spares.size();
  for (std::size_t i = 0; i < r.spares.size(); ++i) {
    std::size_t const c = r.spares[i].capacity;
    if (c >= capacity && c <= capacity + capacity / 2 &&
        (best == r.spares.size() || c < r.spares[best].capacity))
      best = i;
  }
  if (best == r.spares.size()) return nullptr;
  unsigned char* raw = r.spares[best].raw;
  got = r.spares[best].capacity;
  r.spareBytes -= got;
  r.spares.erase(r.spares.begin() + static_cast<std::ptrdiff_t>(best));
  return raw;
}

// Keeps a large buffer for reuse, or returns it to the system. Caller holds the mutex.
void GiveBack(Registry& r, unsigned char* raw, std::size_t capacity) {
  if (capacity >= kRecycleMin && capacity <= kCacheBudget) {
    while (!r.spares.empty() &&
           (r.spares.size() >= kCacheSlots || r.spareBytes + capacity > kCacheBudget)) {
      std::free(r.spares.front().raw);
      r.spareBytes -= r.spares.front().capacity;
      r.spares.erase(r.spares.begin());
    }
    r.spares.push_back({raw, capacity});
    r.spareBytes += capacity;
    return;
  }
  std::free(raw);
}

}  // namespace

Handle Alloc(unsigned flags, std::size_t bytes, std::size_t slack) {
  // Checked before any rounding, so neither the rounding nor the sum can wrap.
  if (slack > kMaxCapacity / 4 || bytes > kMaxCapacity / 2) return 0;
  slack = RoundUp(slack < kSlackMin ? kSlackMin : slack);
  if (RoundUp(bytes) > kMaxCapacity - 2 * slack) return 0;
  std::size_t const capacity = slack + RoundUp(bytes) + slack;
  Registry& r = TheRegistry();
  unsigned char* raw = nullptr;
  std::size_t got = capacity;
  {
    std::lock_guard<std::mutex> lock(r.mutex);
    if (capacity >= kRecycleMin) raw = TakeSpare(r, capacity, got);
  }
  bool const recycled = raw != nullptr;
  if (!recycled) {
    // calloc hands out zeroed pages without touching them when it maps fresh memory.
    raw = static_cast<unsigned char*>(std::calloc(capacity, 1));
    if (!raw) return 0;
  } else {
    // A recycled buffer: the slack must be zero again, and the data when asked. What lies
    // beyond the slack after the data (a spare may be up to half as large again) is never
    // handed out, so it is left as it is.
    std::memset(raw, 0, slack);
    if (flags & kZeroInit) std::memset(raw + slack, 0, capacity - slack);
    else std::memset(raw + slack + bytes, 0, capacity - slack - bytes);
  }
  Block block;
  block.raw = raw;
  block.capacity = got;
  block.slack = slack;
  block.bytes = bytes;
  std::lock_guard<std::mutex> lock(r.mutex);
  Handle const h = r.next++;
  r.byHandle.emplace(h, block);
  r.byData.emplace(block.data(), h);
  return h;
}

void* Lock(Handle h) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> lock(r.mutex);
  auto it = r.byHandle.find(h);
  if (it == r.byHandle.end() || it->second.locks >= 0xFF) return nullptr;
  ++it->second.locks;
  return it->second.data();
}

Handle FromAddress(void const* data) {
  if (!data) return 0;
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> lock(r.mutex);
  auto it = r.byData.find(data);
  return it == r.byData.end() ? 0 : it->second;
}

unsigned Flags(Handle h) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> lock(r.mutex);
  auto it = r.byHandle.find(h);
  return it == r.byHandle.end() ? kInvalidHandle : (it->second.locks & 0xFF);
}

bool Unlock(Handle h) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> lock(r.mutex);
  auto it = r.byHandle.find(h);
  if (it == r.byHandle.end() || it->second.locks == 0) return false;
  --it->second.locks;
  return true;
}

bool Free(Handle h) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> lock(r.mutex);
  auto it = r.byHandle.find(h);
  if (it == r.byHandle.end()) return false;
  Block const block = it->second;
  r.byData.erase(block.data());
  r.byHandle.erase(it);
  GiveBack(r, block.raw, block.capacity);
  return true;
}

std::size_t LiveCount() {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> lock(r.mutex);
  return r.byHandle.size();
}

}  // namespace quilp::block
