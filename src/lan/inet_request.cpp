#include "lan/inet_request.h"

#include <arpa/inet.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

int inet_open(int type, int protocol)
{
    return socket(AF_INET, type, protocol);
}

int inet_finish(int fd, int result, const char *prefix)
{
    int error = errno;
    if (fd >= 0)
        close(fd);
    if (result == 0)
        return 0;
    errno = error;
    perror(prefix);
    return error;
}

bool inet_is_given(const char *text)
{
    return text != nullptr && text[0] != '\0';
}

in_addr_t inet_from_text(const char *text)
{
    return inet_is_given(text) ? inet_addr(text) : 0;
}

void inet_set_address(sockaddr *address, in_addr_t address_be)
{
    sockaddr_in inet = {};
    inet.sin_family = AF_INET;
    inet.sin_addr.s_addr = address_be;
    memcpy(address, &inet, sizeof(inet));
}
