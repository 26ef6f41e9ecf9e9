#pragma once

#include <QtCore/QtGlobal>

/// What an action does to the heap of this process, in bytes and calls. Needs HeapUse.cpp in the program itself.
struct HeapUse {
    qint64 taken;
    qint64 calls;
    /// The peak, relative to what was in use before.
    qint64 peak;
    /// What is in use now, relative to what was in use before.
    qint64 kept;
};

/// What the heap has seen so far; `peak` since the last forgetPeak().
HeapUse heapUse();
void forgetPeak();

/// The allocation of this number fails, counted from 1. All others succeed.
void failAllocation(qint64 number);
/// Whether that allocation has been requested since then.
bool allocationHasFailed();

template <typename Action>
HeapUse heapUseOf(Action action)
{
    forgetPeak();
    const HeapUse before = heapUse();
    action();
    const HeapUse after = heapUse();
    return {after.taken - before.taken, after.calls - before.calls, after.peak - before.kept, after.kept - before.kept};
}
