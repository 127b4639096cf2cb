// Takes the large blocks of memory from the system in huge pages, where it has them. A long plan is
// read into a few large blocks, each of which would be faulted in by thousands of small pages. This
// is for a process that lives for one command; the library leaves a host's allocator alone.
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::size_t largeBlock = 2'097'152;

// A hint: where the system does not take it, nothing changes.
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
