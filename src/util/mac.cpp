#include "util/mac.h"

#include "platform/nvram.h"
#include "util/log.h"
#include "util/text.h"

#include <errno.h>
#include <netinet/ether.h>
#include <stdio.h>
#include <string.h>

static_assert(sizeof(ether_addr) == MAC_BYTES);

text_piece without_quotes(const char *text)
{
    size_t length = strlen(text);
    if (length < 2 || text[0] != '"' || text[length - 1] != '"')
        return {text, length};
    return {text + 1, length - 2};
}

int parse_mac(text_piece text, unsigned char *mac)
{
    // An address is decided by its first characters, so a longer text may be cut.
    char terminated[64];
    text_set(terminated, text);
    errno = 0;
    const ether_addr *address = ether_aton(terminated);
    if (address == nullptr) {
        if (errno == 0)
            errno = EINVAL;
        return -errno;
    }
    memcpy(mac, address, MAC_BYTES);
    return 0;
}

char *format_mac(const unsigned char *mac, char *out)
{
    text_format(out, MAC_TEXT_MAX, "%02X:%02X:%02X:%02X:%02X:%02X", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
    return out;
}

int get_ethaddr(unsigned char *mac)
{
    const char *value = nvram_bufget(NVRAM_DEVICE, "ethaddr");
    if (value[0] == '\0') {
        errno = EFAULT;
        return -EFAULT;
    }
    return parse_mac(without_quotes(value), mac);
}

// Open NVRAM section 0 and get the base address from it. The section stays open.
static bool open_base_mac(unsigned char *mac, const char *log_tag)
{
    nvram_init(NVRAM_DEVICE);
    int result = get_ethaddr(mac);
    if (result != 0)
        logmessage(log_tag, "cannot get base MAC addr: %s\n", strerror(-result));
    return result == 0;
}

int get_mac(const char *name, char *out)
{
    unsigned char mac[MAC_BYTES];
    if (!open_base_mac(mac, "mcfg-get_mac"))
        return -1;
    bool is_base = strcmp(name, "ethaddr") == 0;
    if (!is_base && strcmp(name, "wan") != 0)
        return -1;
    if (!is_base)
        mac[MAC_BYTES - 1]++;
    format_mac(mac, out);
    if (is_base) {
        fprintf(stdout, "%s\n", out);
        fflush(stdout); // before what the tools print that run next
    }
    nvram_close(NVRAM_DEVICE);
    return 1;
}

int get_box_mac(unsigned char *mac)
{
    if (!open_base_mac(mac, "mcfg-get_box_mac"))
        return -1;
    nvram_close(NVRAM_DEVICE);
    return 1;
}
