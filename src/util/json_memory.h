// Whether what was built or loaded with Jansson is whole. On a router memory runs out, and Jansson
// tells of a failed allocation through the results of single steps, or not at all: its writer ends
// in the middle of the file, its reader drops a character and, if that was a closing quote, reads
// on behind its buffer. So failures are seen where they happen, in the allocation itself: documents
// are built in plain rows, and are asked for once, before they replace what is stored; reading ends
// at once.
#pragma once

#include <jansson.h>
#include <stddef.h>
#include <stdio.h>

// Where the watched memory comes from and goes to: malloc() and free(), unless a test wants to see
// it fail, or guard it.
extern json_malloc_t json_allocate;
extern json_free_t json_release;

// Watch Jansson's allocations from here on, and forget what failed before.
void watch_json_memory();

// Whether an allocation has failed since then.
bool json_memory_failed();

// What json_memory_failed() is to tell: what had failed before a document was read in between, or
// that an allocation of our own has failed, of a text that should have gone into one.
void set_json_memory_failed(bool has_failed);

// A document, whatever it holds and however little memory is left, watched from its begin on: null
// for want of memory, which json_memory_failed() tells, and for what is no JSON. Nothing is logged.
json_t *read_json(FILE *file);

// The same of a text of so many bytes. *error, if there is one, says where it is no JSON.
json_t *read_json_text(const char *text, size_t length, json_error_t *error);
