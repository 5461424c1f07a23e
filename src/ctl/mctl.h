// mctl: the companion for people and for the web interface. The router works without it and never
// starts it.
#pragma once

int mctl_main(int argc, char **argv);
