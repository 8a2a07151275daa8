// Bounds-checked reading of numbers from a byte buffer, and writing of
// numbers to a file. A read past the end yields zeros and marks the reader
// failed, so a parser can read a whole header and test once.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>

namespace zentar {

class ByteReader {
public:
    explicit ByteReader(std::span<const uint8_t> bytes, size_t position = 0)
        : data_(bytes.data()), size_(bytes.size()), pos_(position) {}

    bool ok() const { return ok_; }
    size_t position() const { return pos_; }
    size_t size() const { return size_; }
    size_t remaining() const { return pos_ <= size_ ? size_ - pos_ : 0; }
    const uint8_t *here() const { return data_ + (pos_ <= size_ ? pos_ : size_); }

    bool seek(uint64_t position) {
        if (position > size_) {
            ok_ = false;
            pos_ = size_;
            return false;
        }
        pos_ = size_t(position);
        return true;
    }
    bool skip(uint64_t count) { return seek(uint64_t(pos_) + count); }

    uint8_t u8() {
        if (pos_ >= size_) return fail();
        return data_[pos_++];
    }
    uint16_t le16() { return take(2) ? uint16_t(p_[0] | p_[1] << 8) : 0; }
    uint32_t le32() {
        return take(4) ? uint32_t(p_[0]) | uint32_t(p_[1]) << 8 | uint32_t(p_[2]) << 16 | uint32_t(p_[3]) << 24
                       : 0;
    }
    uint16_t be16() { return take(2) ? uint16_t(p_[0] << 8 | p_[1]) : 0; }
    uint32_t be32() {
        return take(4) ? uint32_t(p_[0]) << 24 | uint32_t(p_[1]) << 16 | uint32_t(p_[2]) << 8 | uint32_t(p_[3])
                       : 0;
    }
    // Copies `count` bytes, or fails leaving `out` untouched.
    bool bytes(void *out, size_t count) {
        if (!take(count)) return false;
        std::memcpy(out, p_, count);
        return true;
    }

private:
    uint8_t fail() {
        ok_ = false;
        return 0;
    }
    bool take(size_t count) {
        if (pos_ > size_ || size_ - pos_ < count) {
            ok_ = false;
            pos_ = size_;
            return false;
        }
        p_ = data_ + pos_;
        pos_ += count;
        return true;
    }

    const uint8_t *data_;
    size_t size_;
    size_t pos_;
    const uint8_t *p_ = nullptr;
    bool ok_ = true;
};

inline uint16_t readLe16(const uint8_t *p) { return uint16_t(p[0] | p[1] << 8); }
inline uint32_t readLe32(const uint8_t *p) {
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
inline uint16_t readBe16(const uint8_t *p) { return uint16_t(p[0] << 8 | p[1]); }
inline uint32_t readBe32(const uint8_t *p) {
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | uint32_t(p[3]);
}

// The same numbers into a buffer, such as a header built before it is written.
inline void writeLe16(uint8_t *p, unsigned v) { p[0] = uint8_t(v), p[1] = uint8_t(v >> 8); }
inline void writeBe16(uint8_t *p, unsigned v) { p[0] = uint8_t(v >> 8), p[1] = uint8_t(v); }
inline void writeBe32(uint8_t *p, uint32_t v) {
    p[0] = uint8_t(v >> 24), p[1] = uint8_t(v >> 16), p[2] = uint8_t(v >> 8), p[3] = uint8_t(v);
}

// Collects bytes for a file and remembers whether any write failed.
class FileWriter {
public:
    explicit FileWriter(FILE *file) : file_(file) {}
    bool ok() const { return ok_; }
    void bytes(const void *data, size_t count) {
        if (ok_ && count != 0 && std::fwrite(data, 1, count, file_) != count) ok_ = false;
    }
    void u8(unsigned v) {
        const uint8_t b = uint8_t(v);
        bytes(&b, 1);
    }
    void le16(unsigned v) {
        const uint8_t b[2] = {uint8_t(v), uint8_t(v >> 8)};
        bytes(b, 2);
    }
    void le32(uint32_t v) {
        const uint8_t b[4] = {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)};
        bytes(b, 4);
    }
    void be16(unsigned v) {
        const uint8_t b[2] = {uint8_t(v >> 8), uint8_t(v)};
        bytes(b, 2);
    }
    void be32(uint32_t v) {
        const uint8_t b[4] = {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)};
        bytes(b, 4);
    }
    void text(const char *s) { bytes(s, std::strlen(s)); }

private:
    FILE *file_;
    bool ok_ = true;
};

}  // namespace zentar
