#pragma once

#include <QtCore/QtGlobal>

/// What an action does to the heap of this process, in bytes and calls. Needs HeapUse.cpp in the program itself.
struct HeapUse {
    qint64 taken;
    qint64 calls;
    /// How much more than before was in use at once.
    qint64 peak;
    /// How much more than before is in use now.
    qint64 kept;
};

/// What the heap has seen so far; `peak` since the last forgetPeak().
HeapUse heapUse();
void forgetPeak();

/// Lets the allocation of this number fail, counted from 1, and all others succeed again.
void failAllocation(qint64 number);
/// Whether that allocation has been asked for since.
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
