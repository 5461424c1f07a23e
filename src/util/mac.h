// The router's MAC addresses. It has one base address, which NVRAM section 0 holds under "ethaddr";
// those of its other interfaces are counted from it.
#pragma once

#include "util/text.h"

#include <stddef.h>

constexpr size_t MAC_BYTES = 6;
constexpr size_t MAC_TEXT_MAX = 18; // "00:11:22:33:44:55" and the terminator

// text without the one pair of double quotes around it; all of text when there is no such pair.
text_piece without_quotes(const char *text);

// Read the six bytes of an address as ether_aton() takes it: hexadecimal numbers of one or two
// digits between colons. Returns 0, or a negative error number, which errno holds as well (-EINVAL
// when ether_aton() sets none); mac is then left alone.
int parse_mac(text_piece text, unsigned char *mac);

// Write mac into out, which holds MAC_TEXT_MAX characters: upper-case, with colons. Returns out.
char *format_mac(const unsigned char *mac, char *out);

// Get the base address from NVRAM section 0, quotes around it or not. Returns 0, or a negative
// error number, which errno holds as well: -EFAULT when it is not set, else that of parse_mac().
int get_ethaddr(unsigned char *mac);

// Write an address into out, which holds MAC_TEXT_MAX characters. name "ethaddr" is the base
// address, of the LAN, which is also printed on standard output, as a line; "wan" is the base
// address with its last byte plus 1 (255 becomes 0, the byte before it stays). Returns 1, or -1
// with out untouched and NVRAM section 0 left open: for any other name, without a message, or after
// logging "cannot get base MAC addr: ERROR" with a line end (tag mcfg-get_mac).
int get_mac(const char *name, char *out);

// Get the base address, for the check of the wireless calibration in flash. Returns 1, or -1 after
// logging "cannot get base MAC addr: ERROR" with a line end (tag mcfg-get_box_mac), with NVRAM
// section 0 left open.
int get_box_mac(unsigned char *mac);
