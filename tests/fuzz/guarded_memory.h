// Memory that the program is given: its documents, which it leaves to the end of its process, and
// the texts that it reads as its words, variables and arguments. All is taken back at once, which
// is also what makes it fast: a document is hundreds of small pieces.
//
// The address sanitizer sees what it sees in memory of malloc(), and that of the shortest texts as
// well: before, behind and between pieces lies poison, a piece given back is poison, and none is
// given out a second time in a run.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace fuzz
{

// As malloc() and free(), for json_set_alloc_funcs().
void *take_guarded(size_t size);
void give_guarded(void *memory);

// A copy of a text up to its first NUL, where a C text ends.
char *guarded_text(const std::string &text);

// A vector of arguments with its words, null behind the last one.
char **guarded_words(const std::vector<std::string> &words);

// Take back all that is still out.
void release_guarded();

} // namespace fuzz
