#include "file_io.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zentar {

MappedFile::~MappedFile() {
    if (mapped_) munmap(const_cast<uint8_t *>(data_), size_);
}

OpStatus MappedFile::open(const char *fileName) {
    const int fd = ::open(fileName, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return ZNT_CANT_OPEN;
    struct stat st;
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return ZNT_CANT_OPEN;
    }
    if (st.st_size > 0) {
        void *p = mmap(nullptr, size_t(st.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
        if (p == MAP_FAILED) {
            ::close(fd);
            return ZNT_CANT_OPEN;
        }
        data_ = static_cast<const uint8_t *>(p);
        size_ = size_t(st.st_size);
        mapped_ = true;
    }
    ::close(fd);
    return ZNT_OK;
}

SaveTarget::~SaveTarget() { discard(); }

void SaveTarget::discard() {
    if (file_ != nullptr) std::fclose(file_);
    file_ = nullptr;
    if (!temporary_.empty()) unlink(temporary_.c_str());
    temporary_.clear();
}

OpStatus SaveTarget::open(const char *fileName) {
    if (fileName == nullptr || *fileName == '\0') return ZNT_CANT_CREATE;
    target_ = fileName;
    // Saving through a symbolic link replaces the file it points to.
    struct stat st;
    if (lstat(fileName, &st) == 0 && S_ISLNK(st.st_mode)) {
        char resolved[PATH_MAX];
        if (realpath(fileName, resolved) != nullptr) target_ = resolved;
    }
    std::string pattern = target_ + ".XXXXXX";
    const int fd = mkstemp(pattern.data());
    if (fd < 0) return ZNT_CANT_CREATE;
    temporary_ = pattern;
    // The new file gets the old one's permissions, or those a plain create would give.
    mode_t mode;
    if (stat(target_.c_str(), &st) == 0) {
        mode = st.st_mode & 07777;
    } else {
        const mode_t mask = umask(022);
        umask(mask);
        mode = 0666 & ~mask;
    }
    fchmod(fd, mode);
    file_ = fdopen(fd, "w+b");   // readable too: TIFF links its directories by reading back
    if (file_ == nullptr) {
        ::close(fd);
        discard();
        return ZNT_CANT_CREATE;
    }
    return ZNT_OK;
}

OpStatus SaveTarget::commit() {
    if (file_ == nullptr) return ZNT_CANT_WRITE;
    const bool written = std::fflush(file_) == 0 && !std::ferror(file_);
    const bool closed = std::fclose(file_) == 0;
    file_ = nullptr;
    if (!written || !closed || rename(temporary_.c_str(), target_.c_str()) != 0) {
        discard();
        return ZNT_CANT_WRITE;
    }
    temporary_.clear();
    return ZNT_OK;
}

}  // namespace zentar
