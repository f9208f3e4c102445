#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace netloom::detail {

// Key of a 32-bit id (node, edge or port id).
inline std::uint64_t IdKey(int id) {
    return static_cast<std::uint32_t>(id);
}

// Key of an unordered pair of node ids: smaller id in the high half.
inline std::uint64_t PairKey(int a, int b) {
    const auto lo = static_cast<std::uint32_t>(a < b ? a : b);
    const auto hi = static_cast<std::uint32_t>(a < b ? b : a);
    return (static_cast<std::uint64_t>(lo) << 32) | hi;
}

// Open-addressing hash map from 64-bit keys to small values, used for the
// graph's lookup indexes: one flat array instead of one heap node per entry,
// which matters for graphs with millions of edges. A key may be stored several
// times (InsertMulti) when the index holds parallel edges.
template <class V> class FlatHashMap {
public:
    std::size_t Size() const { return m_size; }

    void Clear() {
        m_slots.clear();
        m_state.clear();
        m_size = 0;
        m_used = 0;
    }

    void Reserve(std::size_t count) {
        std::size_t capacity = 16;
        while (capacity < count * 2) {
            capacity *= 2;
        }
        if (capacity > m_slots.size()) {
            Rehash(capacity);
        }
    }

    // The value of the first entry with the key, or null.
    V* Find(std::uint64_t key) {
        V* found = nullptr;
        ForEach(key, [&](V& value) {
            found = &value;
            return false;
        });
        return found;
    }
    const V* Find(std::uint64_t key) const { return const_cast<FlatHashMap*>(this)->Find(key); }

    // Calls visit(value) for every entry with the key until it returns false.
    template <class F> void ForEach(std::uint64_t key, F visit) {
        if (m_slots.empty()) {
            return;
        }
        for (std::size_t i = Home(key);; i = (i + 1) & Mask()) {
            if (m_state[i] == kEmpty) {
                return;
            }
            if (m_state[i] == kFull && m_slots[i].first == key && !visit(m_slots[i].second)) {
                return;
            }
        }
    }

    // The value stored under the key, inserted as `init` when absent.
    V& FindOrInsert(std::uint64_t key, const V& init) {
        if (V* found = Find(key)) {
            return *found;
        }
        return InsertMulti(key, init);
    }

    V& InsertMulti(std::uint64_t key, const V& value) {
        Grow();
        std::size_t i = Home(key);
        while (m_state[i] == kFull) {
            i = (i + 1) & Mask();
        }
        if (m_state[i] == kEmpty) {
            ++m_used;
        }
        m_state[i] = kFull;
        m_slots[i] = {key, value};
        ++m_size;
        return m_slots[i].second;
    }

    // Removes the first entry with this key and value; false when there is none.
    bool Erase(std::uint64_t key, const V& value) {
        if (m_slots.empty()) {
            return false;
        }
        for (std::size_t i = Home(key);; i = (i + 1) & Mask()) {
            if (m_state[i] == kEmpty) {
                return false;
            }
            if (m_state[i] == kFull && m_slots[i].first == key && m_slots[i].second == value) {
                m_state[i] = kDeleted;
                --m_size;
                return true;
            }
        }
    }

private:
    static constexpr std::uint8_t kEmpty = 0;
    static constexpr std::uint8_t kFull = 1;
    static constexpr std::uint8_t kDeleted = 2;

    std::size_t Mask() const { return m_slots.size() - 1; }

    std::size_t Home(std::uint64_t key) const {
        // splitmix64 finaliser: consecutive ids spread over the whole table.
        key ^= key >> 30;
        key *= 0xbf58476d1ce4e5b9ULL;
        key ^= key >> 27;
        key *= 0x94d049bb133111ebULL;
        key ^= key >> 31;
        return static_cast<std::size_t>(key) & Mask();
    }

    // Keeps live entries and tombstones under half of the table.
    void Grow() {
        if (m_slots.empty()) {
            Rehash(16);
        } else if ((m_used + 1) * 2 > m_slots.size()) {
            Rehash(m_size * 4 > m_slots.size() ? m_slots.size() * 2 : m_slots.size());
        }
    }

    void Rehash(std::size_t capacity) {
        std::vector<std::pair<std::uint64_t, V>> slots(capacity);
        std::vector<std::uint8_t> state(capacity, kEmpty);
        std::swap(slots, m_slots);
        std::swap(state, m_state);
        m_size = 0;
        m_used = 0;
        for (std::size_t i = 0; i < slots.size(); ++i) {
            if (state[i] == kFull) {
                InsertMulti(slots[i].first, slots[i].second);
            }
        }
    }

    std::vector<std::pair<std::uint64_t, V>> m_slots;
    std::vector<std::uint8_t> m_state;
    std::size_t m_size = 0; // live entries
    std::size_t m_used = 0; // live entries and tombstones
};

} // namespace netloom::detail
