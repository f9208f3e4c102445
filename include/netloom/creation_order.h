#pragma once

#include <netloom/export.h>

#include <cstdint>
#include <set>

namespace netloom {

// Every node, edge, component and layer node takes a serial number when it is
// constructed. Sets of object pointers compare these numbers, so iteration order
// is the order of creation and never depends on where the allocator put things.
NETLOOM_API std::uint64_t NextCreationSerial();

// Base of every object that takes part in creation-order sets. A copy is a new
// object and takes a new number; assignment keeps the target's number.
class NETLOOM_API CreationOrdered {
public:
    CreationOrdered() : m_uSerial(NextCreationSerial()) {}
    CreationOrdered(const CreationOrdered&) : m_uSerial(NextCreationSerial()) {}
    CreationOrdered& operator=(const CreationOrdered&) { return *this; }
    std::uint64_t GetSerial() const { return m_uSerial; }

private:
    std::uint64_t m_uSerial;
};

struct CreationOrderLess {
    // A template, so that sets of incomplete types can be declared.
    template <class T> bool operator()(const T* a, const T* b) const {
        return a->GetSerial() < b->GetSerial();
    }
};

template <class T> using CreationOrderSet = std::set<T*, CreationOrderLess>;

} // namespace netloom
