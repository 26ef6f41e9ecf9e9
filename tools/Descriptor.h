#pragma once

#include <QtCore/QtGlobal>

#include <utility>

#include <unistd.h>

/// Owns a file descriptor and closes it on destruction. Can be moved, not copied.
class Descriptor {
public:
    explicit Descriptor(int openFile = -1)
        : file(openFile)
    {
    }
    ~Descriptor()
    {
        if (isOpen()) {
            close(file);
        }
    }
    Descriptor(Descriptor&& other) noexcept
        : file(std::exchange(other.file, -1))
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(file, other.file);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool isOpen() const
    {
        return file >= 0;
    }
    int get() const
    {
        return file;
    }

private:
    int file;
};
