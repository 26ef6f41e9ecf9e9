// Runs each job once, for tools that observe it. For counting system calls, the job is between two calls of getppid().
// For callgrind with --instr-atstart=no, only the job is instrumented. Prints the units, the name and the side of each
// job, in the order of the runs.

#include "Jobs.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <cstdio>

#include <sys/syscall.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

int main(int argc, char* argv[])
{
    if (argc < 3) {
        std::fputs("usage: operation SIDE[,SIDE]... OPERATION/TREE...\n", stderr);
        return 2;
    }
    const QList<QByteArray> wanted = QByteArray(argv[1]).split(',');
    for (int i = 2; i < argc; ++i) {
        const Job job = workloadOf(argv[i]).make();
        for (const Side& side : job.sides) {
            if (!wanted.contains(side.name.c_str())) {
                continue;
            }
            // Warm up with an unobserved run, which initialises what is initialised only once.
            side.prepare(1);
            side.run();
            side.prepare(2);
            CALLGRIND_START_INSTRUMENTATION;
            syscall(SYS_getppid);
            side.run();
            syscall(SYS_getppid);
            CALLGRIND_STOP_INSTRUMENTATION;
            const std::string name = std::string(argv[i]) + ' ' + side.name;
            CALLGRIND_DUMP_STATS_AT(name.c_str());
            std::printf("%d %s\n", job.units, name.c_str());
        }
    }
    return 0;
}
