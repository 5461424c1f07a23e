// What must not leave the household: logins, passwords, keys and pins, wherever they stand.
#pragma once

#include <stddef.h>

// The secrets that settings, NVRAM and Config hold, as they are and as findings show them, each
// once, longest first.
struct secrets {
    size_t count;
    size_t capacity;
    char **text;
    bool is_whole; // none was left out
};

// Learn all. For want of memory, or where a file that is there cannot be read, not all of them are
// known: then all->is_whole is false, standard error tells of the file, and nothing that may hold a
// secret is to be shown. What is missing, no plain file, or a document that is no JSON has none.
void learn_secrets(secrets *all);
void forget_secrets(secrets *all);

// What takes a secret's place.
constexpr char MASK[] = "***";

// The text without the secrets, which the caller frees; null for want of memory. The begin of a
// long one, which a cut has left, is hidden, too: from eight characters on, as fewer may begin any
// word. Secrets of up to three characters would be found in any word: with_short takes them for
// such where they stand alone, else they are left.
char *mask_secrets(const secrets &all, const char *text, bool with_short);

// What is between the fields of a peer for whoever reads its line, be it right or not.
constexpr char PEER_SEPARATORS[] = " \t\r";

// The next line of a text that is taken apart, as the program reads it: up to its line feed,
// without the carriage return before that. Empty ones are left out. *rest is the text first. Null
// at the end.
char *take_line(char **rest);

// Whether the value of an NVRAM key is a secret, by its name.
bool is_secret_key(const char *key);

// Whether a member of Config or a record is one.
bool is_secret_member(const char *key);
