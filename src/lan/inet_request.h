// What the interface and route primitives share: the socket that kernel requests go through, and
// IPv4 addresses in the records of those requests.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

// An IPv4 socket of that type and protocol, or -1 with errno set.
int inet_open(int type, int protocol);

// Close fd (unless negative) and give the routine's result: 0 when result is 0, else the error
// number that stood when this was called, after reporting it on standard error with prefix.
int inet_finish(int fd, int result, const char *prefix);

// Whether text says anything: null and "" count as absent in every request.
bool inet_is_given(const char *text);

// The address, in network order, of a dotted quad. An absent one is 0.0.0.0; a text that is no
// dotted quad gives 255.255.255.255.
in_addr_t inet_from_text(const char *text);

// Make *address an AF_INET address of address_be (network order), port 0.
void inet_set_address(sockaddr *address, in_addr_t address_be);
