#pragma once

#include <cstddef>

// The interface is binary: each record and table states its own layout, so that a slip is a compile error. Offsets and
// sizes are bytes on 64-bit systems, where a function pointer is a slot of 8.
#define NIMBREL_LAYOUT(type, size, alignment) \
    static_assert(sizeof(type) == (size) && alignof(type) == (alignment), #type " has another size")
#define NIMBREL_OFFSET(type, member, offset) \
    static_assert(offsetof(type, member) == (offset), #type "::" #member " is at another place")
#define NIMBREL_SLOTS(table, count) \
    static_assert(sizeof(table) == std::size_t{8} * (count), #table " has another number of slots")
#define NIMBREL_SLOT(table, slot, member) NIMBREL_OFFSET(table, member, std::size_t{8} * (slot))
