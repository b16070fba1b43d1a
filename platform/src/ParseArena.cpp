#include "ParseArena.h"

#include <cstdint>
#include <new>
#include <typeinfo>

namespace {

constexpr std::size_t kAlignment = alignof(std::max_align_t);
// What the allocator keeps beside each block, counted so that many tiny blocks cost what they take.
constexpr std::size_t kBlockOverhead = 16;
// Blocks up to this size are cut from chunks; larger ones are allocated on their own. Objects of a dozen
// members and texts of a few lines are cut too: a tree's blocks are made once at their final size.
constexpr std::size_t kSmallBlock = 4096;
constexpr std::size_t kSmallestFirstChunk = 1024;
constexpr std::size_t kLargestChunk = 256 * 1024;

std::size_t RoundUp(std::size_t bytes) {
    return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

std::size_t BudgetFor(std::size_t textLength) {
    return 4 * textLength + (std::size_t(8) << 20);
}

// A tree takes up to about four times its text; the first chunk comes with the arena itself, so that a
// small reply costs one allocation.
std::size_t FirstChunkFor(std::size_t textLength) {
    const std::size_t guess = textLength < kLargestChunk / 4 ? 4 * textLength : kLargestChunk;
    return RoundUp(guess < kSmallestFirstChunk ? kSmallestFirstChunk : guess);
}

}  // namespace

struct alignas(kAlignment) ParseArena::Chunk {
    Chunk* next;
};

struct alignas(kAlignment) ParseArena::LargeBlock {
    LargeBlock* previous;
    LargeBlock* next;
};

ParseArena* ParseArena::Create(std::size_t textLength) noexcept {
    const std::size_t first = FirstChunkFor(textLength);
    const std::size_t header = RoundUp(sizeof(ParseArena));
    void* memory = ::operator new(header + first, std::nothrow);
    if (!memory) return nullptr;
    return new (memory) ParseArena(BudgetFor(textLength), static_cast<char*>(memory) + header, first);
}

ParseArena* ParseArena::Of(const boost::json::value& value) noexcept {
    const boost::json::storage_ptr& storage = value.storage();
    // Only an arena is both unshared and trivially deallocated here: the test is two instructions for
    // every other value.
    if (!storage.is_not_shared_and_deallocate_is_trivial()) return nullptr;
    boost::json::memory_resource* resource = storage.get();
    // An exact type test: a dynamic_cast would search the class hierarchy.
    return typeid(*resource) == typeid(ParseArena) ? static_cast<ParseArena*>(resource) : nullptr;
}

ParseArena::ParseArena(std::size_t budget, char* firstRoom, std::size_t firstSize) noexcept
    : left_(budget), free_(firstRoom), room_(firstSize), nextChunk_(firstSize * 2) {
    const std::size_t spent = RoundUp(sizeof(ParseArena)) + firstSize + kBlockOverhead;
    left_ = budget > spent ? budget - spent : 0;
}

ParseArena::~ParseArena() {
    while (chunks_) {
        Chunk* next = chunks_->next;
        ::operator delete(chunks_);
        chunks_ = next;
    }
    while (large_) {
        LargeBlock* next = large_->next;
        ::operator delete(large_);
        large_ = next;
    }
}

void ParseArena::Hold() noexcept {
    holds_.fetch_add(1, std::memory_order_relaxed);
}

void ParseArena::Drop() noexcept {
    if (holds_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    this->~ParseArena();
    ::operator delete(static_cast<void*>(this));
}

void* ParseArena::do_allocate(std::size_t bytes, std::size_t alignment) {
    if (alignment > kAlignment) throw std::bad_alloc();  // Boost.JSON never asks for more
    if (bytes <= kSmallBlock) return Cut(bytes, alignment);
    if (bytes > left_) throw OverBudget();  // before the sum below, which could overflow
    Spend(bytes + sizeof(LargeBlock) + kBlockOverhead);
    void* memory = nullptr;
    try {
        memory = ::operator new(sizeof(LargeBlock) + bytes);
    } catch (...) {
        left_ += bytes + sizeof(LargeBlock) + kBlockOverhead;
        throw;
    }
    auto* block = new (memory) LargeBlock{nullptr, large_};
    if (large_) large_->previous = block;
    large_ = block;
    return block + 1;
}

void ParseArena::do_deallocate(void* memory, std::size_t bytes, std::size_t) {
    if (bytes <= kSmallBlock) return;  // freed with the arena
    LargeBlock* block = static_cast<LargeBlock*>(memory) - 1;
    if (block->previous)
        block->previous->next = block->next;
    else
        large_ = block->next;
    if (block->next) block->next->previous = block->previous;
    ::operator delete(static_cast<void*>(block));
    left_ += bytes + sizeof(LargeBlock) + kBlockOverhead;
}

void ParseArena::Spend(std::size_t cost) {
    if (cost > left_) throw OverBudget();
    left_ -= cost;
}

void* ParseArena::Cut(std::size_t bytes, std::size_t alignment) {
    // Alignments are powers of two.
    std::size_t skip = (0 - reinterpret_cast<std::uintptr_t>(free_)) & (alignment - 1);
    if (skip + bytes > room_) {
        AddChunk(bytes);
        skip = 0;  // a chunk's room starts at the arena's alignment
    }
    char* block = free_ + skip;
    free_ = block + bytes;
    room_ -= skip + bytes;
    return block;
}

void ParseArena::AddChunk(std::size_t atLeast) {
    std::size_t size = nextChunk_ < kLargestChunk ? nextChunk_ : kLargestChunk;
    if (size < atLeast) size = RoundUp(atLeast);
    const std::size_t cost = sizeof(Chunk) + size + kBlockOverhead;
    Spend(cost);
    void* memory = nullptr;
    try {
        memory = ::operator new(sizeof(Chunk) + size);
    } catch (...) {
        left_ += cost;
        throw;
    }
    chunks_ = new (memory) Chunk{chunks_};
    free_ = reinterpret_cast<char*>(chunks_ + 1);
    room_ = size;
    if (nextChunk_ < kLargestChunk) nextChunk_ *= 2;
}
