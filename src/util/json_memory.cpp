#include "util/json_memory.h"

#include <jansson.h>

static bool has_failed;
static json_malloc_t inner_malloc;

static void *watched_malloc(size_t size)
{
    void *memory = inner_malloc(size);
    if (memory == nullptr)
        has_failed = true;
    return memory;
}

void watch_json_memory()
{
    json_malloc_t allocate = nullptr;
    json_free_t release = nullptr;
    json_get_alloc_funcs(&allocate, &release);
    if (allocate != watched_malloc) {
        inner_malloc = allocate;
        json_set_alloc_funcs(watched_malloc, release);
    }
    has_failed = false;
}

bool json_memory_failed()
{
    return has_failed;
}

void note_failed_allocation()
{
    has_failed = true;
}
