// Files as the library opens them: a file to read is mapped whole (the
// readers parse bytes in memory); a file to write is first written under a
// temporary name in its own folder and renamed over the target only when
// complete, so a failed save never leaves half a file behind.
#pragma once

#include "format.h"

#include <cstdio>
#include <string>

namespace zentar {

class MappedFile {
public:
    MappedFile() = default;
    ~MappedFile();
    MappedFile(const MappedFile &) = delete;
    MappedFile &operator=(const MappedFile &) = delete;

    // ZNT_OK, or ZNT_CANT_OPEN for a missing, unreadable or non-regular file.
    OpStatus open(const char *fileName);
    Bytes bytes() const { return {data_, size_}; }

private:
    const uint8_t *data_ = nullptr;
    size_t size_ = 0;
    bool mapped_ = false;
};

class SaveTarget {
public:
    SaveTarget() = default;
    ~SaveTarget();   // discards an uncommitted temporary file
    SaveTarget(const SaveTarget &) = delete;
    SaveTarget &operator=(const SaveTarget &) = delete;

    // ZNT_OK, or ZNT_CANT_CREATE when no file can be made beside the target.
    OpStatus open(const char *fileName);
    FILE *file() const { return file_; }
    // Flushes, closes and renames over the target: ZNT_OK or ZNT_CANT_WRITE.
    OpStatus commit();

private:
    void discard();

    std::string target_, temporary_;
    FILE *file_ = nullptr;
};

}  // namespace zentar
