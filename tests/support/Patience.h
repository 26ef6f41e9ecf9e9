#pragma once

/// Milliseconds until a test gives up waiting. This is much longer than anything takes on a busy machine, and shorter
/// than the timeout of the whole test, so that the test can report what it waited for.
#if defined(EMULATED) || defined(MEMORY_CHECKED)
constexpr int patience = 600000;
#else
constexpr int patience = 60000;
#endif
