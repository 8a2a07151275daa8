// A small string-keyed hash table that holds the parsed configuration file
// while it is read.
//
// The capacity is a power of two (1024 to begin with). A key's hash is the sum
// of its last characters, at most 16 of them, taken as signed chars; its home
// slot is the hash AND (capacity - 1). Collisions probe the following slots,
// wrapping from the last slot to the first. Before each insertion the table
// doubles and re-hashes everything once it holds 80 % of its capacity, so a
// probe always ends at an empty slot.
//
// The first insertion of a key wins; later ones change nothing. The table owns
// private copies of every key and value.
//
// Keys that share a hash all probe the same run of slots, so lookups slow down
// with the number of such keys: callers insert only keys they will look up.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace quivel {

class KeyValueTable {
public:
    static constexpr size_t kInitialCapacity = 1024;

    KeyValueTable();
    KeyValueTable(const KeyValueTable &) = delete;
    KeyValueTable &operator=(const KeyValueTable &) = delete;

    // Copies both; does nothing when the key is already present.
    void insert(std::string_view key, std::string_view value);
    // The value stored for the key, or nullptr.
    const char *lookup(std::string_view key) const;

    size_t size() const { return count_; }
    size_t capacity() const { return slots_.size(); }

    static int hash(std::string_view key);

private:
    struct Slot {
        std::unique_ptr<char[]> key;     // null: the slot is empty
        std::unique_ptr<char[]> value;
    };

    size_t homeSlot(std::string_view key) const { return size_t(unsigned(hash(key))) & (slots_.size() - 1); }
    void grow();

    std::vector<Slot> slots_;
    size_t count_ = 0;
};

}  // namespace quivel
