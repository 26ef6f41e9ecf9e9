#pragma once

/// Milliseconds until something that a test waits for is taken for hung: much more than it takes on a busy machine, and
/// less than the whole test is given, so that the test can say what it waited for.
#if defined(EMULATED) || defined(MEMORY_CHECKED)
constexpr int patience = 600000;
#else
constexpr int patience = 60000;
#endif
