// What a firewall rebuild cannot do without: a program of the same libraries that starts, sends as
// many lines to the system log as a rebuild does, the log opened and closed for each, and ends.
//
//   demanded LINES
#include <jansson.h>
#include <stdlib.h>
#include <syslog.h>

int main(int argc, char **argv)
{
    json_t *kept = json_null(); // so that the library is needed
    for (long lines = argc > 1 ? atol(argv[1]) : 0; lines > 0; lines--) {
        openlog("get_vservers_rules", 0, 0);
        syslog(0, "%s", "data[4] = 192.168.1.20");
        closelog();
    }
    return kept == NULL;
}
