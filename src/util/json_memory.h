// Whether what was built or loaded with Jansson is whole. On a router memory runs out, and Jansson
// tells of a failed allocation through the results of single steps, or not at all (its reader drops
// a character, its writer ends in the middle of the file). So failures are counted where they
// happen, in the allocation itself: documents are built in plain rows, and are asked for once,
// before they replace what is stored.
#pragma once

// Watch Jansson's allocations from here on, and forget what failed before.
void watch_json_memory();

// Whether an allocation has failed since then.
bool json_memory_failed();

// Count a failed allocation of our own, of a text that should have gone into a document.
void note_failed_allocation();
