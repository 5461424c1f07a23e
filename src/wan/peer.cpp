#include "wan/peer.h"

#include "util/output_file.h"
#include "util/process.h"
#include "util/text.h"

#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

constexpr size_t PEER_PATH_MAX = 80;

static void write_ipparam(FILE *file, const ppp_params &params)
{
    fprintf(file, "ipparam %s/%s\n", params.type, params.name);
}

static void write_pptp_head(FILE *file, const ppp_params &params)
{
    fprintf(file,
            "name %s\n"
            "plugin pptp.so\n"
            "pptp_server %s\n",
            params.name, params.server);
    write_ipparam(file, params);
}

// The bare interface name is an option of the plugin: the device to run on.
static void write_pppoe_head(FILE *file, const ppp_params &params)
{
    fprintf(file,
            "plugin /usr/lib/pppd/rp-pppoe.so\n"
            "rp_pppoe_ac \"%s\"\n"
            "rp_pppoe_service \"%s\"\n"
            "%s\n",
            params.ac, params.service, params.iface);
    write_ipparam(file, params);
}

// For every type. Routes and DNS servers are the link handler's business, so pppd sets no default
// route. It redials for ever, 5 seconds after a loss, which it notices after three unanswered
// echoes. Every tunnel asks for PPP unit 1. Tunnels with a head have "ipparam" twice, with the same
// value, which does no harm.
static void write_common(FILE *file, const ppp_params &params)
{
    fprintf(file,
            "holdoff 5\n"
            "usepeerdns\n"
            "linkname %s-%s\n",
            params.type, params.name);
    write_ipparam(file, params);
    fprintf(file,
            "ipcp-accept-remote\n"
            "ipcp-accept-local\n"
            "noauth\n"
            "nodefaultroute\n"
            "hide-password\n"
            "user %s\n"
            "password %s\n"
            "lcp-echo-interval 30\n"
            "lcp-echo-failure 3\n"
            "unit 1\n"
            "maxfail 0\n"
            "persist\n"
            "nomppe\n",
            params.login, params.passwd);
}

static int run_pppd(const char *, const ppp_params &params)
{
    return run_tool("pppd", "call", params.name);
}

static int run_xl2tpd(const char *peer_path, const ppp_params &params)
{
    static constexpr char conf[] = "/etc/xl2tpd.conf";
    FILE *file = fopen(conf, "w");
    if (file == nullptr) {
        perror(peer_path);
        return -1;
    }
    fprintf(file,
            "[global]\n"
            "access control = yes\n"
            "\n"
            "[lac l2tp]\n"
            "pppoptfile = %s\n"
            "lns = %s\n"
            "redial = yes\n"
            "max redials = 32767\n"
            "redial timeout = 30\n"
            "autodial = yes\n",
            peer_path, params.server);
    if (!close_output(file, conf))
        return -1;
    return run_tool("xl2tpd");
}

struct tunnel_type {
    const char *name;
    void (*write_head)(FILE *file, const ppp_params &params);
    const char *tail;
    int (*run_daemon)(const char *peer_path, const ppp_params &params);
};

static void write_no_head(FILE *, const ppp_params &) {}

// xl2tpd hands pppd a line that is connected already. Compression is left out.
constexpr char L2TP_TAIL[] = "connect /bin/true\n"
                             "nodeflate\n"
                             "nobsdcomp\n"
                             "noaccomp\n"
                             "nopcomp\n";

constexpr tunnel_type tunnel_types[] = {
    {"pptp", write_pptp_head, "", run_pppd},
    {"pppoe", write_pppoe_head, "", run_pppd},
    {"l2tp", write_no_head, L2TP_TAIL, run_xl2tpd},
};

constexpr tunnel_type other_type = {"", write_no_head, "", run_pppd};

static const tunnel_type &find_tunnel_type(const char *name)
{
    for (const tunnel_type &type : tunnel_types) {
        if (strcmp(type.name, name) == 0)
            return type;
    }
    return other_type;
}

static FILE *open_private(const char *path)
{
    mode_t previous = umask(066);
    FILE *file = fopen(path, "w");
    umask(previous);
    return file;
}

int start_pppd(const ppp_params *params, const json_t *)
{
    if (check_path_part(params->name) != 0)
        return -1;
    char path[PEER_PATH_MAX];
    text_format(path, sizeof(path), "/etc/ppp/peers/%s", params->name);
    FILE *file = open_private(path);
    if (file == nullptr) {
        perror(path);
        return -1;
    }
    fputs("Start pppd\n", stderr);
    const tunnel_type &type = find_tunnel_type(params->type);
    type.write_head(file, *params);
    write_common(file, *params);
    fputs(type.tail, file);
    if (!close_output(file, path))
        return -1;

    int result = type.run_daemon(path, *params);
    if (result != -1) // an exit status is never negative: the daemon was run
        fputs("pppd: done\n", stderr);
    return result;
}
