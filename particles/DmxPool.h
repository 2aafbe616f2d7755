#pragma once

#include <cstddef>
#include <new>

// Blocks of one size carved from large slabs, for the many small objects of element trees:
// a file of 100,000 elements has more than a million attributes, and the general heap
// spends more time sorting their chunks on free than the reader spends making them.
//
// Each thread keeps its own list of free blocks. Slabs are never given back, so a block
// may be freed on any thread: it joins that thread's list. What a large file took stays
// ready for the next one. Under AddressSanitizer every block comes from the general heap,
// so that misuse is still caught.
template<size_t Size> class DmxPool
{
public:
    static void *allocate()
    {
#if defined(__SANITIZE_ADDRESS__)
        return ::operator new(Size);
#else
        State &state = local();
        if (!state.free)
            state.refill();
        void *block = state.free;
        state.free = *static_cast<void **>(block);
        return block;
#endif
    }

    static void release(void *block) noexcept
    {
        if (!block)
            return;
#if defined(__SANITIZE_ADDRESS__)
        ::operator delete(block);
#else
        State &state = local();
        *static_cast<void **>(block) = state.free;
        state.free = block;
#endif
    }

private:
    static constexpr size_t BlockSize = (Size + alignof(std::max_align_t) - 1)
        / alignof(std::max_align_t) * alignof(std::max_align_t);
    static constexpr size_t BlocksPerSlab = (size_t(1) << 16) / BlockSize;

    struct State
    {
        void *free = nullptr;

        void refill()
        {
            auto *slab = static_cast<char *>(::operator new(BlockSize *BlocksPerSlab));
            for (size_t i = BlocksPerSlab; i-- > 0;) {
                void *block = slab + i * BlockSize;
                *static_cast<void **>(block) = free;
                free = block;
            }
        }
    };

    static State &local()
    {
        thread_local State state;
        return state;
    }
};
