// Memory of the targets and of the fuzzer itself: from the C library, past the address sanitizer,
// whose own takes a third of the time of a small target. The program has no part in it: it never
// uses these operators, and what it is given is guarded (guarded_memory.h).
#include <cstddef>
#include <cstdlib>
#include <new>

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *memory);
}

namespace
{

void *or_abort(void *memory)
{
    if (memory == nullptr)
        abort();
    return memory;
}

void *aligned(size_t size, std::align_val_t alignment)
{
    return or_abort(__libc_memalign(static_cast<size_t>(alignment), size));
}

} // namespace

// All of them: what one gives is taken by another.
// clang-format off
void *operator new(size_t size) { return or_abort(__libc_malloc(size)); }
void *operator new[](size_t size) { return or_abort(__libc_malloc(size)); }
void *operator new(size_t size, const std::nothrow_t &) noexcept { return __libc_malloc(size); }
void *operator new[](size_t size, const std::nothrow_t &) noexcept { return __libc_malloc(size); }
void *operator new(size_t size, std::align_val_t alignment) { return aligned(size, alignment); }
void *operator new[](size_t size, std::align_val_t alignment) { return aligned(size, alignment); }
void operator delete(void *memory) noexcept { __libc_free(memory); }
void operator delete[](void *memory) noexcept { __libc_free(memory); }
void operator delete(void *memory, size_t) noexcept { __libc_free(memory); }
void operator delete[](void *memory, size_t) noexcept { __libc_free(memory); }
void operator delete(void *memory, const std::nothrow_t &) noexcept { __libc_free(memory); }
void operator delete[](void *memory, const std::nothrow_t &) noexcept { __libc_free(memory); }
void operator delete(void *memory, std::align_val_t) noexcept { __libc_free(memory); }
void operator delete[](void *memory, std::align_val_t) noexcept { __libc_free(memory); }
void operator delete(void *memory, size_t, std::align_val_t) noexcept { __libc_free(memory); }
void operator delete[](void *memory, size_t, std::align_val_t) noexcept { __libc_free(memory); }
// clang-format on
