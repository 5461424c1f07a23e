// The entry of libFuzzer. MCFG_FUZZ_TARGET names the target; scripts/fuzz sets it.
#include "fuzz/targets.h"

#include <cstdio>
#include <cstdlib>

namespace
{

const fuzz::target *chosen = nullptr;

}

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int LLVMFuzzerInitialize(int *, char ***)
{
    chosen = fuzz::find_target(getenv("MCFG_FUZZ_TARGET"));
    if (chosen == nullptr) {
        fputs("MCFG_FUZZ_TARGET names no target\n", stderr);
        exit(2);
    }
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    return fuzz::test_one(*chosen, data, size);
}
