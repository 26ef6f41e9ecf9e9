#pragma once

#include <QtCore/QtGlobal>

/// The heap use of an action, in bytes and calls. HeapUse.cpp has to be a part of the program itself.
struct HeapUse {
    qint64 taken;
    qint64 calls;
    /// The peak, relative to what was in use before.
    qint64 peak;
    /// What is in use now, relative to what was in use before.
    qint64 kept;
};

/// Returns the heap use of the process so far; `peak` is the highest value since the last forgetPeak().
HeapUse heapUse();
void forgetPeak();

/// Makes the allocation of this number fail, counted from 1. All others succeed.
void failAllocation(qint64 number);
/// Whether the allocation that was to fail has been requested.
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
