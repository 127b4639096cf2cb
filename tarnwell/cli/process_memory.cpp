// A long plan is read into a few large blocks. In small pages they would cost tens of thousands of
// page faults, so this process takes them in huge pages and reuses freed memory instead of
// returning it. The library leaves a host's allocator alone.
#include "tarnwell/cli/process_memory.h"

// Sanitizers bring their own allocator.
#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::size_t largeBlock = 2'097'152;

// Best effort: without huge pages nothing changes.
void adviseHugePages(void* block, std::size_t size) {
  static const auto pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* firstPage = block;
  std::align(pageSize, pageSize, firstPage, size);
  ::madvise(firstPage, size / pageSize * pageSize, MADV_HUGEPAGE);
}

}  // namespace

void* operator new(std::size_t size) {
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  if (size >= largeBlock) adviseHugePages(block, size);
  return block;
}

void operator delete(void* block) noexcept { std::free(block); }

void operator delete(void* block, std::size_t) noexcept { std::free(block); }

#endif

#ifdef __GLIBC__
#include <malloc.h>
#endif

void tarnwell::keepFreedMemory() {
#ifdef __GLIBC__
  ::mallopt(M_MMAP_THRESHOLD, 32 << 20);  // the highest allowed
  ::mallopt(M_TRIM_THRESHOLD, -1);        // never
#endif
}
