#include "util/mmac.h"

#include "platform/nvram.h"
#include "util/mac.h"

#include <stdio.h>
#include <string.h>

static unsigned char same(unsigned char last)
{
    return last;
}

static unsigned char next(unsigned char last)
{
    return static_cast<unsigned char>(last + 1);
}

// The wireless driver numbers its BSSs in the low three bits.
static unsigned char next_of_eight(unsigned char last)
{
    return static_cast<unsigned char>((last + 8) & ~7);
}

struct parameter {
    const char *name;
    const char *key;
    // The last byte of an address that is not set, from that of the base address; null for a
    // parameter that is no address.
    unsigned char (*derive)(unsigned char last);
};

constexpr parameter parameters[] = {
    {"lan", "ethaddr", same},
    {"wan", "wanmac", next},
    {"wlan", "wlanmac", next_of_eight},
    {"box", "ethaddr", same},
    {"base", "ethaddr", same},
    {"pin", "pin", nullptr},
    {"sn", "sn", nullptr},
    {"hwrev", "hwrev", nullptr},
    {"countrycode", "countrycode", nullptr},
    {"flashspeed", "flashspeed", nullptr},
    {"appex", "appex", nullptr},
};

const char *parameter_key(size_t index)
{
    return index < sizeof(parameters) / sizeof(parameters[0]) ? parameters[index].key : nullptr;
}

constexpr char USAGE[] = "mmac: tool for getting ifaces MAC's\n"
                         "Usage: mmac <command> <params>\n"
                         "Commands:\n"
                         "    get - stdout result (MAC-address or another hardcoded data)\n"
                         "    set\n"
                         "Params:\n"
                         "    get|set:\n"
                         "        box|base|lan\n"
                         "        wan\n"
                         "        wlan\n"
                         "        pin\n"
                         "        sn\n"
                         "        hwrev\n"
                         "        countrycode\n"
                         "        flashspeed\n"
                         "        appex\n";

static int usage(int status)
{
    fputs(USAGE, stderr);
    return status;
}

static const parameter *find_parameter(const char *name)
{
    for (const parameter &row : parameters) {
        if (strcmp(row.name, name) == 0)
            return &row;
    }
    return nullptr;
}

static void print_value(text_piece value)
{
    printf("%.*s\n", static_cast<int>(value.length), value.start);
}

static int print_derived(const parameter &asked, unsigned char *mac)
{
    fprintf(stderr, "cannot get %s directly, make it from box MAC\n", asked.name);
    mac[MAC_BYTES - 1] = asked.derive(mac[MAC_BYTES - 1]);
    char text[MAC_TEXT_MAX];
    puts(format_mac(mac, text));
    return 0;
}

static int get(const parameter &asked)
{
    bool is_mac = asked.derive != nullptr;
    unsigned char base[MAC_BYTES] = {};
    int base_result = is_mac ? get_ethaddr(base) : 0;
    if (base_result != 0)
        fprintf(stderr, "cannot get base MAC addr: %s\n", strerror(-base_result));

    const char *value = nvram_bufget(NVRAM_DEVICE, asked.key);
    if (value[0] != '\0') {
        print_value(is_mac ? without_quotes(value) : text_piece{value, strlen(value)});
        return 0;
    }
    if (is_mac && base_result == 0)
        return print_derived(asked, base);
    fprintf(stderr, "cannot get %s\n", asked.name);
    return 1;
}

static bool is_mac_text(text_piece text)
{
    unsigned char mac[MAC_BYTES];
    return parse_mac(text, mac) == 0;
}

static void strip_quotes(char *text)
{
    text_piece inner = without_quotes(text);
    memmove(text, inner.start, inner.length);
    text[inner.length] = '\0';
}

static int set(const parameter &asked, char *value)
{
    if (asked.derive != nullptr) {
        strip_quotes(value);
        if (!is_mac_text({value, strlen(value)})) {
            fprintf(stderr, "%s is not valid mac", value);
            return 1;
        }
    }
    int result = nvram_bufset(NVRAM_DEVICE, asked.key, value);
    if (result != 0) {
        fprintf(stderr, "nvram set returned error (%d)\n", result);
        return 1;
    }
    return 0;
}

// A script must not take an answer that was cut for one.
static bool is_answer_out()
{
    if (fflush(stdout) == 0 && ferror(stdout) == 0)
        return true;
    perror("mmac");
    return false;
}

int mmac_main(int argc, char **argv)
{
    if (argc < 2)
        return usage(1);
    bool is_get = strcmp(argv[1], "get") == 0;
    if (!is_get && strcmp(argv[1], "set") != 0)
        return usage(0);
    if (argc != (is_get ? 3 : 4))
        return usage(1);
    const parameter *asked = find_parameter(argv[2]);
    if (asked == nullptr)
        return usage(0);

    // A value in quotes is refused here already, although set() would take them off.
    if (!is_get && asked->derive != nullptr && !is_mac_text({argv[3], strlen(argv[3])})) {
        fprintf(stderr, "%s is not valid MAC address\n", argv[3]);
        return 1;
    }
    nvram_init(NVRAM_DEVICE);
    int status = is_get ? get(*asked) : set(*asked, argv[3]);
    nvram_close(NVRAM_DEVICE);
    return is_answer_out() ? status : 1;
}
