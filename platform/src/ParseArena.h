#pragma once

#include <boost/json/memory_resource.hpp>
#include <boost/json/value.hpp>

#include <atomic>
#include <cstddef>

// The memory of one parsed tree, and what that tree may take: a few times the text, plus room for small
// documents. A text whose tree would grow past it (a forged reply of millions of tiny elements) is refused
// like text that is not JSON, instead of taking many times its size from the host.
//
// A tree is thousands of small blocks (keys, texts, objects) that live and die together: they are cut from
// chunks and never freed one by one. Boost.JSON is told so (is_deallocate_trivial), and then neither walks
// the tree to destroy it nor counts references per node. Larger blocks (the parser's stack, long texts,
// big arrays) are freed as soon as they are let go, and whatever is left goes with the arena.
//
// The arena lives as long as something holds it: the parse while it runs, then every XJson whose value
// lives here (the tree's root, and members taken out of it).
class ParseArena final : public boost::json::memory_resource {
  public:
    // Thrown by an allocation past the budget: the text is refused, which is no shortage of memory.
    struct OverBudget {};

    // An arena for parsing text of this length, held once by the caller; null when out of memory.
    static ParseArena* Create(std::size_t textLength) noexcept;
    // The arena value lives in, or null for a value that lives anywhere else.
    static ParseArena* Of(const boost::json::value& value) noexcept;

    void Hold() noexcept;
    // Frees the arena, and every tree in it, with the last hold.
    void Drop() noexcept;

    ParseArena(const ParseArena&) = delete;
    ParseArena& operator=(const ParseArena&) = delete;

  private:
    struct Chunk;
    struct LargeBlock;

    ParseArena(std::size_t budget, char* firstRoom, std::size_t firstSize) noexcept;
    ~ParseArena() override;

    void* do_allocate(std::size_t bytes, std::size_t alignment) override;
    void do_deallocate(void* block, std::size_t bytes, std::size_t alignment) override;
    bool do_is_equal(const boost::json::memory_resource& other) const noexcept override {
        return this == &other;
    }

    void Spend(std::size_t cost);
    void* Cut(std::size_t bytes, std::size_t alignment);
    void AddChunk(std::size_t atLeast);

    std::atomic<std::size_t> holds_{1};
    std::size_t left_;
    char* free_;
    std::size_t room_;
    std::size_t nextChunk_;
    Chunk* chunks_ = nullptr;
    LargeBlock* large_ = nullptr;
};

namespace boost {
namespace json {
template <>
struct is_deallocate_trivial<ParseArena> {
    static constexpr bool value = true;
};
}  // namespace json
}  // namespace boost
