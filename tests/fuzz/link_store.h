// The documents that links are kept in, and the link-state store as it must be after an event, by
// its format alone.
#pragma once

#include "fuzz/input.h"

#include <jansson.h>
#include <string>

namespace fuzz
{

// A text as a document has it: null when it is missing or no UTF-8 text.
json_t *text_or_null(const std::string *text);

// The document in a file, a reference of the caller's; null when there is none.
json_t *load_document_at(const char *path);

// A member's text; empty when it has none.
std::string text_of(const json_t *record, const char *key);

// Take these parts: Config, state_link, and the locks of both the other way round.
void put_documents(input &parts);

class expected_store
{
  public:
    // As it is now. While its lock is held, it stays so.
    expected_store();
    ~expected_store();
    expected_store(const expected_store &) = delete;
    expected_store &operator=(const expected_store &) = delete;

    // The first record over this interface, borrowed; null when there is none that can be removed.
    const json_t *over(const std::string &iface) const;

    // The record of the link that has come up last, as the file has it now; null when it has none
    // or may have none. It is borrowed until the next call.
    const json_t *last_now();

    // Expect this record, which is taken over, behind the others, in place of one of its name; and
    // that the first one over an interface is gone. Nothing is to come into a store without a place
    // for records.
    void expect_saved(json_t *record);
    void expect_removed(const std::string &iface);

    // End the process when the file is not as expected: byte by byte where nothing was to be
    // written, and else by its content.
    void check() const;

  private:
    json_t *links() const { return json_object_get(root, "state_links"); }
    bool find(const char *key, const char *value, size_t *index) const;

    bool is_there;
    bool is_locked;
    bool is_written = false;
    std::string before;
    json_t *root;
    json_t *now = nullptr;
};

} // namespace fuzz
