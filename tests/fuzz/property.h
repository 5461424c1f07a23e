// What must hold whatever the input is.
#pragma once

namespace fuzz
{

// Say what does not hold and end the process as a crash, which the fuzzer keeps the input of.
[[noreturn, gnu::format(printf, 1, 2)]] void violated(const char *format, ...);

} // namespace fuzz
