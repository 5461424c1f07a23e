#include "fuzz/guarded_memory.h"

#include "fuzz/property.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sanitizer/asan_interface.h>
#include <vector>

namespace fuzz
{

namespace
{

constexpr size_t CHUNK_SIZE = 256 * 1024;
constexpr size_t ALIGNMENT = 16;

// Stands in front of each piece, in the poison, which only this file, uninstrumented, reads.
struct alignas(ALIGNMENT) head {
    size_t size;
    bool is_out;
};

struct chunk {
    char *bytes;
    size_t size;
    size_t used;
};

std::vector<chunk> chunks;

size_t rounded(size_t size)
{
    return (size + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
}

void add_chunk(size_t least)
{
    size_t size = std::max(least, CHUNK_SIZE);
    auto *bytes = static_cast<char *>(aligned_alloc(ALIGNMENT, size));
    if (bytes == nullptr)
        violated("no memory for the program");
    __asan_poison_memory_region(bytes, size);
    chunks.push_back({bytes, size, 0});
}

} // namespace

void *take_guarded(size_t size)
{
    // A head behind the last piece as well, as its poison.
    size_t needed = sizeof(head) + rounded(size) + sizeof(head);
    if (chunks.empty() || chunks.back().size - chunks.back().used < needed)
        add_chunk(needed);
    chunk &from = chunks.back();
    char *start = from.bytes + from.used;
    *reinterpret_cast<head *>(start) = {size, true};
    from.used += sizeof(head) + rounded(size);
    __asan_unpoison_memory_region(start + sizeof(head), size);
    return start + sizeof(head);
}

void give_guarded(void *memory)
{
    if (memory == nullptr)
        return;
    head *given = static_cast<head *>(memory) - 1;
    if (!given->is_out)
        violated("memory is given back twice");
    given->is_out = false;
    __asan_poison_memory_region(memory, given->size);
}

char *guarded_text(const std::string &text)
{
    size_t size = strlen(text.c_str()) + 1;
    return static_cast<char *>(memcpy(take_guarded(size), text.c_str(), size));
}

char **guarded_words(const std::vector<std::string> &words)
{
    auto **argv = static_cast<char **>(take_guarded((words.size() + 1) * sizeof(char *)));
    for (size_t i = 0; i < words.size(); i++)
        argv[i] = guarded_text(words[i]);
    argv[words.size()] = nullptr;
    return argv;
}

void release_guarded()
{
    for (; chunks.size() > 1; chunks.pop_back()) {
        __asan_unpoison_memory_region(chunks.back().bytes, chunks.back().size);
        free(chunks.back().bytes);
    }
    if (chunks.empty())
        return;
    __asan_poison_memory_region(chunks[0].bytes, chunks[0].used);
    chunks[0].used = 0;
}

} // namespace fuzz
