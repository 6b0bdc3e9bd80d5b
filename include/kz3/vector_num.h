#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>

#include <kz3/lattiq/export.h>
#include <kz3/ref_counted.h>

namespace kz3 {

/// Allocates a block of at least that many bytes, of any alignment; null when memory is exhausted.
///
/// All storage of the containers comes from here and goes back through __vector_num_free. A program
/// may define the pair itself, in place of the library's.
KZ3_LATTIQ_API char* __vector_num_alloc(std::size_t bytes); // NOLINT(bugprone-reserved-identifier)

/// Frees a block of __vector_num_alloc.
KZ3_LATTIQ_API void __vector_num_free(char* block); // NOLINT(bugprone-reserved-identifier)

/// Flat counted storage: the elements that any number of dense1D and dense2D views share.
///
/// It has no element count of its own, only the number of slots. Slots hold no constructed objects
/// for element types without a destructor; for the others all `capacity` slots are constructed.
template <typename T>
class vector_num : public ref_counted {
public:
    T* data = nullptr;        ///< first slot, aligned to 8 bytes; null while nothing is allocated
    std::size_t capacity = 0; ///< slots from data on
    std::uint8_t align_shift = 0; ///< bytes between the allocator's block and data, 0 to 7
    std::uint8_t not_owned = 0; ///< set: the block belongs to somebody else and is never freed here

    vector_num() = default;

    /// Storage of n slots, each holding v; capacity stays below n if memory is exhausted.
    vector_num(std::size_t n, T v)
    {
        if (grow(n, 0, 1) && n != 0) std::fill_n(data, n, v);
    }

    ~vector_num() override { release(); }

    /// Whether one view alone holds the storage and the block is its own, so that nothing else can
    /// tell when elements move or change.
    bool exclusive() const { return count == 1 && not_owned == 0; }

    /// Gives up the block: nothing is allocated afterwards.
    void release()
    {
        drop_block();
        data = nullptr;
        capacity = 0;
        align_shift = 0;
        not_owned = 0;
    }

    /// Moves to a new block of at least `needed` slots and at least capacity * factor.
    ///
    /// @param needed  slots wanted
    /// @param keep    leading elements that keep their values, at most capacity
    /// @param factor  growth factor, not 0
    /// @return false if the size overflows or memory is exhausted; the storage is then unchanged.
    /// The new block is owned, also where the old one was not. At least 4 slots. O(keep).
    bool grow(std::size_t needed, std::size_t keep, std::size_t factor)
    {
        constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
        // Slack that leaves room for `needed` elements after the block is aligned to 8 bytes.
        constexpr std::size_t pad = (7 + sizeof(T) - 1) / sizeof(T);
        if (capacity > most / factor || needed > most - pad) return false;
        const std::size_t c = std::max({capacity * factor, std::size_t(4), needed + pad});
        if (c > most / sizeof(T)) return false;

        char* raw = __vector_num_alloc(c * sizeof(T));
        const std::size_t shift = -reinterpret_cast<std::uintptr_t>(raw) % 8;
        if (raw == nullptr) return false;
        T* new_data = reinterpret_cast<T*>(raw + shift);
        const std::size_t new_capacity = (c * sizeof(T) - shift) / sizeof(T);
        if (!fill_block(new_data, new_capacity, data ? keep : 0)) {
            __vector_num_free(raw);
            return false;
        }

        drop_block();
        data = new_data;
        capacity = new_capacity;
        align_shift = std::uint8_t(shift);
        not_owned = 0;
        return true;
    }

private:
    // False only where default construction of an element found memory exhausted.
    bool fill_block(T* to, std::size_t slots, std::size_t keep)
    {
        if constexpr (std::is_trivially_copy_constructible_v<T> &&
                      std::is_trivially_destructible_v<T>) {
            if (keep != 0) std::memcpy(static_cast<void*>(to), data, keep * sizeof(T));
            return true;
        } else {
            std::size_t built = 0;
            try {
                for (; built < keep; ++built) ::new (static_cast<void*>(to + built)) T(data[built]);
                for (; built < slots; ++built) ::new (static_cast<void*>(to + built)) T();
            } catch (const std::bad_alloc&) {
                std::destroy_n(to, built);
                return false;
            }
            return true;
        }
    }

    void drop_block()
    {
        if (data == nullptr || not_owned != 0) return;
        if constexpr (!std::is_trivially_destructible_v<T>) std::destroy_n(data, capacity);
        __vector_num_free(reinterpret_cast<char*>(data) - align_shift);
    }
};

} // namespace kz3
