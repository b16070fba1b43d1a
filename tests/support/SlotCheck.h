#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// The table slot of a virtual member, read from its pointer to member. On the Itanium C++ ABI a pointer to
// a virtual member holds 1 + slot * sizeof(void*). Use it to hold every table of slots in place:
//     EXPECT_EQ(SlotOf(&ISocketReply::Code), 3);
//     EXPECT_EQ(SlotOf<HalvexReply, void(int)>(&HalvexReply::Update), 9);   // an overload
// Returns -1 for a pointer to a non-virtual member.
template <typename Class, typename Member>
std::ptrdiff_t SlotOf(Member Class::*member) {
    struct Representation {
        std::uintptr_t pointer;
        std::ptrdiff_t adjustment;
    } representation;
    static_assert(sizeof(member) == sizeof(representation), "Itanium C++ ABI pointer to member expected");
    std::memcpy(&representation, &member, sizeof representation);
    if ((representation.pointer & 1u) == 0) return -1;
    return static_cast<std::ptrdiff_t>((representation.pointer - 1) / sizeof(void*));
}
