// A set of universe indices, 0 to 255. A universe index is subnet * 16 + universe.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace marvo {

inline constexpr int universeCount = 256;
inline constexpr int channelsOfAUniverse = 512;

class UniverseSet {
public:
    static constexpr std::size_t wordCount = universeCount / 64;

    void insert(int universe) { words[wordOf(universe)] |= bitOf(universe); }
    void remove(int universe) { words[wordOf(universe)] &= ~bitOf(universe); }
    bool contains(int universe) const { return (words[wordOf(universe)] & bitOf(universe)) != 0; }
    void clear() { words = {}; }
    bool isEmpty() const { return (words[0] | words[1] | words[2] | words[3]) == 0; }
    std::size_t size() const {
        std::size_t count = 0;
        for (const std::uint64_t word : words) count += static_cast<std::size_t>(std::popcount(word));
        return count;
    }
    UniverseSet& operator|=(const UniverseSet& other) {
        for (std::size_t index = 0; index < wordCount; ++index) words[index] |= other.words[index];
        return *this;
    }
    UniverseSet& operator&=(const UniverseSet& other) {
        for (std::size_t index = 0; index < wordCount; ++index) words[index] &= other.words[index];
        return *this;
    }
    bool operator==(const UniverseSet&) const = default;

    // In ascending order.
    template <class Function>
    void forEach(Function&& function) const {
        for (std::size_t index = 0; index < wordCount; ++index) {
            for (std::uint64_t rest = words[index]; rest != 0; rest &= rest - 1)
                function(static_cast<int>(index) * 64 + std::countr_zero(rest));
        }
    }

    static constexpr std::size_t wordOf(int universe) { return static_cast<std::size_t>(universe) / 64; }
    static constexpr std::uint64_t bitOf(int universe) { return std::uint64_t{1} << (universe % 64); }

    std::array<std::uint64_t, wordCount> words{};
};

} // namespace marvo
