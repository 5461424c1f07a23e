#include "util/json_memory.h"

#include <setjmp.h>
#include <stdlib.h>

constexpr size_t BLOCKS_AT_ONCE = 256;

// What a reader took, or gave back. That is freed when it is done: it may have to be left half-way,
// and then all that it took goes.
struct json_block {
    void *given;
    bool is_unused;
};

static struct {
    bool has_failed;
    bool is_reading;
    size_t count;
    json_block *blocks;
    jmp_buf no_memory;
} memory;

json_malloc_t json_allocate = malloc;
json_free_t json_release = free;

static void *refuse()
{
    memory.has_failed = true;
    if (memory.is_reading)
        longjmp(memory.no_memory, 1);
    return nullptr;
}

static bool note_block(void *given, bool is_unused)
{
    if (memory.count % BLOCKS_AT_ONCE == 0) {
        size_t count = memory.count + BLOCKS_AT_ONCE;
        void *grown = realloc(memory.blocks, count * sizeof(json_block));
        if (grown == nullptr)
            return false;
        memory.blocks = static_cast<json_block *>(grown);
    }
    memory.blocks[memory.count++] = {given, is_unused};
    return true;
}

static void *watched_malloc(size_t size)
{
    void *given = json_allocate(size);
    if (given != nullptr && (!memory.is_reading || note_block(given, false)))
        return given;
    json_release(given);
    return refuse();
}

static void watched_free(void *unused)
{
    if (!memory.is_reading)
        json_release(unused);
    else if (!note_block(unused, true))
        refuse();
}

void watch_json_memory()
{
    json_set_alloc_funcs(watched_malloc, watched_free);
    memory.has_failed = false;
}

bool json_memory_failed()
{
    return memory.has_failed;
}

void set_json_memory_failed(bool has_failed)
{
    memory.has_failed = has_failed;
}

// What is not part of the document goes: without one, all.
static void end_reading(const json_t *root)
{
    memory.is_reading = false;
    for (; memory.count > 0; memory.count--) {
        const json_block &block = memory.blocks[memory.count - 1];
        if (block.is_unused == (root != nullptr))
            json_release(block.given);
    }
}

template <typename Load> static json_t *read_watched(Load load)
{
    watch_json_memory();
    memory.is_reading = true;
    json_t *root = setjmp(memory.no_memory) == 0 ? load() : nullptr;
    end_reading(root);
    return root;
}

json_t *read_json(FILE *file)
{
    return read_watched([=] { return json_loadf(file, 0, nullptr); });
}

json_t *read_json_text(const char *text, size_t length, json_error_t *error)
{
    return read_watched([=] { return json_loadb(text, length, 0, error); });
}
