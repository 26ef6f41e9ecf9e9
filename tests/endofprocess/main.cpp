// Uses the library while the process ends: endofprocess MOMENT FOLDER. Prints the number of elements after each use.

#include "Using.h"

#include <QtCore/QDebug>
#include <QtCore/QDir>
#include <QtCore/QRandomGenerator>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

namespace {

QString folder;
const char* moment = "";

void use()
{
    std::printf("%d elements\n", useLibraryIn(folder));
    std::fflush(stdout);
}

/// Uses the library when it is destroyed.
struct LateUser {
    explicit LateUser(const char* ownMoment)
        : when(ownMoment)
    {
    }
    ~LateUser()
    {
        if (std::strcmp(when, moment) == 0) {
            use();
        }
    }
    const char* when;
};

/// Scans on a thread while static objects are destroyed. The constructor uses Qt's static objects, so that they are
/// created first and destroyed after the thread has ended: Qt does not support threads at that time.
struct Scanner {
    Scanner()
    {
        QDir(QString::fromLocal8Bit(".")).entryInfoList();
        QRandomGenerator::global()->generate();
        qDebug("Qt is in use");
    }
    ~Scanner()
    {
        if (thread.joinable()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            ends = true;
            thread.join();
            std::printf("%s elements\n", allRight ? "4" : "other");
        }
    }
    void start()
    {
        thread = std::thread([this] {
            while (!ends) {
                allRight = useLibraryIn(folder) == 4 && allRight;
                started = true;
            }
        });
        while (!started) {
            std::this_thread::yield();
        }
        std::printf("%s elements\n", allRight ? "4" : "other");
    }
    std::atomic<bool> started {false};
    std::atomic<bool> ends {false};
    std::atomic<bool> allRight {true};
    std::thread thread;
};

// Created before all static objects of the library, and so destroyed after them.
Scanner scanner;
const LateUser madeBefore("before");

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        return EXIT_FAILURE;
    }
    moment = argv[1];
    folder = QString::fromLocal8Bit(argv[2]);
    if (std::strcmp(moment, "atexit") == 0) {
        std::atexit(use);
    }
    if (std::strcmp(moment, "thread") == 0) {
        // Only the thread may use the folder.
        scanner.start();
    } else {
        use();
    }
    static const LateUser madeAfter("after");
    return EXIT_SUCCESS;
}
