// What must not leave the household: logins, passwords, keys and pins, wherever they stand.
#pragma once

#include <stddef.h>

// The secrets that settings, NVRAM and Config hold, longest first.
struct secrets {
    size_t count;
    size_t capacity;
    char **text;
};

void learn_secrets(secrets *all);
void forget_secrets(secrets *all);

// What takes a secret's place.
constexpr char MASK[] = "***";

// The text without the secrets, which the caller frees; null for want of memory. Secrets of up to
// three characters would be found in any word: with_short takes them for such where they stand
// alone, else they are left.
char *mask_secrets(const secrets &all, const char *text, bool with_short);

// Whether the value of an NVRAM key is a secret, by its name.
bool is_secret_key(const char *key);

// Whether a member of Config or a record is one.
bool is_secret_member(const char *key);
