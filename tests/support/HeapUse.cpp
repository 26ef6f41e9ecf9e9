#include "HeapUse.h"

#include <atomic>
#include <cstddef>

#include <malloc.h>

namespace {

std::atomic<qint64> live {0};
std::atomic<qint64> peak {0};
std::atomic<qint64> taken {0};
std::atomic<qint64> calls {0};

std::atomic<qint64> callsUntilFailure {-1};

bool fails() noexcept
{
    return callsUntilFailure >= 0 && callsUntilFailure-- == 0;
}

void* counted(void* block) noexcept
{
    const auto size = static_cast<qint64>(malloc_usable_size(block));
    live += size;
    taken += size;
    ++calls;
    if (live > peak) {
        peak = live.load();
    }
    return block;
}

void* uncounted(void* block) noexcept
{
    live -= static_cast<qint64>(malloc_usable_size(block));
    return block;
}

} // namespace

HeapUse heapUse()
{
    return {taken, calls, peak, live};
}

void forgetPeak()
{
    peak = live.load();
}

void failAllocation(qint64 number)
{
    callsUntilFailure = number - 1;
}

bool allocationHasFailed()
{
    return callsUntilFailure == -1;
}

// These functions replace those of the C library in this program and in the libraries that it loads.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);

Q_DECL_EXPORT void* malloc(size_t size) noexcept
{
    return fails() ? nullptr : counted(__libc_malloc(size));
}

Q_DECL_EXPORT void* calloc(size_t count, size_t size) noexcept
{
    return fails() ? nullptr : counted(__libc_calloc(count, size));
}

Q_DECL_EXPORT void* realloc(void* block, size_t size) noexcept
{
    return fails() ? nullptr : counted(__libc_realloc(uncounted(block), size));
}

Q_DECL_EXPORT void* aligned_alloc(size_t alignment, size_t size) noexcept
{
    return fails() ? nullptr : counted(__libc_memalign(alignment, size));
}

Q_DECL_EXPORT void free(void* block) noexcept
{
    __libc_free(uncounted(block));
}
}
