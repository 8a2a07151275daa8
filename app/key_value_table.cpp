#include "app/key_value_table.h"

#include <cstring>

namespace quivel {

namespace {

std::unique_ptr<char[]> copyOf(std::string_view text) {
    auto copy = std::make_unique<char[]>(text.size() + 1);
    std::memcpy(copy.get(), text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

}  // namespace

KeyValueTable::KeyValueTable() : slots_(kInitialCapacity) {}

int KeyValueTable::hash(std::string_view key) {
    const size_t counted = key.size() < 16 ? key.size() : 16;
    int sum = 0;
    for (size_t i = key.size() - counted; i < key.size(); ++i) sum += static_cast<signed char>(key[i]);
    return sum;
}

void KeyValueTable::grow() {
    std::vector<Slot> old = std::move(slots_);
    slots_ = std::vector<Slot>(old.size() * 2);
    const size_t mask = slots_.size() - 1;
    for (Slot &slot : old) {
        if (!slot.key) continue;
        size_t i = homeSlot(slot.key.get());
        while (slots_[i].key) i = (i + 1) & mask;
        slots_[i] = std::move(slot);
    }
}

void KeyValueTable::insert(std::string_view key, std::string_view value) {
    if (count_ >= slots_.size() * 80 / 100) grow();
    const size_t mask = slots_.size() - 1;
    size_t i = homeSlot(key);
    for (; slots_[i].key; i = (i + 1) & mask)
        if (key == slots_[i].key.get()) return;
    slots_[i].key = copyOf(key);
    slots_[i].value = copyOf(value);
    ++count_;
}

const char *KeyValueTable::lookup(std::string_view key) const {
    const size_t mask = slots_.size() - 1;
    for (size_t i = homeSlot(key); slots_[i].key; i = (i + 1) & mask)
        if (key == slots_[i].key.get()) return slots_[i].value.get();
    return nullptr;
}

}  // namespace quivel
