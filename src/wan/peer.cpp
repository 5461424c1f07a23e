#include "wan/peer.h"

#include "util/open_file.h"
#include "util/output_file.h"
#include "util/process.h"
#include "util/text.h"
#include "wan/option_text.h"

#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

static void write_option(FILE *file, const char *option, const char *value)
{
    fprintf(file, "%s ", option);
    write_pppd_value(file, value);
    fputc('\n', file);
}

static void write_quoted_option(FILE *file, const char *option, const char *value)
{
    fprintf(file, "%s ", option);
    write_pppd_quoted(file, value);
    fputc('\n', file);
}

// The tunnel's type and name in one word, each up to its line end.
static void write_joined_option(FILE *file, const char *option, const ppp_params &params,
                                char joint)
{
    char value[sizeof(params.type) + sizeof(params.name)];
    text_format(value, sizeof(value), "%.*s%c%.*s", static_cast<int>(value_length(params.type)),
                params.type, joint, static_cast<int>(value_length(params.name)), params.name);
    write_option(file, option, value);
}

static void write_ipparam(FILE *file, const ppp_params &params)
{
    write_joined_option(file, "ipparam", params, '/');
}

static void write_pptp_head(FILE *file, const ppp_params &params)
{
    write_option(file, "name", params.name);
    fputs("plugin pptp.so\n", file);
    write_option(file, "pptp_server", params.server);
    write_ipparam(file, params);
}

// The bare interface name is an option of the plugin: the device to run on.
static void write_pppoe_head(FILE *file, const ppp_params &params)
{
    fputs("plugin /usr/lib/pppd/rp-pppoe.so\n", file);
    write_quoted_option(file, "rp_pppoe_ac", params.ac);
    write_quoted_option(file, "rp_pppoe_service", params.service);
    write_pppd_device(file, params.iface);
    fputc('\n', file);
    write_ipparam(file, params);
}

// For every type. Routes and DNS servers are the link handler's business, so pppd sets no default
// route. It redials for ever, 5 seconds after a loss, which it notices after three unanswered
// echoes. Every tunnel asks for PPP unit 1. Tunnels with a head have "ipparam" twice, with the same
// value, which does no harm.
static void write_common(FILE *file, const ppp_params &params)
{
    fputs("holdoff 5\n"
          "usepeerdns\n",
          file);
    write_joined_option(file, "linkname", params, '-');
    write_ipparam(file, params);
    fputs("ipcp-accept-remote\n"
          "ipcp-accept-local\n"
          "noauth\n"
          "nodefaultroute\n"
          "hide-password\n",
          file);
    write_option(file, "user", params.login);
    write_option(file, "password", params.passwd);
    fputs("lcp-echo-interval 30\n"
          "lcp-echo-failure 3\n"
          "unit 1\n"
          "maxfail 0\n"
          "persist\n"
          "nomppe\n",
          file);
}

static int run_pppd(const char *, const ppp_params &params)
{
    return run_tool("pppd", "call", params.name);
}

static int run_xl2tpd(const char *peer_path, const ppp_params &params)
{
    static constexpr char conf[] = "/etc/xl2tpd.conf";
    FILE *file = open_stream(conf, "w");
    if (file == nullptr) {
        perror(peer_path);
        return -1;
    }
    fputs("[global]\n"
          "access control = yes\n"
          "\n"
          "[lac l2tp]\n"
          "pppoptfile = ",
          file);
    write_xl2tpd_value(file, peer_path);
    fputs("\nlns = ", file);
    write_xl2tpd_value(file, params.server);
    fputs("\n"
          "redial = yes\n"
          "max redials = 32767\n"
          "redial timeout = 30\n"
          "autodial = yes\n",
          file);
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
    FILE *file = open_stream(path, "w");
    umask(previous);
    return file;
}

int start_pppd(const ppp_params *params, const json_t *)
{
    if (check_path_part(params->name) != 0)
        return -1;
    char path[PEER_PATH_MAX];
    format_peer_path(path, params->name);
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
