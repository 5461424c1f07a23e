// The router that mctl looks at: documents, locks, kernel, processes and tables of an input, and
// what commands do to them.
#pragma once

#include "fuzz/input.h"
#include "fuzz/world.h"

#include <jansson.h>
#include <string>
#include <vector>

namespace fuzz
{

using words = std::vector<std::string>;

// A text that stands in the place of each secret, and its part that must not be shown. An input
// that holds that part itself proves nothing.
extern const char SECRET_MARK[];

class router
{
  public:
    // Take the parts, in this order: Config, state_link, the locks of both, interfaces, routes,
    // ports of bridges ("BRIDGE/PORT" a line), the nat table as it is listed and as it was
    // generated, answers, obstructed places, what comes and goes meanwhile (see world), files that
    // are newer than Config (a line each), and further files: paths and contents by turns, with the
    // character 1E between them. In a file below /proc, a line end stands for the NUL there.
    // The secret takes the place of each login and password of the documents.
    explicit router(input &parts, const std::string &secret = "");

    // What a listing of each table gives. Jumps come into that of nat and go.
    std::string nat;
    std::string filter;
    std::string mangle;

    // Run mctl with these words. Returns its status; what it has said is in the world.
    int run_mctl(const words &arguments);

    // What every run must hold: status 0, 1 or 2, words on standard error with 2, printable lines,
    // and no secret. Ends the process with what does not.
    void check_said(int status);

    // Whether nothing went wrong outside, and nothing changed by itself.
    bool is_quiet() const { return is_calm; }

  private:
    void put_document(const char *path, const std::string *text, const std::string &secret);
    void put_kernel(input &parts);
    void put_files(const std::string *all);
    void obey(const words &command);
    bool is_calm = true;
};

// The line by which a jump into the port forwards is listed.
std::string jump_line(const std::string &iface, const std::string &address);

// Whether one command has the words of the other, "*" for any one word.
bool has_form(const words &command, const std::vector<std::string_view> &form);

} // namespace fuzz
