#include "ctl/check/names.h"

#include "ctl/unseen.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

void add_name(name_index *index, const named_line &row)
{
    if (index->count == index->room) {
        size_t room = index->room == 0 ? 64 : index->room * 2;
        void *rows = realloc(index->rows, room * sizeof(named_line));
        if (rows == nullptr) {
            note_unseen("all names", errno);
            return;
        }
        index->rows = static_cast<named_line *>(rows);
        index->room = room;
    }
    index->rows[index->count++] = row;
}

static int compare_names(const char *one, size_t one_length, const char *other, size_t other_length)
{
    size_t common = one_length < other_length ? one_length : other_length;
    int order = memcmp(one, other, common);
    if (order != 0)
        return order;
    return one_length == other_length ? 0 : (one_length < other_length ? -1 : 1);
}

static int compare_rows(const void *one, const void *other)
{
    const named_line *a = static_cast<const named_line *>(one);
    const named_line *b = static_cast<const named_line *>(other);
    int order = compare_names(a->name, a->length, b->name, b->length);
    if (order != 0)
        return order;
    if (a->is_on != b->is_on)
        return a->is_on ? -1 : 1;
    return a->line < b->line ? -1 : 1;
}

void sort_names(name_index *index)
{
    if (index->count > 1)
        qsort(index->rows, index->count, sizeof(named_line), compare_rows);
}

const named_line *find_name(const name_index &index, const char *name, size_t length)
{
    size_t low = 0;
    size_t high = index.count;
    while (low < high) {
        size_t middle = low + (high - low) / 2;
        const named_line &row = index.rows[middle];
        if (compare_names(row.name, row.length, name, length) < 0)
            low = middle + 1;
        else
            high = middle;
    }
    if (low == index.count)
        return nullptr;
    const named_line &row = index.rows[low];
    return compare_names(row.name, row.length, name, length) == 0 ? &row : nullptr;
}

const named_line *find_name(const name_index &index, const char *name)
{
    return find_name(index, name, strlen(name));
}

void forget_names(name_index *index)
{
    free(index->rows);
    *index = {};
}
